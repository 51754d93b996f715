// The health monitor: a thread that checks the media software and the AMCs while the blade runs.
#pragma once

#include "bm/OSAL.h"
#include "common/veldo_common_protocol.h"

#include <atomic>
#include <memory>
#include <string>

struct IPMI_TEST_ACCESS;
struct qMsg;

namespace BM_ADAPTOR {

class BOARD;
class MONITOR_LIFE;
struct IPMI_DSP_Info_S;

/// Checks every 5 seconds until a check fails or the monitor is stopped. The checks run on the monitor's own thread.
/// Any thread may start and stop it, even the monitor's own, from within a line that the host takes. The destructor is
/// the last call.
class IPMI_MonitorThread : public OSAL::OSALThread, public OSAL::OSALMonitor {
public:
    IPMI_MonitorThread();
    /// On another board than the process's own; it must outlive the monitor.
    explicit IPMI_MonitorThread(BOARD& a_Board);
    /// Waits for the thread's end, however long the host keeps it.
    ~IPMI_MonitorThread() override;

    /// Opens the queue and starts the checks; when it cannot, GetLastErr tells why. A monitor that runs is stopped
    /// first. Where its thread cannot be waited for (see StopMonitor), that thread begins anew when it comes to its
    /// end.
    /// @param a_bAMCCheckMode        whether there is an RTM; without one the diagnostic is told "-b amc"
    /// @param a_bInterfaceCheckMode  whether the RTM has no framers; the diagnostic is then told "-i"
    /// @param a_DSPs                 the DSPs that the diagnostic is told, may be null; not kept
    void StartMonitor(bool a_bAMCCheckMode, bool a_bInterfaceCheckMode, const IPMI_DSP_Info_S* a_DSPs, int a_NumDSPs);

    /// Ends the checks, joins the thread and closes the queue. Cuts the wait between two checks short, but lets a check
    /// under way come to its end. Harmless when the monitor does not run. The thread is left to end by itself when this
    /// is called on it, and when the host keeps it in a line for a second; the next start or stop, or the destructor,
    /// joins it.
    void StopMonitor();
    /// Stops it for good: another monitor has taken its place, and no start begins any more.
    void RetireMonitor();

    /// Result of the last check, a MONITOR_RESULT_e. Any thread.
    int GetLastErr() const { return m_LastErr; }

    void run() override;

    // The steps, each with a MONITOR_RESULT_e. Not while the monitor runs.
    /// Opens the monitor's queue and binds it to the monitor's address.
    int InitDriver();
    /// Asks the media software for the board's status.
    int IsVXPLive();
    /// Runs the diagnostic of the board driver's tools; once more, for its report, when that fails.
    int IsAMCsLive();
    /// Waits up to 5 seconds for a message.
    /// @return the message, which the caller frees; null when none came, or one of another type
    qMsg* checkMessage(int a_Queue, unsigned a_ExpectedType);

private:
    friend struct ::IPMI_TEST_ACCESS;

    void mStop(bool a_bHoweverLong);
    void mCheckUntilItEnds();
    void mCloseQueue();

    BOARD& m_Board;
    std::atomic<int> m_LastErr = MONITOR_LIVE;
    std::atomic<int> m_bStop = 0;
    int m_Queue = -1; ///< belongs to the claimant: a StartMonitor, then its thread, then the one that joins the thread
    std::string m_InstallDir;
    std::unique_ptr<MONITOR_LIFE> m_Life;
};

} // namespace BM_ADAPTOR
