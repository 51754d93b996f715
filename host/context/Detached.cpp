// Work that must not end with its terminal.
#include "host/context/Detached.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <initializer_list>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

constexpr std::array TerminalSignals = {SIGINT, SIGQUIT, SIGHUP};
constexpr int ThirdSignal = 3;

[[noreturn]] void EndBySignal(int number) {
    signal(number, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    raise(number);
    std::terminate(); // never: it ends the process
}

// As the worker ended.
[[noreturn]] void EndAs(int status) {
    if (WIFSIGNALED(status)) EndBySignal(WTERMSIG(status));
    _exit(WEXITSTATUS(status));
}

[[noreturn]] void WaitFor(pid_t worker, const sigset_t& set, const std::string& promise) {
    int count = 0;
    for (;;) {
        int status = 0;
        if (waitpid(worker, &status, WNOHANG) == worker) EndAs(status);
        int number = 0;
        if (sigwait(&set, &number) != 0 || number == SIGCHLD) continue;
        if (++count == ThirdSignal) EndBySignal(number);
        fprintf(stderr, "bmhost: SIG%s: %s\n", sigabbrev_np(number),
                count == 1 ? promise.c_str() : "one more ends bmhost at once");
    }
}

} // namespace

void GoOnDetached(const std::string& promise) {
    sigset_t set;
    sigset_t before;
    sigemptyset(&set);
    sigaddset(&set, SIGCHLD);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&set, number); // not with nohup
    }
    signal(SIGCHLD, SIG_DFL); // whoever started bmhost may ignore it, and then nobody tells of the worker's end
    pthread_sigmask(SIG_BLOCK, &set, &before);
    fflush(nullptr); // or both would write it
    const pid_t worker = fork();
    if (worker > 0) WaitFor(worker, set, promise);
    const int error = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (worker < 0) throw std::system_error(error, std::generic_category(), "a process for the upgrade");
    setsid();
}

struct TerminalIgnored::Before {
    std::array<struct sigaction, TerminalSignals.size()> m_actions{};
};

TerminalIgnored::TerminalIgnored() : m_before(new Before) {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    for (std::size_t i = 0; i < TerminalSignals.size(); ++i)
        sigaction(TerminalSignals[i], &ignore, &m_before->m_actions[i]);
}

TerminalIgnored::~TerminalIgnored() {
    for (std::size_t i = 0; i < TerminalSignals.size(); ++i)
        sigaction(TerminalSignals[i], &m_before->m_actions[i], nullptr);
    delete m_before;
}

} // namespace bmhost
