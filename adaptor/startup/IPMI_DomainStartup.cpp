// The start of the domain thread: one thread a process, one Init at a time.
#include "adaptor/startup/IPMI_DomainStartup.h"

#include "adaptor/board/IPMI_Board.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_Thread.h"

#include <condition_variable>
#include <memory>
#include <mutex>

namespace BM_ADAPTOR {

namespace {

// Whose turn it is. The lock is held for a look only: the thread is started, and the model waited for, without it, and
// the other threads wait. Never destroyed: a host may leave while it waits.
struct TURNS {
    std::mutex m_Lock;
    std::condition_variable m_Over;
    bool m_bUnderWay = false;
};

TURNS& Turns() {
    static TURNS& s_Turns = *new TURNS;
    return s_Turns;
}

// One turn, for a scope: begins when nobody else has it.
class TURN {
public:
    TURN() {
        std::unique_lock l_Lock(Turns().m_Lock);
        Turns().m_Over.wait(l_Lock, [] { return !Turns().m_bUnderWay; });
        Turns().m_bUnderWay = true;
    }
    TURN(const TURN&) = delete;
    TURN& operator=(const TURN&) = delete;
    ~TURN() {
        const std::lock_guard l_Lock(Turns().m_Lock);
        Turns().m_bUnderWay = false;
        Turns().m_Over.notify_one();
    }
};

} // namespace

IPMITHREAD* DOMAIN_STARTUP::s_DomainThread = nullptr;

// The line is written when the turn is over: out of it the host may wait for another thread's Init.
bool DOMAIN_STARTUP::WaitForModel() {
    const int l_Error = mStart();
    if (l_Error == 0) return true;
    LogError(m_Frame.m_Logger, "IPMIAdaptor::Init() - starting the IPMI domain thread failed, errno %d", l_Error);
    return false;
}

int DOMAIN_STARTUP::mStart() {
    const TURN l_Turn;
    if (s_DomainThread != nullptr) {
        g_Logger2 = m_Frame.m_Logger.load();
        return 0;
    }
    OSAL::OSALMutex l_StartupMutex;
    l_StartupMutex.Lock();
    auto l_Thread = std::make_unique<IPMITHREAD>(m_Frame.m_Logger, &l_StartupMutex);
    if (const int l_Error = m_Frame.m_Board.StartThread(*l_Thread); l_Error != 0) return l_Error;
    s_DomainThread = l_Thread.release(); // never deleted
    l_StartupMutex.Lock();
    l_StartupMutex.Unlock();
    return 0;
}

} // namespace BM_ADAPTOR
