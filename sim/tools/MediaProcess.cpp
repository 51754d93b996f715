// The process of the media software: starting it, finding it, ending it. A blade has at most one.
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

namespace bladesim {
namespace {

// Far longer than either takes.
constexpr int StartMilliseconds = 10000;
constexpr int StopMilliseconds = 5000;

/// Held by whoever starts or stops it.
FileLock LockMedia(const std::string& runFolder) {
    return FileLock(runFolder + "/media.lock");
}

std::string ProcessFile(const std::string& runFolder) {
    return runFolder + "/" + MediaProcessFile;
}

bool IsReadable(int fd, int wait) {
    pollfd event{fd, POLLIN, 0};
    int result = 0;
    do
        result = ::poll(&event, 1, wait);
    while (result < 0 && errno == EINTR);
    return result > 0;
}

/// Reads the child's output: the word that it is ready, after which it closes the pipe; less when it ends or prints
/// nothing.
std::string ReadUntilReady(int pipe) {
    std::string text;
    std::array<char, 64> part{};
    while (IsReadable(pipe, StartMilliseconds)) {
        const ssize_t size = ::read(pipe, part.data(), part.size());
        if (size <= 0) break;
        text.append(part.data(), static_cast<size_t>(size));
    }
    return text;
}

/// It inherits only these descriptors, so that a reader of the starter's output does not wait for its end.
pid_t SpawnMedia(int ready, const std::string& runFolder) {
    const bm_dev::UniqueFd null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const std::string logFile = runFolder + "/" + MediaLog;
    const bm_dev::UniqueFd log(::open(logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0644));
    if (!null || !log) ThrowErrno(logFile);
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    return Spawn({ProgramFolder() + "/vxpsim"}, {null.Get(), ready, log.Get()});
}

/// Ends a child that has not come up.
[[noreturn]] void GiveUp(pid_t process, const std::string& runFolder) {
    ::kill(process, SIGKILL);
    int status = 0;
    ::waitpid(process, &status, 0);
    throw BladeError("the media software does not come up: " + DescribeEnd(status) + ", see " + runFolder + "/" +
                     MediaLog);
}

struct Process {
    pid_t m_id;
    bm_dev::UniqueFd m_fd; ///< readable when it has ended
};

/// Whether the process that made this file is alive.
bool IsLocked(const bm_dev::UniqueFd& file) {
    return file && ::flock(file.Get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

std::optional<Process> FindMedia(const std::string& runFolder) {
    const std::string file = ProcessFile(runFolder);
    const bm_dev::UniqueFd held(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    std::array<char, 32> text{};
    if (!IsLocked(held) || ::read(held.Get(), text.data(), text.size() - 1) <= 0) return std::nullopt;
    Process process{static_cast<pid_t>(std::strtol(text.data(), nullptr, 10)), bm_dev::UniqueFd()};
    process.m_fd = bm_dev::UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, process.m_id, 0)));
    // The lock is still held, so this is the holder, not another process that has been given the same id.
    if (!process.m_fd || !IsLocked(held)) return std::nullopt;
    return process;
}

void Signal(const Process& process, int signal) {
    if (::syscall(SYS_pidfd_send_signal, process.m_fd.Get(), signal, nullptr, 0) != 0 && errno != ESRCH)
        ThrowErrno("the media software cannot be stopped");
}

} // namespace

pid_t StartMedia(const std::string& runFolder) {
    const FileLock lock = LockMedia(runFolder);
    if (const auto running = FindMedia(runFolder)) return running->m_id;
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) ThrowErrno("no pipe to the media software");
    const bm_dev::UniqueFd read(pipe[0]);
    bm_dev::UniqueFd write(pipe[1]);
    const pid_t process = SpawnMedia(write.Get(), runFolder);
    write.Reset();
    if (ReadUntilReady(read.Get()) != MediaReady) GiveUp(process, runFolder);
    return process;
}

bool EndMedia(const std::string& runFolder, MediaEnd how) {
    const FileLock lock = LockMedia(runFolder);
    const auto process = FindMedia(runFolder);
    if (!process) return false;
    if (how == MediaEnd::Stop) Signal(*process, SIGTERM);
    if (how == MediaEnd::Kill || !IsReadable(process->m_fd.Get(), StopMilliseconds)) {
        Signal(*process, SIGKILL);
        if (!IsReadable(process->m_fd.Get(), StopMilliseconds))
            throw BladeError("the media software does not end, process " + std::to_string(process->m_id));
    }
    RemoveFile(ProcessFile(runFolder));
    return true;
}

std::optional<pid_t> RunningMedia(const std::string& runFolder) {
    const auto process = FindMedia(runFolder);
    return process ? std::optional(process->m_id) : std::nullopt;
}

bm_dev::UniqueFd EnterMediaProcess(const std::string& runFolder) {
    const std::string file = ProcessFile(runFolder);
    const std::string newFile = file + "." + std::to_string(::getpid());
    bm_dev::UniqueFd held(::open(newFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0644));
    const std::string text = std::to_string(::getpid()) + "\n";
    if (!held || ::flock(held.Get(), LOCK_EX) != 0 ||
        ::write(held.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        ::rename(newFile.c_str(), file.c_str()) != 0)
        ThrowErrno(file);
    return held;
}

} // namespace bladesim
