// The simulated board's Ethernet switch: the file of its state, which several processes read and change.
#include "bm_dev/SimulatedSwitch.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bm_dev {

namespace {

constexpr std::size_t MostBytes = std::size_t{64} * 1024;
constexpr mode_t Mode = 0644;

[[noreturn]] void ThrowErrno(const std::string& what) {
    throw SwitchStateError(what + ": " + std::generic_category().message(errno));
}

class Descriptor {
public:
    Descriptor(const std::string& path, int flags)
        : m_number(open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, Mode)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (IsOpen()) close(m_number);
    }

    bool IsOpen() const { return m_number >= 0; }
    int Number() const { return m_number; }

private:
    int m_number;
};

// Nothing when there is no file.
std::optional<std::string> Read(const std::string& path) {
    const Descriptor file(path, O_RDONLY);
    if (!file.IsOpen() && errno == ENOENT) return std::nullopt;
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Number(), &status) != 0) ThrowErrno(path);
    if (!S_ISREG(status.st_mode)) throw SwitchStateError(path + ": no file");
    std::string text;
    for (;;) {
        std::array<char, 4096> part{};
        const ssize_t length = read(file.Number(), part.data(), part.size());
        if (length < 0 && errno == EINTR) continue;
        if (length < 0) ThrowErrno(path);
        if (length == 0) return text;
        text.append(part.data(), static_cast<std::size_t>(length));
        if (text.size() > MostBytes) throw SwitchStateError(path + ": larger than 64 KiB");
    }
}

SwitchState StateOf(const std::string& path) {
    const auto text = Read(path);
    return text ? SwitchOfText(*text, path) : SwitchState{};
}

// Readers find the old file or the new one. It stands in memory: nothing is gained by waiting for a disk.
void Replace(const std::string& path, const std::string& text) {
    const std::string newFile = path + ".new";
    if (unlink(newFile.c_str()) != 0 && errno != ENOENT) ThrowErrno(newFile); // of a process that was killed
    {
        const Descriptor file(newFile, O_WRONLY | O_CREAT | O_EXCL);
        if (!file.IsOpen()) ThrowErrno(newFile);
        errno = ENOSPC; // of a short write
        if (write(file.Number(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) ThrowErrno(newFile);
    }
    if (rename(newFile.c_str(), path.c_str()) != 0) ThrowErrno(path);
}

} // namespace

std::optional<std::string> SwitchFile() {
    const char* folder = std::getenv("BLADESIM_RUN_DIR");
    if (folder == nullptr || *folder == '\0') return std::nullopt;
    return std::string(folder) + "/switch";
}

SwitchState ReadSwitch(const std::string& path) {
    return StateOf(path);
}

void ChangeSwitch(const std::string& path, const std::function<void(SwitchState&)>& change) {
    const std::string lockPath = path + ".lock";
    const Descriptor lock(lockPath, O_RDWR | O_CREAT); // held until it is closed
    if (!lock.IsOpen()) ThrowErrno(lockPath);
    while (flock(lock.Number(), LOCK_EX) != 0) {
        if (errno != EINTR) ThrowErrno(lockPath);
    }
    const SwitchState before = StateOf(path);
    SwitchState state = before;
    change(state);
    if (state != before) Replace(path, TextOfSwitch(state));
}

} // namespace bm_dev
