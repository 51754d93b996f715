// The outside of a simulated blade: the process that the user started. It makes the inside, passes signals to it and
// returns its status; nothing of the blade is left when it has ended.
#include "sim/life/Outside.h"

#include "sim/base/Error.h"
#include "sim/base/Process.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <utility>

namespace BLADESIM {
namespace {

using CLOCK = std::chrono::steady_clock;

/// How long the command may take to end after a signal was sent to bladesim.
constexpr std::chrono::seconds g_GraceTime{5};

class OUTSIDE {
public:
    OUTSIDE(pid_t a_Inside, UNIQUE_FD a_Socket, const sigset_t& a_Signals)
        : m_Inside(a_Inside),
          m_Socket(std::move(a_Socket)),
          m_Signals(a_Signals) {}

    int Wait() {
        for (;;) {
            int l_Status = 0;
            if (::waitpid(m_Inside, &l_Status, WNOHANG) == m_Inside) return ExitStatus(l_Status);
            siginfo_t l_Info{};
            const int l_Signal = NextSignal(l_Info);
            if (l_Signal == SIGINT || l_Signal == SIGTERM || l_Signal == SIGHUP) Pass(l_Signal, l_Info);
            if (m_Deadline && CLOCK::now() >= *m_Deadline) return End();
        }
    }

private:
    int NextSignal(siginfo_t& a_Info) const {
        if (!m_Deadline) return ::sigwaitinfo(&m_Signals, &a_Info);
        const auto l_Left = std::max(std::chrono::nanoseconds(*m_Deadline - CLOCK::now()), std::chrono::nanoseconds(0));
        const auto l_Seconds = std::chrono::duration_cast<std::chrono::seconds>(l_Left);
        const timespec l_Time{static_cast<time_t>(l_Seconds.count()), static_cast<long>((l_Left - l_Seconds).count())};
        return ::sigtimedwait(&m_Signals, &a_Info, &l_Time);
    }

    /// Ctrl-C at the terminal reaches the command by itself, and what it makes of it is its own affair: a shell goes
    /// on. A signal sent to bladesim means that the blade has to end, sooner or later.
    void Pass(int a_Signal, const siginfo_t& a_Info) {
        if (a_Signal == SIGINT && a_Info.si_code == SI_KERNEL) return;
        const auto l_Byte = static_cast<unsigned char>(a_Signal);
        ::send(m_Socket.Get(), &l_Byte, sizeof(l_Byte), MSG_NOSIGNAL | MSG_DONTWAIT);
        m_LastSignal = a_Signal;
        if (!m_Deadline) m_Deadline = CLOCK::now() + g_GraceTime;
    }

    int End() const {
        std::fprintf(stderr, "bladesim: the command did not end within %d s of signal %d; killed\n",
                     static_cast<int>(g_GraceTime.count()), m_LastSignal);
        ::kill(m_Inside, SIGKILL);
        ::waitpid(m_Inside, nullptr, 0);
        return g_SignalBase + m_LastSignal;
    }

    pid_t m_Inside;
    UNIQUE_FD m_Socket;
    sigset_t m_Signals;
    std::optional<CLOCK::time_point> m_Deadline;
    int m_LastSignal = 0;
};

sigset_t BlockSignals() {
    sigset_t l_Signals;
    sigemptyset(&l_Signals);
    for (const int l_Signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD})
        sigaddset(&l_Signals, l_Signal);
    sigprocmask(SIG_BLOCK, &l_Signals, nullptr);
    return l_Signals;
}

/// The child is process 1 of the namespace. The caller has further children in its own again: once process 1 has ended,
/// none can be had in the new one, not even the helper thread of a sanitizer.
pid_t ForkIntoNewProcessNamespace() {
    const UNIQUE_FD l_Self(static_cast<int>(::syscall(SYS_pidfd_open, ::getpid(), 0)));
    if (!l_Self || ::unshare(CLONE_NEWPID) != 0) ThrowErrno("no process namespace of its own");
    const pid_t l_Child = ::fork();
    if (l_Child < 0) ThrowErrno("the inside cannot be started");
    if (l_Child > 0) ::setns(l_Self.Get(), CLONE_NEWPID);
    return l_Child;
}

} // namespace

int RunBlade(const OPTIONS& a_Options) {
    if (::geteuid() != 0) throw BLADE_ERROR("needs root: it makes namespaces, mounts and a network of its own");
    const sigset_t l_Signals = BlockSignals();
    // When whoever started bladesim is killed, nobody waits for the command any more.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    std::array<int, 2> l_Sockets{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, l_Sockets.data()) != 0)
        ThrowErrno("no socket to the inside");
    UNIQUE_FD l_Here(l_Sockets[0]);
    UNIQUE_FD l_There(l_Sockets[1]);
    const pid_t l_Inside = ForkIntoNewProcessNamespace();
    if (l_Inside == 0) {
        l_Here.Reset();
        std::exit(RunInside(a_Options, std::move(l_There)));
    }
    l_There.Reset();
    return OUTSIDE(l_Inside, std::move(l_Here), l_Signals).Wait();
}

} // namespace BLADESIM
