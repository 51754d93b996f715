// The outside of a simulated blade: the process that the user started. It makes the inside, passes signals to it and
// returns its status; nothing of the blade is left when it has ended.
#include "sim/life/Outside.h"

#include "sim/base/Error.h"
#include "sim/base/Process.h"
#include "sim/life/Namespaces.h"
#include "sim/life/Register.h"

#include <sys/prctl.h>
#include <sys/socket.h>
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

namespace bladesim {
namespace {

using Clock = std::chrono::steady_clock;

/// How long the command may take to end after a signal was sent to bladesim.
constexpr std::chrono::seconds GraceTime{5};

class Outside {
public:
    Outside(pid_t inside, bm_dev::UniqueFd socket, const sigset_t& signals)
        : m_inside(inside),
          m_socket(std::move(socket)),
          m_signals(signals) {}

    int Wait() {
        for (;;) {
            int status = 0;
            if (::waitpid(m_inside, &status, WNOHANG) == m_inside) return ExitStatus(status);
            siginfo_t info{};
            const int signal = NextSignal(info);
            if (signal == SIGINT || signal == SIGTERM || signal == SIGHUP) Pass(signal, info);
            if (m_deadline && Clock::now() >= *m_deadline) return End();
        }
    }

private:
    int NextSignal(siginfo_t& info) const {
        if (!m_deadline) return ::sigwaitinfo(&m_signals, &info);
        const auto left = std::max(std::chrono::nanoseconds(*m_deadline - Clock::now()), std::chrono::nanoseconds(0));
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const timespec time{static_cast<time_t>(seconds.count()), static_cast<long>((left - seconds).count())};
        return ::sigtimedwait(&m_signals, &info, &time);
    }

    /// Ctrl-C at the terminal reaches the command directly, which may ignore it: a shell goes on. A signal sent to
    /// bladesim means that the blade must end, sooner or later.
    void Pass(int signal, const siginfo_t& info) {
        if (signal == SIGINT && info.si_code == SI_KERNEL) return;
        const auto byte = static_cast<unsigned char>(signal);
        ::send(m_socket.Get(), &byte, sizeof(byte), MSG_NOSIGNAL | MSG_DONTWAIT);
        m_lastSignal = signal;
        if (!m_deadline) m_deadline = Clock::now() + GraceTime;
    }

    int End() const {
        std::fprintf(stderr, "bladesim: the command did not end within %d s of signal %d; killed\n",
                     static_cast<int>(GraceTime.count()), m_lastSignal);
        ::kill(m_inside, SIGKILL);
        ::waitpid(m_inside, nullptr, 0);
        return SignalBase + m_lastSignal;
    }

    pid_t m_inside;
    bm_dev::UniqueFd m_socket;
    sigset_t m_signals;
    std::optional<Clock::time_point> m_deadline;
    int m_lastSignal = 0;
};

sigset_t BlockSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

/// A blade without a name works as well, unless one was asked for.
Registration Register(const Options& options) {
    if (!options.m_name.empty()) return Registration::Exactly(RegisterFolder(), options.m_name);
    try {
        return Registration::Any(RegisterFolder(),
                                 IsBladeName(options.m_blade.m_name) ? options.m_blade.m_name : "blade");
    } catch (const BladeError& error) {
        if (options.m_verbose) std::fprintf(stderr, "bladesim: this blade has no name: %s\n", error.what());
        return {};
    }
}

} // namespace

int RunOutside(const InsideFunction& runInside, const std::function<void(pid_t)>& tellInside) {
    EnterUserNamespace();
    const sigset_t signals = BlockSignals();
    // When the process that started bladesim is killed, nothing waits for the command any more.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    std::array<int, 2> sockets{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0)
        ThrowErrno("no socket to the inside");
    bm_dev::UniqueFd here(sockets[0]);
    bm_dev::UniqueFd there(sockets[1]);
    const pid_t inside = ForkIntoNewProcessNamespace();
    if (inside == 0) {
        here.Reset();
        std::exit(runInside(std::move(there)));
    }
    there.Reset();
    if (tellInside) tellInside(inside);
    return Outside(inside, std::move(here), signals).Wait();
}

int RunBlade(const Options& options) {
    const Registration registration = Register(options);
    return RunOutside([&options](bm_dev::UniqueFd outside) { return RunInside(options, std::move(outside)); },
                      [&](pid_t inside) {
                          registration.Enter({registration.Name(), options.m_blade.m_name, options.m_command, inside});
                      });
}

} // namespace bladesim
