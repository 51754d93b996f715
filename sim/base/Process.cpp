// Starts programs and says how they ended.
#include "sim/base/Process.h"

#include "sim/base/Error.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace BLADESIM {
namespace {

[[noreturn]] void Execute(const std::vector<std::string>& a_Command, const std::array<int, 3>& a_StandardFds) {
    for (int l_Fd = 0; l_Fd < 3; ++l_Fd) {
        const int l_Source = a_StandardFds[static_cast<size_t>(l_Fd)];
        if (l_Source != l_Fd) ::dup2(l_Source, l_Fd);
    }
    sigset_t l_None;
    sigemptyset(&l_None);
    sigprocmask(SIG_SETMASK, &l_None, nullptr);
    std::vector<char*> l_Arguments(a_Command.size() + 1); // the last one stays null
    std::transform(a_Command.begin(), a_Command.end(), l_Arguments.begin(),
                   [](const std::string& a_Word) { return const_cast<char*>(a_Word.c_str()); });
    ::execvp(l_Arguments[0], l_Arguments.data());
    const int l_Error = errno;
    std::fprintf(stderr, "bladesim: %s: %s\n", l_Arguments[0], std::strerror(l_Error));
    ::_exit(l_Error == ENOENT ? g_CommandNotFound : g_CommandNotExecutable);
}

} // namespace

pid_t Spawn(const std::vector<std::string>& a_Command, const std::array<int, 3>& a_StandardFds) {
    const pid_t l_Child = ::fork();
    if (l_Child < 0) ThrowErrno(a_Command.front() + ": cannot be started");
    if (l_Child == 0) Execute(a_Command, a_StandardFds);
    return l_Child;
}

int ExitStatus(int a_WaitStatus) {
    return WIFSIGNALED(a_WaitStatus) ? g_SignalBase + WTERMSIG(a_WaitStatus) : WEXITSTATUS(a_WaitStatus);
}

std::string DescribeEnd(int a_WaitStatus) {
    if (!WIFSIGNALED(a_WaitStatus)) return "status " + std::to_string(WEXITSTATUS(a_WaitStatus));
    const int l_Signal = WTERMSIG(a_WaitStatus);
    return "signal " + std::to_string(l_Signal) + " (" + strsignal(l_Signal) + ")";
}

} // namespace BLADESIM
