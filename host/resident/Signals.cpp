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

namespace BMHOST {

namespace {

constexpr std::array STOP_SIGNALS = {SIGINT, SIGTERM, SIGHUP};
constexpr int LAST_CHANCES = 3;

pthread_t g_Taker;

// A signal that came while the taker was not waiting goes to another thread, which passes it on.
void PassOn(int a_Signal) {
    pthread_kill(g_Taker, a_Signal);
}

// The calling thread's signals, as long as it takes them.
class TAKEN_SIGNALS {
public:
    TAKEN_SIGNALS() {
        g_Taker = pthread_self();
        sigset_t l_Blocked;
        sigemptyset(&l_Blocked);
        sigaddset(&l_Blocked, m_Done);
        struct sigaction l_PassOn = {};
        l_PassOn.sa_handler = PassOn;
        l_PassOn.sa_flags = SA_RESTART;
        for (std::size_t i = 0; i < m_Before.size(); ++i) {
            sigaction(STOP_SIGNALS[i], nullptr, &m_Before[i]);
            if (m_Before[i].sa_handler == SIG_IGN) continue; // nohup, or in the background of a script
            sigaddset(&l_Blocked, STOP_SIGNALS[i]);
            sigaction(STOP_SIGNALS[i], &l_PassOn, nullptr);
        }
        m_Set = l_Blocked;
        pthread_sigmask(SIG_BLOCK, &l_Blocked, &m_MaskBefore);
    }
    TAKEN_SIGNALS(const TAKEN_SIGNALS&) = delete;
    TAKEN_SIGNALS& operator=(const TAKEN_SIGNALS&) = delete;
    // One that came too late to be taken has found what it wants: the end.
    ~TAKEN_SIGNALS() {
        for (std::size_t i = 0; i < m_Before.size(); ++i) {
            signal(STOP_SIGNALS[i], SIG_IGN);
            sigaction(STOP_SIGNALS[i], &m_Before[i], nullptr);
        }
        pthread_sigmask(SIG_SETMASK, &m_MaskBefore, nullptr);
    }

    /// For the thread that works, and those that it starts.
    void LeaveThem() const { pthread_sigmask(SIG_SETMASK, &m_MaskBefore, nullptr); }
    /// Ends the waiting.
    void Done() const { pthread_kill(g_Taker, m_Done); }
    /// The next signal; 0 when it is done.
    int Next() const {
        int l_Signal = 0;
        sigwait(&m_Set, &l_Signal);
        return l_Signal == m_Done ? 0 : l_Signal;
    }
    [[noreturn]] static void EndBy(int a_Signal) {
        signal(a_Signal, SIG_DFL);
        sigset_t l_Set;
        sigemptyset(&l_Set);
        sigaddset(&l_Set, a_Signal);
        pthread_sigmask(SIG_UNBLOCK, &l_Set, nullptr);
        raise(a_Signal);
        std::terminate(); // never: it ends the process
    }

private:
    int m_Done = SIGRTMIN;
    sigset_t m_Set{};
    sigset_t m_MaskBefore{};
    std::array<struct sigaction, std::size(STOP_SIGNALS)> m_Before{};
};

void Tell(int a_Signal, const std::string& a_Text) {
    fprintf(stderr, "bmhost: SIG%s: %s\n", sigabbrev_np(a_Signal), a_Text.c_str());
}

} // namespace

void STOP_REQUEST::Ask() {
    const std::lock_guard l_Lock(m_Guard);
    m_Asked = true;
    m_Changed.notify_all();
}

bool STOP_REQUEST::Asked() {
    return WaitFor(std::chrono::milliseconds(0));
}

bool STOP_REQUEST::WaitFor(std::chrono::milliseconds a_Time) {
    std::unique_lock l_Lock(m_Guard);
    return m_Changed.wait_for(l_Lock, a_Time, [this] { return m_Asked; });
}

bool WithSignals(STOP_REQUEST& a_Stop, const std::string& a_Promise, const std::function<bool()>& a_Work) {
    const TAKEN_SIGNALS l_Signals;
    bool l_Good = false;
    std::exception_ptr l_Error;
    std::thread l_Worker([&] {
        l_Signals.LeaveThem();
        try {
            l_Good = a_Work();
        } catch (...) {
            l_Error = std::current_exception();
        }
        l_Signals.Done();
    });
    int l_Count = 0;
    for (int l_Signal = l_Signals.Next(); l_Signal != 0; l_Signal = l_Signals.Next()) {
        if (++l_Count == LAST_CHANCES) TAKEN_SIGNALS::EndBy(l_Signal);
        Tell(l_Signal, l_Count == 1 ? a_Promise : "one more ends bmhost at once");
        a_Stop.Ask();
    }
    l_Worker.join();
    if (l_Error != nullptr) std::rethrow_exception(l_Error);
    return l_Good;
}

} // namespace BMHOST
