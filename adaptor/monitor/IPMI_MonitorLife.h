// The health monitor's life: whose the monitor is at each moment, a start's, its thread's or a stop's.
#pragma once

#include "adaptor/monitor/IPMI_MonitorOrder.h"
#include "adaptor/monitor/IPMI_OwnWait.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace OSAL {
class OSALMonitor;
class OSALThread;
} // namespace OSAL

namespace BM_ADAPTOR {

class BOARD;

/// How a start's claim ended.
enum MONITOR_CLAIM_e {
    MONITOR_CLAIMED,   ///< the monitor is the caller's until StartThread has given 0, or Release
    MONITOR_NOT_FREE,  ///< it is somebody else's, who goes on with this order; or it is retired
    MONITOR_STOP_FIRST ///< another start's thread has ended meanwhile: stop it, and claim again
};

/// One starts, one thread runs, any number stop: from any thread, the monitor's own too. Nothing of the host's is
/// called under its lock.
class MONITOR_LIFE final : public WAIT_WATCHER {
public:
    /// All of them outlive this object.
    /// @param a_Thread  the monitor's; started and joined here
    /// @param a_Pause   what the thread waits on between two checks
    /// @param a_bStop   the stop request; 0 or 1
    MONITOR_LIFE(BOARD& a_Board, OSAL::OSALThread& a_Thread, OSAL::OSALMonitor& a_Pause, std::atomic<int>& a_bStop);

    // ---- a start
    /// After a Stop of the caller's. Waits while another thread closes the queue.
    MONITOR_CLAIM_e Claim(const MONITOR_ORDER& a_Order);
    /// Gives the claimed monitor to its thread.
    /// @return 0 when the thread runs, else an errno; nothing when a stop has come meanwhile. Unless it is 0 the
    ///         caller still has the monitor.
    std::optional<int> StartThread();
    /// Gives a claimed monitor back that no thread was started for.
    void Release();

    // ---- its thread
    /// First of all on the monitor's thread.
    void Enter() const;
    /// Waits on the pause, unless a stop was asked for.
    void Pause(int a_Milliseconds);
    /// The order with which the thread begins anew becomes its order.
    /// @return false at the end of the thread's body: nothing of the monitor may be touched after that
    bool TakeNext();
    void NoteOwnWait(bool a_bWaits) override;

    /// What the monitor was told; belongs to its claimant.
    const MONITOR_ORDER& Order() const { return m_Order; }

    // ---- a stop
    /// Asks for the stop, waits for the thread's end and joins it. Waits while the thread is in its own waits, and not
    /// longer than a second at a time for one that the host keeps; not at all on the monitor's own thread.
    /// @param a_bHoweverLong  waits for the host too, without a limit
    /// @return true when the monitor is nobody's: the caller closes the queue now, and then calls Closed
    bool Stop(bool a_bHoweverLong);
    void Closed();
    /// No claim succeeds any more.
    void Retire();

private:
    void mWaitForEnd(std::unique_lock<std::mutex>& a_Guard, bool a_bHoweverLong);

    BOARD& m_Board;
    OSAL::OSALThread& m_Thread;
    OSAL::OSALMonitor& m_Pause;
    std::atomic<int>& m_bStop;
    MONITOR_ORDER m_Order;

    std::mutex m_Lock; ///< of what follows
    std::condition_variable m_Changed;
    bool m_bRetired = false;
    bool m_bClaimed = false;
    bool m_bClosing = false;               ///< the thread that stopped it closes the queue
    bool m_bStarted = false;               ///< the thread was started and is not joined yet
    bool m_bRunning = false;               ///< its body has not come to its end
    bool m_bInOwnWait = false;             ///< it waits for a tool or a reply, not for the host
    unsigned m_OwnWaits = 0;               ///< how often such a wait began or ended
    std::optional<MONITOR_ORDER> m_Next{}; ///< with what the claimed monitor is to begin anew
};

} // namespace BM_ADAPTOR
