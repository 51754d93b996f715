// The health monitor's life: its start, its loop, and how it is stopped.
#include "adaptor/IPMI_MonitorThread.h"

#include "adaptor/IPMI_Adaptor.h"
#include "adaptor/IPMI_Adaptor_DSP.h"
#include "adaptor/IPMI_Adaptor_Guard.h"
#include "bm/Log.h"

namespace BM_ADAPTOR {

namespace {

constexpr int CHECK_PERIOD_MS = 5000;

} // namespace

IPMI_MonitorThread::IPMI_MonitorThread() : m_InstallDir(InstallDir()) {}

IPMI_MonitorThread::~IPMI_MonitorThread() {
    StopMonitor(); // the thread must not outlive what it reads
}

void IPMI_MonitorThread::StartMonitor(bool a_bAMCCheckMode, bool a_bInterfaceCheckMode, const IPMI_DSP_Info_S* a_DSPs,
                                      int a_NumDSPs) {
    StopMonitor();
    m_bAMCCheckMode = a_bAMCCheckMode;
    m_bInterfaceCheckMode = a_bInterfaceCheckMode;
    m_DSPGroups = DSPArguments(a_DSPs, a_NumDSPs);
    m_LastErr = InitDriver();
    if (m_LastErr != MONITOR_LIVE) return;
    m_bStop = 0;
    if (const int l_Error = Start(); l_Error != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD,
               "IPMI_MonitorThread::StartMonitor() - starting the thread failed, errno %d", l_Error);
        m_LastErr = MONITOR_NOT_RUN;
        mCloseQueue();
        return;
    }
    m_bStarted = true;
}

void IPMI_MonitorThread::StopMonitor() {
    Lock();
    m_bStop = 1;
    Notify();
    Unlock();
    if (m_bStarted) Join();
    m_bStarted = false;
    mCloseQueue();
}

// The stop request is StartMonitor's to clear: cleared here, a stop that comes before the thread runs would be lost.
void IPMI_MonitorThread::run() {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Monitor Thread started");
    while (m_bStop == 0) {
        m_LastErr = IsVXPLive();
        if (m_LastErr != MONITOR_LIVE) break;
        m_LastErr = IsAMCsLive();
        if (m_LastErr != MONITOR_LIVE) break;
        mWaitForNextCheck();
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Monitor Thread stopped");
}

// Asked and waited for under one lock, so that no stop falls between the two.
void IPMI_MonitorThread::mWaitForNextCheck() {
    Lock();
    if (m_bStop == 0) Wait(CHECK_PERIOD_MS);
    Unlock();
}

} // namespace BM_ADAPTOR
