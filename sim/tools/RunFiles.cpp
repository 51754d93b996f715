// The files of the blade's run folder in which its parts keep their state: every process of the blade may read and
// change them, a person with an editor too.
#include "sim/tools/RunFiles.h"

#include "sim/base/Error.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>

namespace BLADESIM {
namespace {

constexpr mode_t g_Mode = 0644;

UNIQUE_FD Open(const std::string& a_File, int a_Flags) {
    UNIQUE_FD l_File(::open(a_File.c_str(), a_Flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, g_Mode));
    if (!l_File) ThrowErrno(a_File);
    return l_File;
}

void Write(const std::string& a_File, int a_Flags, const std::string& a_Text) {
    const UNIQUE_FD l_File = Open(a_File, O_WRONLY | O_CREAT | a_Flags);
    errno = ENOSPC; // of a short write
    if (::write(l_File.Get(), a_Text.data(), a_Text.size()) != static_cast<ssize_t>(a_Text.size())) ThrowErrno(a_File);
}

} // namespace

std::string RunFolder() {
    const char* const l_Folder = std::getenv("BLADESIM_RUN_DIR");
    if (l_Folder == nullptr || *l_Folder == '\0') throw BLADE_ERROR("this is not the inside of a blade");
    return l_Folder;
}

bool FileExists(const std::string& a_File) {
    return ::access(a_File.c_str(), F_OK) == 0;
}

std::string ReadFile(const std::string& a_File) {
    if (!FileExists(a_File)) return "";
    const UNIQUE_FD l_File = Open(a_File, O_RDONLY);
    std::string l_Text;
    std::array<char, 16384> l_Part{};
    ssize_t l_Size = 0;
    while ((l_Size = ::read(l_File.Get(), l_Part.data(), l_Part.size())) > 0)
        l_Text.append(l_Part.data(), static_cast<size_t>(l_Size));
    if (l_Size < 0) ThrowErrno(a_File);
    return l_Text;
}

void ReplaceFile(const std::string& a_File, const std::string& a_Text) {
    const std::string l_New = a_File + "." + std::to_string(::getpid());
    Write(l_New, O_TRUNC, a_Text);
    MoveFile(l_New, a_File);
}

void MoveFile(const std::string& a_From, const std::string& a_To) {
    if (::rename(a_From.c_str(), a_To.c_str()) != 0) ThrowErrno(a_To);
}

void AppendLine(const std::string& a_File, const std::string& a_Line) {
    Write(a_File, O_APPEND, a_Line + "\n");
}

void RemoveFile(const std::string& a_File) {
    if (::unlink(a_File.c_str()) != 0 && errno != ENOENT) ThrowErrno(a_File);
}

FILE_LOCK::FILE_LOCK(const std::string& a_File) : m_File(Open(a_File, O_RDWR | O_CREAT)) {
    while (::flock(m_File.Get(), LOCK_EX) != 0) {
        if (errno != EINTR) ThrowErrno(a_File);
    }
}

} // namespace BLADESIM
