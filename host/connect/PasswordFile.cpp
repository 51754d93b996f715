// Where the password for a blade elsewhere comes from.
#include "host/connect/PasswordFile.h"

#include "host/words/Error.h"

#include "bm_dev/UniqueFd.h"

#include <array>
#include <bsd/readpassphrase.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bmhost {

namespace {

constexpr std::size_t LongestPassword = 256;
constexpr std::size_t MostInput = LongestPassword + 2; // with its line end

[[noreturn]] void RefusePassword(const std::string& file, const std::string& reason) {
    throw UsageError("--password-file " + file + ": " + reason);
}

// One that others can read is no longer a secret, and who may write it, or is its owner, decides what is sent.
void CheckOwn(const std::string& file, const struct stat& state) {
    if (!S_ISREG(state.st_mode) && !S_ISFIFO(state.st_mode)) RefusePassword(file, "it is no plain file");
    if (state.st_uid != geteuid() && state.st_uid != 0)
        RefusePassword(file, "it belongs to user " + std::to_string(state.st_uid));
    if ((state.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        RefusePassword(file, "others than its owner may read or write it; `chmod 600 " + file + "` ends that");
}

std::string TextOf(int descriptor, const std::string& file) {
    std::string text;
    std::array<char, MostInput> bytes{};
    while (text.size() < MostInput) {
        const ssize_t got = read(descriptor, bytes.data(), bytes.size() - text.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) RefusePassword(file, strerror(errno));
        if (got == 0) break;
        text.append(bytes.data(), static_cast<std::size_t>(got));
    }
    explicit_bzero(bytes.data(), bytes.size());
    return text;
}

std::string LineOfInput() {
    std::array<char, MostInput> line{};
    const char* const prompt = isatty(STDIN_FILENO) == 1 ? "Password: " : "";
    if (readpassphrase(prompt, line.data(), line.size(), RPP_STDIN) == nullptr)
        RefusePassword("-", "standard input: " + std::string(strerror(errno)));
    std::string text = line.data();
    explicit_bzero(line.data(), line.size());
    return text;
}

std::string LineOfFile(const std::string& file) {
    const bm_dev::UniqueFd opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat state {};
    if (!opened || fstat(opened.Get(), &state) != 0) RefusePassword(file, strerror(errno));
    CheckOwn(file, state);
    std::string text = TextOf(opened.Get(), file);
    if (text.ends_with('\n')) text.pop_back();
    if (text.ends_with('\r')) text.pop_back(); // written elsewhere
    if (text.find('\n') != std::string::npos) RefusePassword(file, "it has more than one line");
    return text;
}

} // namespace

std::string PasswordIn(const std::string& file) {
    std::string text = file == "-" ? LineOfInput() : LineOfFile(file);
    if (text.empty()) RefusePassword(file, "there is no password in it");
    if (text.size() > LongestPassword)
        RefusePassword(file, "no password has more than " + std::to_string(LongestPassword) + " bytes");
    return text;
}

} // namespace bmhost
