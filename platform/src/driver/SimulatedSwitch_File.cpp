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

namespace BM_PLATFORM {

namespace {

constexpr std::size_t MOST_BYTES = std::size_t{64} * 1024;
constexpr mode_t MODE = 0644;

[[noreturn]] void ThrowErrno(const std::string& a_What) {
    throw SWITCH_STATE_ERROR(a_What + ": " + std::generic_category().message(errno));
}

class DESCRIPTOR {
public:
    DESCRIPTOR(const std::string& a_Path, int a_Flags)
        : m_Number(open(a_Path.c_str(), a_Flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, MODE)) {}
    DESCRIPTOR(const DESCRIPTOR&) = delete;
    DESCRIPTOR& operator=(const DESCRIPTOR&) = delete;
    ~DESCRIPTOR() {
        if (IsOpen()) close(m_Number);
    }

    bool IsOpen() const { return m_Number >= 0; }
    int Number() const { return m_Number; }

private:
    int m_Number;
};

// Nothing when there is no file.
std::optional<std::string> Read(const std::string& a_Path) {
    const DESCRIPTOR l_File(a_Path, O_RDONLY);
    if (!l_File.IsOpen() && errno == ENOENT) return std::nullopt;
    struct stat l_Status {};
    if (!l_File.IsOpen() || fstat(l_File.Number(), &l_Status) != 0) ThrowErrno(a_Path);
    if (!S_ISREG(l_Status.st_mode)) throw SWITCH_STATE_ERROR(a_Path + ": no file");
    std::string l_Text;
    for (;;) {
        std::array<char, 4096> l_Part{};
        const ssize_t l_Length = read(l_File.Number(), l_Part.data(), l_Part.size());
        if (l_Length < 0 && errno == EINTR) continue;
        if (l_Length < 0) ThrowErrno(a_Path);
        if (l_Length == 0) return l_Text;
        l_Text.append(l_Part.data(), static_cast<std::size_t>(l_Length));
        if (l_Text.size() > MOST_BYTES) throw SWITCH_STATE_ERROR(a_Path + ": larger than 64 KiB");
    }
}

SWITCH_STATE StateOf(const std::string& a_Path) {
    const auto l_Text = Read(a_Path);
    return l_Text ? SwitchOfText(*l_Text, a_Path) : SWITCH_STATE{};
}

// Readers find the old file or the new one. It stands in memory: nothing is gained by waiting for a disk.
void Replace(const std::string& a_Path, const std::string& a_Text) {
    const std::string l_New = a_Path + ".new";
    if (unlink(l_New.c_str()) != 0 && errno != ENOENT) ThrowErrno(l_New); // of a process that was killed
    {
        const DESCRIPTOR l_File(l_New, O_WRONLY | O_CREAT | O_EXCL);
        if (!l_File.IsOpen()) ThrowErrno(l_New);
        errno = ENOSPC; // of a short write
        if (write(l_File.Number(), a_Text.data(), a_Text.size()) != static_cast<ssize_t>(a_Text.size()))
            ThrowErrno(l_New);
    }
    if (rename(l_New.c_str(), a_Path.c_str()) != 0) ThrowErrno(a_Path);
}

} // namespace

std::optional<std::string> SwitchFile() {
    const char* l_Folder = std::getenv("BLADESIM_RUN_DIR");
    if (l_Folder == nullptr || *l_Folder == '\0') return std::nullopt;
    return std::string(l_Folder) + "/switch";
}

SWITCH_STATE ReadSwitch(const std::string& a_Path) {
    return StateOf(a_Path);
}

void ChangeSwitch(const std::string& a_Path, const std::function<void(SWITCH_STATE&)>& a_Change) {
    const std::string l_LockPath = a_Path + ".lock";
    const DESCRIPTOR l_Lock(l_LockPath, O_RDWR | O_CREAT); // held until it is closed
    if (!l_Lock.IsOpen()) ThrowErrno(l_LockPath);
    while (flock(l_Lock.Number(), LOCK_EX) != 0) {
        if (errno != EINTR) ThrowErrno(l_LockPath);
    }
    const SWITCH_STATE l_Before = StateOf(a_Path);
    SWITCH_STATE l_State = l_Before;
    a_Change(l_State);
    if (l_State != l_Before) Replace(a_Path, TextOfSwitch(l_State));
}

} // namespace BM_PLATFORM
