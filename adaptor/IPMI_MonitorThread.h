// The health monitor: a thread that checks the media software and the AMCs while the blade runs.
#pragma once

#include "bm/OSAL.h"
#include "common/veldo_common_protocol.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

struct IPMI_TEST_ACCESS;
struct qMsg;

namespace BM_ADAPTOR {

class BOARD;
struct IPMI_DSP_Info_S;

/// Checks every 5 seconds until a check fails or the monitor is stopped. The checks run on the monitor's own thread.
/// Any thread may start and stop it, the monitor's own too: out of a line that the host takes. The destructor is the
/// last call.
class IPMI_MonitorThread : public OSAL::OSALThread, public OSAL::OSALMonitor {
public:
    IPMI_MonitorThread();
    /// On another board than the process's own; it must outlive the monitor.
    explicit IPMI_MonitorThread(BOARD& a_Board);
    /// Waits for the thread's end, however long the host keeps it.
    ~IPMI_MonitorThread() override;

    /// Opens the queue and starts the checks; GetLastErr tells what kept it from that. A monitor that runs is stopped
    /// first; where its thread cannot be waited for (see StopMonitor), that thread begins anew when it comes to its
    /// end.
    /// @param a_bAMCCheckMode        whether there is an RTM; without one the diagnostic is told "-b amc"
    /// @param a_bInterfaceCheckMode  whether the RTM has no framers; the diagnostic is then told "-i"
    /// @param a_DSPs                 the DSPs that the diagnostic is told, may be null; not kept
    void StartMonitor(bool a_bAMCCheckMode, bool a_bInterfaceCheckMode, const IPMI_DSP_Info_S* a_DSPs, int a_NumDSPs);

    /// Ends the checks, joins the thread and closes the queue: cuts the wait between two checks short, and lets a check
    /// that runs come to its end. Harmless when the monitor does not run. On the monitor's own thread, and when the
    /// host keeps that thread for a second, in a line that it takes, the thread is left to end by itself; the next
    /// start or stop, or the destructor, joins it.
    void StopMonitor();
    /// Stops it, and lets no start begin any more: another monitor has taken its place.
    void RetireMonitor();

    /// Result of the last check, a MONITOR_RESULT_e. Any thread.
    int GetLastErr() const { return m_LastErr; }

    void run() override;

    // The steps, each with a MONITOR_RESULT_e.
    /// Opens the monitor's queue and binds it to the monitor's address.
    int InitDriver();
    /// Asks the media software for the board's status.
    int IsVXPLive();
    /// Runs the diagnostic of the board driver's tools; once more, for its report, when that fails.
    int IsAMCsLive();
    /// Waits up to 5 seconds for a message.
    /// @return the message, which the caller frees; null when it is not of that type, or none came
    qMsg* checkMessage(int a_Queue, unsigned a_ExpectedType);

private:
    friend struct ::IPMI_TEST_ACCESS;

    /// What StartMonitor was told; the DSPs are in the diagnostic's words.
    struct ORDER {
        bool m_bAMCCheckMode = false;
        bool m_bInterfaceCheckMode = false;
        std::string m_DSPGroups;
    };
    class OWN_WAIT;

    void mStop(bool a_bHoweverLong);
    void mWaitForEnd(std::unique_lock<std::mutex>& a_Life, bool a_bHoweverLong);
    bool mClaim(const ORDER& a_Order);
    void mStartThread();
    void mCheckUntilItEnds();
    bool mTakeNext();
    void mWaitForNextCheck();
    void mCloseQueue();
    int mAskProcessorStatus();
    int mRunDiagnostic(bool a_bVerbose);
    std::string mDiagnostic(bool a_bVerbose) const;

    BOARD& m_Board;
    std::atomic<int> m_LastErr = MONITOR_LIVE;
    std::atomic<int> m_bStop = 0;
    // Of whoever has claimed the monitor: a StartMonitor, then the thread it started, then whoever joins that.
    ORDER m_Order;
    int m_Queue = -1;
    std::string m_InstallDir;

    /// Of what follows. Nothing of the host's is called while it is held.
    std::mutex m_Life;
    std::condition_variable m_Changed;
    bool m_bRetired = false;
    bool m_bClaimed = false;
    bool m_bClosing = false;     ///< who has stopped it closes the queue
    bool m_bStarted = false;     ///< the thread was started and not joined yet
    bool m_bRunning = false;     ///< its body has not come to its end
    bool m_bInOwnWait = false;   ///< it waits for a tool or a reply, not for the host
    unsigned m_OwnWaits = 0;     ///< how often such a wait began or ended
    std::optional<ORDER> m_Next; ///< with what the claimed monitor is to begin anew
};

} // namespace BM_ADAPTOR
