// The health monitor: what its thread does from a start to a stop, and who closes the queue after it.
#include "adaptor/IPMI_MonitorThread.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/dsp/IPMI_DSPs.h"
#include "adaptor/monitor/IPMI_Diagnostic.h"
#include "adaptor/monitor/IPMI_MediaSoftware.h"
#include "adaptor/monitor/IPMI_MonitorLife.h"
#include "bm/Log.h"
#include "common/veldo_common_guard.h"

#include <optional>

namespace BM_ADAPTOR {

namespace {

constexpr int CHECK_PERIOD_MS = 5000;

} // namespace

IPMI_MonitorThread::IPMI_MonitorThread() : IPMI_MonitorThread(TheBoard()) {}

IPMI_MonitorThread::IPMI_MonitorThread(BOARD& a_Board)
    : m_Board(a_Board),
      m_InstallDir(InstallDir(a_Board)),
      m_Life(std::make_unique<MONITOR_LIFE>(a_Board, *this, *this, m_bStop)) {}

IPMI_MonitorThread::~IPMI_MonitorThread() {
    mStop(true); // the thread must not outlive what it reads
}

void IPMI_MonitorThread::StartMonitor(bool a_bAMCCheckMode, bool a_bInterfaceCheckMode, const IPMI_DSP_Info_S* a_DSPs,
                                      int a_NumDSPs) {
    const MONITOR_ORDER l_Order = {a_bAMCCheckMode, a_bInterfaceCheckMode, DSPArguments(a_DSPs, a_NumDSPs)};
    MONITOR_CLAIM_e l_Claim = MONITOR_STOP_FIRST;
    while (l_Claim == MONITOR_STOP_FIRST) {
        StopMonitor();
        l_Claim = m_Life->Claim(l_Order);
    }
    if (l_Claim != MONITOR_CLAIMED) return;
    m_LastErr = InitDriver();
    std::optional<int> l_Error;
    if (m_LastErr == MONITOR_LIVE) l_Error = m_Life->StartThread();
    if (l_Error == 0) return;
    if (l_Error) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD,
               "IPMI_MonitorThread::StartMonitor() - starting the thread failed, errno %d", *l_Error);
        m_LastErr = MONITOR_NOT_RUN;
    }
    mCloseQueue();
    m_Life->Release();
}

void IPMI_MonitorThread::StopMonitor() {
    mStop(false);
}

void IPMI_MonitorThread::RetireMonitor() {
    m_Life->Retire();
    StopMonitor();
}

void IPMI_MonitorThread::mStop(bool a_bHoweverLong) {
    if (!m_Life->Stop(a_bHoweverLong)) return;
    mCloseQueue();
    m_Life->Closed();
}

void IPMI_MonitorThread::run() {
    m_Life->Enter();
    bool l_bAgain = true;
    while (l_bAgain) {
        Guarded("Monitor Thread", [&] {
            mCheckUntilItEnds();
            return static_cast<int>(RESULT_OK);
        });
        do {
            l_bAgain = m_Life->TakeNext();
            if (l_bAgain) m_LastErr = InitDriver();
        } while (l_bAgain && m_LastErr != MONITOR_LIVE);
    }
}

// One check in any case: the stop request is looked at after it. Only a start clears the request. If it were cleared
// here, a stop that comes before the thread runs would be lost.
void IPMI_MonitorThread::mCheckUntilItEnds() {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STARTED_TEXT);
    do {
        m_LastErr = IsVXPLive();
        if (m_LastErr != MONITOR_LIVE) break;
        m_LastErr = IsAMCsLive();
        if (m_LastErr != MONITOR_LIVE) break;
        m_Life->Pause(CHECK_PERIOD_MS);
    } while (m_bStop == 0);
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STOPPED_TEXT);
}

int IPMI_MonitorThread::InitDriver() {
    return MEDIA_SOFTWARE(m_Board, *m_Life, m_Queue).Open();
}

void IPMI_MonitorThread::mCloseQueue() {
    MEDIA_SOFTWARE(m_Board, *m_Life, m_Queue).Close();
}

int IPMI_MonitorThread::IsVXPLive() {
    return MEDIA_SOFTWARE(m_Board, *m_Life, m_Queue).Check();
}

int IPMI_MonitorThread::IsAMCsLive() {
    return DIAGNOSTIC(m_Board, *m_Life, m_InstallDir, m_Life->Order()).Check();
}

qMsg* IPMI_MonitorThread::checkMessage(int a_Queue, unsigned a_ExpectedType) {
    return MEDIA_SOFTWARE(m_Board, *m_Life, a_Queue).Receive(a_ExpectedType);
}

} // namespace BM_ADAPTOR
