// Signals that ask a host to end while its adaptor, or one of the adaptor's tools, works.
//
// An adaptor starts tools with system(), which makes the whole process ignore SIGINT until the tool has ended. A
// handler would miss such a signal, and so would a signalfd: the kernel delivers it to a thread that has it unblocked,
// which ignores it. Threads from which the adaptor starts tools must not block signals either, since the tools inherit
// that and could not be interrupted. So the process's first thread, to which the kernel offers a signal first, sits in
// sigwait and does nothing else.
//
// One gap remains: when system() begins, the calling thread changes its mask, and may take and ignore a SIGINT that
// comes at that moment. The user has to repeat it. SIGTERM and SIGHUP are never lost.
#include "host/service/Signals.h"

#include "bm_dev/Thread.h"

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <pthread.h>
#include <vector>

namespace bmhost {

namespace {

constexpr std::array StopSignals = {SIGINT, SIGTERM, SIGHUP};
constexpr int LastChances = 3;

pthread_t taker;

// A signal that comes while the taker is not waiting goes to another thread, which passes it on.
void PassOn(int signal) {
    pthread_kill(taker, signal);
}

// Takes the signals on the calling thread.
class TakenSignals {
public:
    TakenSignals() {
        taker = pthread_self();
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, m_done);
        struct sigaction passOn = {};
        passOn.sa_handler = PassOn;
        passOn.sa_flags = SA_RESTART;
        for (std::size_t i = 0; i < m_before.size(); ++i) {
            sigaction(StopSignals[i], nullptr, &m_before[i]);
            if (m_before[i].sa_handler == SIG_IGN) continue; // nohup, or in the background of a script
            sigaddset(&blocked, StopSignals[i]);
            sigaction(StopSignals[i], &passOn, nullptr);
        }
        m_set = blocked;
        pthread_sigmask(SIG_BLOCK, &blocked, &m_maskBefore);
    }
    TakenSignals(const TakenSignals&) = delete;
    TakenSignals& operator=(const TakenSignals&) = delete;
    // A signal that comes too late finds the host already at its end.
    ~TakenSignals() {
        for (std::size_t i = 0; i < m_before.size(); ++i) {
            signal(StopSignals[i], SIG_IGN);
            sigaction(StopSignals[i], &m_before[i], nullptr);
        }
        pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr);
    }

    /// Unblocks the signals for the thread that works, and for those that it starts.
    void LeaveThem() const { pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr); }
    /// Ends the waiting.
    void Done() const { pthread_kill(taker, m_done); }
    /// The next signal; 0 when the waiting has ended.
    int Next() const {
        int signal = 0;
        sigwait(&m_set, &signal);
        return signal == m_done ? 0 : signal;
    }
    [[noreturn]] static void EndBy(int number) {
        signal(number, SIG_DFL);
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, number);
        pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
        raise(number);
        std::terminate(); // never: it ends the process
    }

private:
    int m_done = SIGRTMIN;
    sigset_t m_set{};
    sigset_t m_maskBefore{};
    std::array<struct sigaction, std::size(StopSignals)> m_before{};
};

void Tell(int signal, const std::string& text) {
    fprintf(stderr, "bmhost: SIG%s: %s\n", sigabbrev_np(signal), text.c_str());
}

} // namespace

void StopRequest::Ask() {
    const std::lock_guard lock(m_guard);
    ++m_asked;
    m_changed.notify_all();
}

bool StopRequest::Asked() {
    return WaitFor(std::chrono::milliseconds(0));
}

bool StopRequest::AskedTwice() {
    const std::lock_guard lock(m_guard);
    return m_asked > 1;
}

void StopRequest::Wait() {
    std::unique_lock lock(m_guard);
    m_changed.wait(lock, [this] { return m_asked > 0; });
}

bool StopRequest::WaitFor(std::chrono::milliseconds time) {
    std::unique_lock lock(m_guard);
    return m_changed.wait_for(lock, time, [this] { return m_asked > 0; });
}

bool WithSignals(StopRequest& stop, const std::string& promise, const std::function<bool()>& work,
                 const std::function<void()>& reload) {
    const TakenSignals signals;
    bool good = false;
    std::exception_ptr error;
    bm_dev::Thread worker([&] {
        signals.LeaveThem();
        try {
            good = work();
        } catch (...) {
            error = std::current_exception();
        }
        signals.Done();
    });
    int count = 0;
    for (int signal = signals.Next(); signal != 0; signal = signals.Next()) {
        if (signal == SIGHUP && reload) {
            reload();
            continue;
        }
        if (++count == LastChances) TakenSignals::EndBy(signal);
        Tell(signal, count == 1 ? promise : "one more ends bmhost at once");
        stop.Ask();
    }
    worker.Join();
    if (error != nullptr) std::rethrow_exception(error);
    return good;
}

} // namespace bmhost
