// Runs a command in a blade that is up already, for another terminal.
#include "sim/life/Enter.h"

#include "bm_dev/UniqueFd.h"
#include "sim/base/Error.h"
#include "sim/base/Process.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace bladesim {
namespace {

namespace fs = std::filesystem;

constexpr char EnvironmentFile[] = "bladesim-environment";

std::string ProcessFolder(pid_t process) {
    return "/proc/" + std::to_string(process);
}

/// The variables, each with a zero byte at its end.
std::string ReadEnvironment(pid_t process) {
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(ProcessFolder(process) + "/fd", error)) {
        const fs::path target = fs::read_symlink(entry.path(), error);
        if (error || target.string().find(EnvironmentFile) == std::string::npos) continue;
        const bm_dev::UniqueFd file(::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC));
        std::string text;
        std::array<char, 4096> bytes{};
        ssize_t size = 0;
        while (file && (size = ::pread(file.Get(), bytes.data(), bytes.size(), static_cast<off_t>(text.size()))) > 0)
            text.append(bytes.data(), static_cast<size_t>(size));
        if (!text.empty()) return text;
    }
    throw BladeError("the blade is not up yet, or has ended");
}

/// That of the blade, on the terminal of this process.
void TakeEnvironment(const std::string& blades) {
    const char* const terminal = std::getenv("TERM");
    const std::string own = terminal == nullptr ? "" : terminal;
    ::clearenv();
    for (size_t at = 0; at < blades.size(); at = blades.find('\0', at) + 1) {
        const std::string variable = blades.c_str() + at;
        const size_t sign = variable.find('=');
        if (sign != std::string::npos) ::setenv(variable.substr(0, sign).c_str(), variable.c_str() + sign + 1, 1);
    }
    if (!own.empty()) ::setenv("TERM", own.c_str(), 1);
}

bool HasOtherUserNamespace(pid_t process) {
    struct stat own {};
    struct stat other {};
    const std::string theirs = ProcessFolder(process) + "/ns/user";
    if (::stat("/proc/self/ns/user", &own) != 0 || ::stat(theirs.c_str(), &other) != 0) ThrowErrno(theirs);
    return own.st_dev != other.st_dev || own.st_ino != other.st_ino;
}

/// The blade may be in a chroot; the folder is the caller's own, where it is in the blade, too.
void EnterNamespaces(pid_t process, const bm_dev::UniqueFd& handle) {
    const std::string folder = fs::current_path();
    const bm_dev::UniqueFd root(::open((ProcessFolder(process) + "/root").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!root) ThrowErrno("the blade's root folder cannot be opened");
    const int user = HasOtherUserNamespace(process) ? CLONE_NEWUSER : 0;
    if (::setns(handle.Get(), user | CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWPID) != 0)
        ThrowErrno("the blade's namespaces cannot be entered");
    if (::fchdir(root.Get()) != 0 || ::chroot(".") != 0) ThrowErrno("the blade's root folder cannot be entered");
    if (::chdir(folder.c_str()) != 0) static_cast<void>(!::chdir("/"));
}

/// Whoever is in the background may do so only without heeding the signal.
void GiveTerminalTo(pid_t group) {
    std::signal(SIGTTOU, SIG_IGN);
    ::tcsetpgrp(STDIN_FILENO, group);
    std::signal(SIGTTOU, SIG_DFL);
}

/// A shell gives the terminal back to the group in which it began. In the blade, that of this process cannot be named.
void TakeTerminal() {
    ::setpgid(0, 0);
    GiveTerminalTo(::getpgrp());
}

} // namespace

void KeepEnvironment() {
    std::string text;
    for (char** variable = environ; *variable != nullptr; ++variable)
        text.append(*variable).push_back('\0');
    const int file = ::memfd_create(EnvironmentFile, MFD_CLOEXEC);
    if (file < 0 || ::write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        ThrowErrno("the environment cannot be kept");
}

int RunInBlade(pid_t process, const std::vector<std::string>& command, bool interactive) {
    const bm_dev::UniqueFd handle(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    if (!handle) ThrowErrno("the blade has ended");
    const std::string environment = ReadEnvironment(process);
    EnterNamespaces(process, handle);
    TakeEnvironment(environment);
    const bool hasTerminal = interactive && ::isatty(STDIN_FILENO) != 0;
    const pid_t child = ::fork();
    if (child < 0) ThrowErrno(command.front() + ": cannot be started");
    if (child == 0) {
        if (hasTerminal) TakeTerminal();
        Execute(command);
    }
    // Ctrl-C at the terminal is for the command, which may go on.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (hasTerminal) GiveTerminalTo(::getpgrp());
    return ExitStatus(status);
}

} // namespace bladesim
