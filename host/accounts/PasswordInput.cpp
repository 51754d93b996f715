// Where a new password comes from: a terminal, a file, standard input.
#include "host/accounts/PasswordInput.h"

#include "host/accounts/ConstantTime.h"
#include "host/accounts/Passwords.h"
#include "host/words/Error.h"

#include "bm_dev/UniqueFd.h"

#include <array>
#include <bsd/readpassphrase.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace bmhost {

namespace {

// One more than is good, so that what is longer is seen to be; and its line end.
constexpr std::size_t MostInput = LongestPassword + 2;

std::string Ask(const std::string& question) {
    std::array<char, MostInput + 1> answer{};
    const char* given = readpassphrase(question.c_str(), answer.data(), answer.size(), RPP_REQUIRE_TTY);
    if (given == nullptr && (errno == ENOTTY || errno == ENXIO))
        throw UsageError("no terminal to ask for the password at: --password-file FILE gives it, or '-' for standard "
                         "input");
    if (given == nullptr) throw std::runtime_error(std::string("the password cannot be asked for: ") + strerror(errno));
    std::string password = given;
    explicit_bzero(answer.data(), answer.size());
    return password;
}

std::string AskTwice(const std::string& account) {
    std::string password = Ask("New password of " + account + ": ");
    CheckPassword(password);
    if (!SameSecret(password, Ask("The same again: "))) throw std::runtime_error("the two passwords differ");
    return password;
}

std::string InputOf(int descriptor, const std::string& name) {
    std::string text;
    std::array<char, MostInput> bytes{};
    while (text.size() < MostInput) {
        const ssize_t got = read(descriptor, bytes.data(), bytes.size() - text.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw std::runtime_error("--password-file " + name + ": " + strerror(errno));
        if (got == 0) break;
        text.append(bytes.data(), static_cast<std::size_t>(got));
    }
    explicit_bzero(bytes.data(), bytes.size());
    return text;
}

std::string ReadPassword(const std::string& name) {
    const bool isInput = name == "-";
    const bm_dev::UniqueFd file(isInput ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) throw std::runtime_error("--password-file " + name + ": " + strerror(errno));
    std::string text = InputOf(file.Get(), name);
    if (text.ends_with('\n')) text.pop_back();
    if (text.ends_with('\r')) text.pop_back(); // written elsewhere
    if (text.find('\n') != std::string::npos)
        throw std::runtime_error("--password-file " + name + ": it has more than one line");
    return text;
}

} // namespace

std::string PasswordFor(const std::string& account, const std::string& file) {
    try {
        if (file.empty()) return AskTwice(account);
        std::string password = ReadPassword(file);
        CheckPassword(password);
        return password;
    } catch (const PasswordError& error) {
        throw UsageError(error.what());
    }
}

} // namespace bmhost
