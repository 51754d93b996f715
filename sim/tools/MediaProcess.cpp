// The process of the media software: starting it, finding it, ending it. There is one in a blade at most.
#include "sim/tools/MediaProcess.h"

#include "sim/base/Error.h"
#include "sim/base/Paths.h"
#include "sim/base/Process.h"
#include "sim/tools/RunFiles.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace BLADESIM {
namespace {

// Far more than either takes.
constexpr int g_StartMilliseconds = 10000;
constexpr int g_StopMilliseconds = 5000;

/// Of those that start and stop it.
FILE_LOCK LockMedia(const std::string& a_RunFolder) {
    return FILE_LOCK(a_RunFolder + "/media.lock");
}

std::string ProcessFile(const std::string& a_RunFolder) {
    return a_RunFolder + "/" + g_MediaProcessFile;
}

bool IsReadable(int a_Fd, int a_Milliseconds) {
    pollfd l_Event{a_Fd, POLLIN, 0};
    int l_Result = 0;
    do
        l_Result = ::poll(&l_Event, 1, a_Milliseconds);
    while (l_Result < 0 && errno == EINTR);
    return l_Result > 0;
}

/// What the child prints, up to the word that it is ready; less when it ends or says nothing.
std::string ReadUntilReady(int a_Pipe) {
    std::string l_Text;
    std::array<char, 64> l_Part{};
    while (!l_Text.ends_with(g_MediaReady) && IsReadable(a_Pipe, g_StartMilliseconds)) {
        const ssize_t l_Size = ::read(a_Pipe, l_Part.data(), l_Part.size());
        if (l_Size <= 0) break;
        l_Text.append(l_Part.data(), static_cast<size_t>(l_Size));
    }
    return l_Text;
}

/// Nothing but these descriptors gets into it, so that nobody waits for its end who reads what the starter prints.
pid_t SpawnMedia(int a_Ready, const std::string& a_RunFolder) {
    const UNIQUE_FD l_Null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const std::string l_LogFile = a_RunFolder + "/" + g_MediaLog;
    const UNIQUE_FD l_Log(::open(l_LogFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (!l_Null || !l_Log) ThrowErrno(l_LogFile);
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    return Spawn({ProgramFolder() + "/vxpsim"}, {l_Null.Get(), a_Ready, l_Log.Get()});
}

/// Ends a child that has not come up.
[[noreturn]] void GiveUp(pid_t a_Process, const std::string& a_RunFolder) {
    ::kill(a_Process, SIGKILL);
    int l_Status = 0;
    ::waitpid(a_Process, &l_Status, 0);
    throw BLADE_ERROR("the media software does not come up: " + DescribeEnd(l_Status) + ", see " + a_RunFolder + "/" +
                      g_MediaLog);
}

struct PROCESS {
    pid_t m_Id;
    UNIQUE_FD m_Fd; ///< readable when it has ended
};

/// Whether the one who made this file is alive.
bool IsLocked(const UNIQUE_FD& a_File) {
    return a_File && ::flock(a_File.Get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

std::optional<PROCESS> FindMedia(const std::string& a_RunFolder) {
    const std::string l_File = ProcessFile(a_RunFolder);
    const UNIQUE_FD l_Held(::open(l_File.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    std::array<char, 32> l_Text{};
    if (!IsLocked(l_Held) || ::read(l_Held.Get(), l_Text.data(), l_Text.size() - 1) <= 0) return std::nullopt;
    PROCESS l_Process{static_cast<pid_t>(std::strtol(l_Text.data(), nullptr, 10)), UNIQUE_FD()};
    l_Process.m_Fd = UNIQUE_FD(static_cast<int>(::syscall(SYS_pidfd_open, l_Process.m_Id, 0)));
    // Still held: so the descriptor is that of the holder, not of one who has got his number.
    if (!l_Process.m_Fd || !IsLocked(l_Held)) return std::nullopt;
    return l_Process;
}

void Signal(const PROCESS& a_Process, int a_Signal) {
    if (::syscall(SYS_pidfd_send_signal, a_Process.m_Fd.Get(), a_Signal, nullptr, 0) != 0 && errno != ESRCH)
        ThrowErrno("the media software cannot be stopped");
}

} // namespace

pid_t StartMedia(const std::string& a_RunFolder) {
    const FILE_LOCK l_Lock = LockMedia(a_RunFolder);
    if (const auto l_Running = FindMedia(a_RunFolder)) return l_Running->m_Id;
    std::array<int, 2> l_Pipe{};
    if (::pipe2(l_Pipe.data(), O_CLOEXEC) != 0) ThrowErrno("no pipe to the media software");
    const UNIQUE_FD l_Read(l_Pipe[0]);
    UNIQUE_FD l_Write(l_Pipe[1]);
    const pid_t l_Process = SpawnMedia(l_Write.Get(), a_RunFolder);
    l_Write.Reset();
    if (ReadUntilReady(l_Read.Get()) != g_MediaReady) GiveUp(l_Process, a_RunFolder);
    return l_Process;
}

bool EndMedia(const std::string& a_RunFolder, MEDIA_END a_How) {
    const FILE_LOCK l_Lock = LockMedia(a_RunFolder);
    const auto l_Process = FindMedia(a_RunFolder);
    if (!l_Process) return false;
    if (a_How == MEDIA_END::STOP) Signal(*l_Process, SIGTERM);
    if (a_How == MEDIA_END::KILL || !IsReadable(l_Process->m_Fd.Get(), g_StopMilliseconds)) {
        Signal(*l_Process, SIGKILL);
        if (!IsReadable(l_Process->m_Fd.Get(), g_StopMilliseconds))
            throw BLADE_ERROR("the media software does not end, process " + std::to_string(l_Process->m_Id));
    }
    RemoveFile(ProcessFile(a_RunFolder));
    return true;
}

std::optional<pid_t> RunningMedia(const std::string& a_RunFolder) {
    const auto l_Process = FindMedia(a_RunFolder);
    return l_Process ? std::optional(l_Process->m_Id) : std::nullopt;
}

UNIQUE_FD EnterMediaProcess(const std::string& a_RunFolder) {
    const std::string l_File = ProcessFile(a_RunFolder);
    const std::string l_New = l_File + "." + std::to_string(::getpid());
    UNIQUE_FD l_Held(::open(l_New.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644));
    const std::string l_Text = std::to_string(::getpid()) + "\n";
    if (!l_Held || ::flock(l_Held.Get(), LOCK_EX) != 0 ||
        ::write(l_Held.Get(), l_Text.data(), l_Text.size()) != static_cast<ssize_t>(l_Text.size()) ||
        ::rename(l_New.c_str(), l_File.c_str()) != 0)
        ThrowErrno(l_File);
    return l_Held;
}

} // namespace BLADESIM
