// Starts programs and says how they ended.
#include "sim/base/Process.h"

#include "sim/base/Error.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace bladesim {

void Execute(const std::vector<std::string>& command, const std::array<int, 3>& standardFds) {
    for (int fd = 0; fd < 3; ++fd) {
        const int source = standardFds[static_cast<size_t>(fd)];
        if (source != fd) ::dup2(source, fd);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::vector<char*> arguments(command.size() + 1); // the last one stays null
    std::transform(command.begin(), command.end(), arguments.begin(),
                   [](const std::string& word) { return const_cast<char*>(word.c_str()); });
    ::execvp(arguments[0], arguments.data());
    const int error = errno;
    std::fprintf(stderr, "bladesim: %s: %s\n", arguments[0], std::strerror(error));
    ::_exit(error == ENOENT ? CommandNotFound : CommandNotExecutable);
}

pid_t Spawn(const std::vector<std::string>& command, const std::array<int, 3>& standardFds) {
    const pid_t child = ::fork();
    if (child < 0) ThrowErrno(command.front() + ": cannot be started");
    if (child == 0) Execute(command, standardFds);
    return child;
}

bool IsInPath(const std::string& program) {
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (::access(folder.append("/").append(program).c_str(), X_OK) == 0) return true;
    }
    return false;
}

int ExitStatus(int waitStatus) {
    return WIFSIGNALED(waitStatus) ? SignalBase + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

std::string DescribeEnd(int waitStatus) {
    if (!WIFSIGNALED(waitStatus)) return "status " + std::to_string(WEXITSTATUS(waitStatus));
    const int signal = WTERMSIG(waitStatus);
    return "signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

} // namespace bladesim
