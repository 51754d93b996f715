// The simulated board's Ethernet switch: the state file, which several processes read and change.
#include "bm_dev/SimulatedSwitch.h"

#include "bm_dev/UniqueFd.h"

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

UniqueFd Open(const std::string& path, int flags) {
    return UniqueFd(::open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, Mode));
}

// Empty when there is no file.
std::optional<std::string> Read(const std::string& path) {
    const UniqueFd file = Open(path, O_RDONLY);
    if (!file && errno == ENOENT) return std::nullopt;
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) ThrowErrno(path);
    if (!S_ISREG(status.st_mode)) throw SwitchStateError(path + ": not a regular file");
    std::string text;
    for (;;) {
        std::array<char, 4096> part{};
        const ssize_t length = read(file.Get(), part.data(), part.size());
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

// Readers find the old file or the new one. The file is in memory, so there is no disk to wait for.
void Replace(const std::string& path, const std::string& text) {
    const std::string newFile = path + ".new";
    if (unlink(newFile.c_str()) != 0 && errno != ENOENT) ThrowErrno(newFile); // left by a process that was killed
    {
        const UniqueFd file = Open(newFile, O_WRONLY | O_CREAT | O_EXCL);
        if (!file) ThrowErrno(newFile);
        errno = ENOSPC; // for a short write
        if (write(file.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) ThrowErrno(newFile);
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
    const UniqueFd lock = Open(lockPath, O_RDWR | O_CREAT); // held until it is closed
    if (!lock) ThrowErrno(lockPath);
    while (flock(lock.Get(), LOCK_EX) != 0) {
        if (errno != EINTR) ThrowErrno(lockPath);
    }
    const SwitchState before = StateOf(path);
    SwitchState state = before;
    change(state);
    if (state != before) Replace(path, TextOfSwitch(state));
}

} // namespace bm_dev
