// The health monitor's life: its start, its loop, and how it is stopped.
#include "adaptor/IPMI_MonitorThread.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/dsp/IPMI_DSPs.h"
#include "adaptor/monitor/IPMI_OwnWait.h"
#include "bm/Log.h"
#include "bm/MsgQueue.h"
#include "common/veldo_common_guard.h"

#include <chrono>
#include <utility>

namespace BM_ADAPTOR {

namespace {

constexpr int CHECK_PERIOD_MS = 5000;
constexpr auto HOST_GRACE = std::chrono::seconds(1);

// The monitor whose body the calling thread runs.
thread_local const IPMI_MonitorThread* g_RunningMonitor = nullptr;

} // namespace

IPMI_MonitorThread::IPMI_MonitorThread() : IPMI_MonitorThread(TheBoard()) {}

IPMI_MonitorThread::IPMI_MonitorThread(BOARD& a_Board) : m_Board(a_Board), m_InstallDir(InstallDir(a_Board)) {}

IPMI_MonitorThread::~IPMI_MonitorThread() {
    mStop(true); // the thread must not outlive what it reads
}

void IPMI_MonitorThread::StartMonitor(bool a_bAMCCheckMode, bool a_bInterfaceCheckMode, const IPMI_DSP_Info_S* a_DSPs,
                                      int a_NumDSPs) {
    if (!mClaim({a_bAMCCheckMode, a_bInterfaceCheckMode, DSPArguments(a_DSPs, a_NumDSPs)})) return;
    m_LastErr = InitDriver();
    mStartThread();
}

// False when the monitor is somebody else's, who then goes on with this order: a thread that cannot be waited for, or
// another start. False also when it is retired.
bool IPMI_MonitorThread::mClaim(const ORDER& a_Order) {
    for (;;) {
        StopMonitor();
        std::unique_lock l_Life(m_Life);
        m_Changed.wait(l_Life, [this] { return !m_bClosing; });
        if (m_bRetired) return false;
        if (m_bStarted && !m_bRunning) continue; // another start's, ended already
        if (m_bClaimed) {
            m_Next = a_Order;
            return false;
        }
        m_bClaimed = true;
        m_Order = a_Order;
        m_bStop = 0;
        return true;
    }
}

// Unless the driver failed, or a stop has come meanwhile.
void IPMI_MonitorThread::mStartThread() {
    int l_Error = 0;
    {
        const std::lock_guard l_Life(m_Life);
        if (auto l_Next = std::exchange(m_Next, std::nullopt)) m_Order = std::move(*l_Next);
        if (m_LastErr == MONITOR_LIVE && m_bStop == 0 && !m_bRetired) {
            l_Error = Start();
            m_bStarted = m_bRunning = l_Error == 0;
        }
        if (m_bStarted) return;
    }
    if (l_Error != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD,
               "IPMI_MonitorThread::StartMonitor() - starting the thread failed, errno %d", l_Error);
        m_LastErr = MONITOR_NOT_RUN;
    }
    mCloseQueue();
    const std::lock_guard l_Life(m_Life);
    m_bClaimed = false;
    m_Next.reset();
}

void IPMI_MonitorThread::StopMonitor() {
    mStop(false);
}

void IPMI_MonitorThread::RetireMonitor() {
    {
        const std::lock_guard l_Life(m_Life);
        m_bRetired = true;
    }
    StopMonitor();
}

void IPMI_MonitorThread::mStop(bool a_bHoweverLong) {
    std::unique_lock l_Life(m_Life);
    m_bStop = 1;
    m_Next.reset();
    Lock();
    Notify();
    Unlock();
    mWaitForEnd(l_Life, a_bHoweverLong);
    if (m_bStarted && !m_bRunning) {
        Join(); // its body is at its end
        m_bStarted = m_bClaimed = false;
    }
    if (m_bClaimed || m_bClosing || m_Queue < 0) return;
    m_bClosing = true;
    l_Life.unlock();
    mCloseQueue();
    l_Life.lock();
    m_bClosing = false;
    m_Changed.notify_all();
}

// A check has its own waits, which end by themselves. The rest of the time the thread is in a line that the host takes
// or about to end: who waits for it there may be the one whom the host waits for.
void IPMI_MonitorThread::mWaitForEnd(std::unique_lock<std::mutex>& a_Life, bool a_bHoweverLong) {
    if (g_RunningMonitor == this) return;
    while (m_bRunning) {
        const unsigned l_OwnWaits = m_OwnWaits;
        const auto l_Moved = [&] { return !m_bRunning || m_OwnWaits != l_OwnWaits; };
        if (a_bHoweverLong || m_bInOwnWait) {
            m_Changed.wait(a_Life, l_Moved);
        } else if (!m_Changed.wait_for(a_Life, HOST_GRACE, l_Moved)) {
            return;
        }
    }
}

void IPMI_MonitorThread::run() {
    g_RunningMonitor = this;
    bool l_bAgain = true;
    while (l_bAgain) {
        Guarded("Monitor Thread", [&] {
            mCheckUntilItEnds();
            return static_cast<int>(RESULT_OK);
        });
        do {
            l_bAgain = mTakeNext();
            if (l_bAgain) m_LastErr = InitDriver();
        } while (l_bAgain && m_LastErr != MONITOR_LIVE);
    }
}

// One check in any case: the stop request is looked at after it. It is StartMonitor's to clear: cleared here, a stop
// that comes before the thread runs would be lost.
void IPMI_MonitorThread::mCheckUntilItEnds() {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STARTED_TEXT);
    do {
        m_LastErr = IsVXPLive();
        if (m_LastErr != MONITOR_LIVE) break;
        m_LastErr = IsAMCsLive();
        if (m_LastErr != MONITOR_LIVE) break;
        mWaitForNextCheck();
    } while (m_bStop == 0);
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STOPPED_TEXT);
}

// False at the end of the thread's body.
bool IPMI_MonitorThread::mTakeNext() {
    const std::lock_guard l_Life(m_Life);
    auto l_Next = std::exchange(m_Next, std::nullopt);
    if (l_Next) {
        m_Order = std::move(*l_Next);
        m_bStop = 0;
        return true;
    }
    m_bRunning = false;
    m_Changed.notify_all();
    return false;
}

// Asked and waited for under one lock, so that no stop falls between the two.
void IPMI_MonitorThread::mWaitForNextCheck() {
    Lock();
    if (m_bStop == 0) Wait(CHECK_PERIOD_MS);
    Unlock();
}

} // namespace BM_ADAPTOR
