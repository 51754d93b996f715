// The health monitor: a thread that checks the media software and the AMCs while the blade runs.
#pragma once

#include "bm/OSAL.h"

#include <atomic>
#include <cstdint>
#include <string>

struct IPMI_TEST_ACCESS;
struct qMsg;

namespace BM_ADAPTOR {

struct IPMI_DSP_Info_S;

/// Results of the checks.
enum MONITOR_RESULT_e : int {
    MONITOR_LIVE = 1,
    MONITOR_FIRMWARE_FAILED = 0x30013,
    MONITOR_RTM_FAILED = 0x30014,
    MONITOR_AMC_FAILED = 0x30015,
    MONITOR_NOT_RUN = 0x30016,         ///< the diagnostic could not be run
    MONITOR_PROCESSOR_FAULT = 0x30017, ///< reported by the media software
    MONITOR_NO_EXCHANGE = 0x30019      ///< no answer of the media software, or no queue
};

/// Checks every 5 seconds until a check fails or the monitor is stopped. StartMonitor, StopMonitor and the destructor
/// are called by one host thread at a time; the checks run on the monitor's own thread.
class IPMI_MonitorThread : public OSAL::OSALThread, public OSAL::OSALMonitor {
public:
    IPMI_MonitorThread();
    ~IPMI_MonitorThread() override;

    /// Opens the queue and starts the checks; GetLastErr tells what kept it from that. A monitor that runs is stopped
    /// first.
    /// @param a_bAMCCheckMode        whether there is an RTM; without one the diagnostic is told "-b amc"
    /// @param a_bInterfaceCheckMode  whether the RTM has no framers; the diagnostic is then told "-i"
    /// @param a_DSPs                 the DSPs that the diagnostic is told, may be null; not kept
    void StartMonitor(bool a_bAMCCheckMode, bool a_bInterfaceCheckMode, const IPMI_DSP_Info_S* a_DSPs, int a_NumDSPs);

    /// Ends the checks and joins the thread: cuts the wait between two checks short, and lets a check that runs come to
    /// its end. Harmless when the monitor does not run.
    void StopMonitor();

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

    void mWaitForNextCheck();
    void mCloseQueue();
    int mAskProcessorStatus();
    std::string mDiagnostic(bool a_bVerbose) const;

    std::atomic<int> m_LastErr = MONITOR_LIVE;
    std::atomic<int> m_bStop = 0;
    bool m_bAMCCheckMode = false;
    bool m_bInterfaceCheckMode = false;
    std::string
        m_DSPGroups; ///< the DSPs in the diagnostic's words; the adaptor's table is remade by each of its starts
    int m_Queue = -1;
    bool m_bStarted = false; ///< the thread was started and not joined yet
    std::string m_InstallDir;
};

} // namespace BM_ADAPTOR
