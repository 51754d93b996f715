// The health monitor's life: whose the monitor is at each moment, a start's, its thread's or a stop's.
#include "adaptor/monitor/IPMI_MonitorLife.h"

#include "adaptor/board/IPMI_Board.h"
#include "bm/OSAL.h"

#include <chrono>
#include <utility>

namespace BM_ADAPTOR {

namespace {

constexpr auto HOST_GRACE = std::chrono::seconds(1);

// The life of the monitor whose body the calling thread runs.
thread_local const MONITOR_LIFE* g_RunningLife = nullptr;

} // namespace

MONITOR_LIFE::MONITOR_LIFE(BOARD& a_Board, OSAL::OSALThread& a_Thread, OSAL::OSALMonitor& a_Pause,
                           std::atomic<int>& a_bStop)
    : m_Board(a_Board),
      m_Thread(a_Thread),
      m_Pause(a_Pause),
      m_bStop(a_bStop) {}

// A monitor that is not free belongs to a thread that cannot be waited for, or to another start.
MONITOR_CLAIM_e MONITOR_LIFE::Claim(const MONITOR_ORDER& a_Order) {
    std::unique_lock l_Guard(m_Lock);
    m_Changed.wait(l_Guard, [this] { return !m_bClosing; });
    if (m_bRetired) return MONITOR_NOT_FREE;
    if (m_bStarted && !m_bRunning) return MONITOR_STOP_FIRST;
    if (m_bClaimed) {
        m_Next = a_Order;
        return MONITOR_NOT_FREE;
    }
    m_bClaimed = true;
    m_Order = a_Order;
    m_bStop = 0;
    return MONITOR_CLAIMED;
}

std::optional<int> MONITOR_LIFE::StartThread() {
    const std::lock_guard l_Guard(m_Lock);
    if (auto l_Next = std::exchange(m_Next, std::nullopt)) m_Order = std::move(*l_Next);
    if (m_bStop != 0 || m_bRetired) return std::nullopt;
    const int l_Error = m_Board.StartThread(m_Thread);
    m_bStarted = m_bRunning = l_Error == 0;
    return l_Error;
}

void MONITOR_LIFE::Release() {
    const std::lock_guard l_Guard(m_Lock);
    m_bClaimed = false;
    m_Next.reset();
}

void MONITOR_LIFE::Enter() const {
    g_RunningLife = this;
}

// Looked at and waited for under one lock, so that no stop falls between the two.
void MONITOR_LIFE::Pause(int a_Milliseconds) {
    m_Pause.Lock();
    if (m_bStop == 0) m_Board.Wait(m_Pause, a_Milliseconds);
    m_Pause.Unlock();
}

bool MONITOR_LIFE::TakeNext() {
    const std::lock_guard l_Guard(m_Lock);
    if (auto l_Next = std::exchange(m_Next, std::nullopt)) {
        m_Order = std::move(*l_Next);
        m_bStop = 0;
        return true;
    }
    m_bRunning = false;
    m_Changed.notify_all();
    return false;
}

void MONITOR_LIFE::NoteOwnWait(bool a_bWaits) {
    const std::lock_guard l_Guard(m_Lock);
    m_bInOwnWait = a_bWaits;
    ++m_OwnWaits;
    m_Changed.notify_all();
}

bool MONITOR_LIFE::Stop(bool a_bHoweverLong) {
    std::unique_lock l_Guard(m_Lock);
    m_bStop = 1;
    m_Next.reset();
    m_Pause.Lock();
    m_Pause.Notify();
    m_Pause.Unlock();
    mWaitForEnd(l_Guard, a_bHoweverLong);
    if (m_bStarted && !m_bRunning) {
        m_Thread.Join(); // its body is at its end
        m_bStarted = m_bClaimed = false;
    }
    if (m_bClaimed || m_bClosing) return false;
    m_bClosing = true;
    return true;
}

// A check has its own waits, which end by themselves. The rest of the time the thread is about to end, or in a line
// that the host takes: the host may keep it there because it waits for the very caller of this stop.
void MONITOR_LIFE::mWaitForEnd(std::unique_lock<std::mutex>& a_Guard, bool a_bHoweverLong) {
    if (g_RunningLife == this) return;
    while (m_bRunning) {
        const unsigned l_OwnWaits = m_OwnWaits;
        const auto l_Moved = [&] { return !m_bRunning || m_OwnWaits != l_OwnWaits; };
        if (a_bHoweverLong || m_bInOwnWait) {
            m_Changed.wait(a_Guard, l_Moved);
        } else if (!m_Changed.wait_for(a_Guard, HOST_GRACE, l_Moved)) {
            return;
        }
    }
}

void MONITOR_LIFE::Closed() {
    const std::lock_guard l_Guard(m_Lock);
    m_bClosing = false;
    m_Changed.notify_all();
}

void MONITOR_LIFE::Retire() {
    const std::lock_guard l_Guard(m_Lock);
    m_bRetired = true;
}

} // namespace BM_ADAPTOR
