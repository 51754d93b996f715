// Signals that ask a host to end while its adaptor works, tools of the adaptor included.
//
// An adaptor starts tools with system(), which has the whole process ignore SIGINT until the tool has ended. A handler
// would miss such a signal, and a signalfd would, too: a thread that has the signal unblocked is given it first, and
// ignores it. And no thread from which the adaptor starts tools may block signals, since the tools inherit that: nobody
// could interrupt them. So the process's first thread, which is asked first, sits in sigwait and does nothing else.
//
// What remains: in the instant in which system() begins, the thread that calls it changes its mask, and may take a
// SIGINT that came just then and ignore it. It has to be given again; SIGTERM and SIGHUP are never lost.
#include "host/resident/Signals.h"

#include <array>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <pthread.h>
#include <thread>
#include <vector>

namespace bmhost {

namespace {

constexpr std::array StopSignals = {SIGINT, SIGTERM, SIGHUP};
constexpr int LastChances = 3;

pthread_t taker;

// A signal that came while the taker was not waiting goes to another thread, which passes it on.
void PassOn(int signal) {
    pthread_kill(taker, signal);
}

// The calling thread's signals, as long as it takes them.
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
    // One that came too late to be taken has found what it wants: the end.
    ~TakenSignals() {
        for (std::size_t i = 0; i < m_before.size(); ++i) {
            signal(StopSignals[i], SIG_IGN);
            sigaction(StopSignals[i], &m_before[i], nullptr);
        }
        pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr);
    }

    /// For the thread that works, and those that it starts.
    void LeaveThem() const { pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr); }
    /// Ends the waiting.
    void Done() const { pthread_kill(taker, m_done); }
    /// The next signal; 0 when it is done.
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
    m_asked = true;
    m_changed.notify_all();
}

bool StopRequest::Asked() {
    return WaitFor(std::chrono::milliseconds(0));
}

bool StopRequest::WaitFor(std::chrono::milliseconds time) {
    std::unique_lock lock(m_guard);
    return m_changed.wait_for(lock, time, [this] { return m_asked; });
}

bool WithSignals(StopRequest& stop, const std::string& promise, const std::function<bool()>& work) {
    const TakenSignals signals;
    bool good = false;
    std::exception_ptr error;
    std::thread worker([&] {
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
        if (++count == LastChances) TakenSignals::EndBy(signal);
        Tell(signal, count == 1 ? promise : "one more ends bmhost at once");
        stop.Ask();
    }
    worker.join();
    if (error != nullptr) std::rethrow_exception(error);
    return good;
}

} // namespace bmhost
