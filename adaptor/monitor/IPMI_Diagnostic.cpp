// The health monitor's diagnostic: its command line, and what the tool's exit status means.
#include "adaptor/monitor/IPMI_Diagnostic.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/monitor/IPMI_MonitorOrder.h"
#include "adaptor/monitor/IPMI_OwnWait.h"
#include "bm/Log.h"
#include "common/veldo_common_exit.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_tools.h"
#include "common/veldo_common_trace.h"

namespace BM_ADAPTOR {

namespace {

constexpr TOOL_FORMS CHECK_FORMS = {"/bin/mavk_diag -r -b amc", "/bin/mavk_diag -r -i", "/bin/mavk_diag -r"};
constexpr TOOL_FORMS REPORT_FORMS = {"/bin/mavk_diag -r -v -b amc", "/bin/mavk_diag -r -i -v", "/bin/mavk_diag -r -v"};

int Failed(MONITOR_RESULT_e a_Result, const char* a_Text) {
    bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "%s", a_Text);
    return a_Result;
}

int NotRun() {
    return Failed(MONITOR_NOT_RUN, "system() call failed");
}

int ResultOf(int a_Status) {
    switch (a_Status) {
    case DIAGNOSTIC_PASSED:
        return MONITOR_LIVE;
    case DIAGNOSTIC_INVALID_PARAMETERS:
        return Failed(MONITOR_NOT_RUN, "Invalid parameters");
    case DIAGNOSTIC_FIRMWARE_FAILED:
        return Failed(MONITOR_FIRMWARE_FAILED, "Firmware failed");
    case DIAGNOSTIC_AMC_FAILED:
        return Failed(MONITOR_AMC_FAILED, "AMC failed");
    case DIAGNOSTIC_RTM_FAILED:
        return Failed(MONITOR_RTM_FAILED, "RTM failed");
    default:
        return NotRun();
    }
}

} // namespace

int DIAGNOSTIC::Check() const {
    const int l_Result = ResultOf(mRun(false));
    if (l_Result == MONITOR_LIVE) {
        if (TracesOn()) bmiLog(BM_LOG_DEBUG, COMPONENT_MONITOR_THREAD, "AMCs are live");
        return l_Result;
    }
    // Once more, so that the tool writes its report; what it finds this time does not count.
    return mRun(true) > DIAGNOSTIC_RTM_FAILED ? NotRun() : l_Result;
}

// A tool that a signal ended has exit status 0, and passes.
int DIAGNOSTIC::mRun(bool a_bVerbose) const {
    const std::string l_Command = mCommand(a_bVerbose);
    const OWN_WAIT l_Wait(m_Watcher);
    return ExitStatusOf(m_Board.RunTool(l_Command));
}

std::string DIAGNOSTIC::mCommand(bool a_bVerbose) const {
    const TOOL_FORMS& l_Forms = a_bVerbose ? REPORT_FORMS : CHECK_FORMS;
    return m_InstallDir + l_Forms.Choose(m_Order.m_bAMCCheckMode, !m_Order.m_bInterfaceCheckMode) + m_Order.m_DSPGroups;
}

} // namespace BM_ADAPTOR
