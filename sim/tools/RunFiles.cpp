// The files of the blade's run folder in which its parts keep their state: every process of the blade, or a person with
// an editor, may read and change them.
#include "sim/tools/RunFiles.h"

#include "sim/base/Error.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>

namespace bladesim {
namespace {

constexpr mode_t Mode = 0644;

bm_dev::UniqueFd Open(const std::string& file, int flags) {
    bm_dev::UniqueFd fd(::open(file.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, Mode));
    if (!fd) ThrowErrno(file);
    return fd;
}

void Write(const std::string& file, int flags, const std::string& text) {
    const bm_dev::UniqueFd fd = Open(file, O_WRONLY | O_CREAT | flags);
    errno = ENOSPC; // for a short write
    if (::write(fd.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) ThrowErrno(file);
}

} // namespace

std::string RunFolder() {
    const char* const folder = std::getenv("BLADESIM_RUN_DIR");
    if (folder == nullptr || *folder == '\0') throw BladeError("this is not the inside of a blade");
    return folder;
}

bool FileExists(const std::string& file) {
    return ::access(file.c_str(), F_OK) == 0;
}

std::string ReadFile(const std::string& file) {
    if (!FileExists(file)) return "";
    const bm_dev::UniqueFd fd = Open(file, O_RDONLY);
    std::string text;
    std::array<char, 16384> part{};
    ssize_t size = 0;
    while ((size = ::read(fd.Get(), part.data(), part.size())) > 0)
        text.append(part.data(), static_cast<size_t>(size));
    if (size < 0) ThrowErrno(file);
    return text;
}

void ReplaceFile(const std::string& file, const std::string& text) {
    const std::string newFile = file + "." + std::to_string(::getpid());
    Write(newFile, O_TRUNC, text);
    MoveFile(newFile, file);
}

void MoveFile(const std::string& from, const std::string& to) {
    if (::rename(from.c_str(), to.c_str()) != 0) ThrowErrno(to);
}

void AppendLine(const std::string& file, const std::string& line) {
    Write(file, O_APPEND, line + "\n");
}

void RemoveFile(const std::string& file) {
    if (::unlink(file.c_str()) != 0 && errno != ENOENT) ThrowErrno(file);
}

FileLock::FileLock(const std::string& file) : m_file(Open(file, O_RDWR | O_CREAT)) {
    while (::flock(m_file.Get(), LOCK_EX) != 0) {
        if (errno != EINTR) ThrowErrno(file);
    }
}

} // namespace bladesim
