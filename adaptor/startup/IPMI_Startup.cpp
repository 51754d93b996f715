// Start-up of the DSPs: their addresses checked, then initialised, made known to the switch, booted and tested, by the
// board driver's tools.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/board/IPMI_Network.h"
#include "adaptor/dsp/IPMI_DSPs.h"
#include "common/veldo_common_exit.h"
#include "common/veldo_common_guard.h"
#include "common/veldo_common_lock.h"

#include <cstdlib>

namespace BM_ADAPTOR {

/// The forms of a tool's command line, by what there is of an RTM.
struct TOOL_FORMS {
    const char* m_NoRTM;
    const char* m_NoTrunks;
    const char* m_Trunks;
};

namespace {

constexpr const char* DSP_NETMASK = "255.255.255.0";

constexpr TOOL_FORMS INIT_FORMS = {"/bin/mavk_init -v -r", "/bin/mavk_init -v -i", "/bin/mavk_init -v"};
constexpr TOOL_FORMS DIAG_FORMS = {"/bin/mavk_diag -v -a 30 -p -b amc", "/bin/mavk_diag -v -a 30 -p -i",
                                   "/bin/mavk_diag -v -a 30 -p"};

// The tool's exit status; 255 when it could not be run. A tool that a signal ended has 0, and passes.
int RunTool(const std::string& a_Command) {
    return ExitStatusOf(system(a_Command.c_str()));
}

} // namespace

// A start works on a table of its own. The member is for whoever looks later: cleared at once, set when it is made.
int IPMIAdaptor::mStartAMC(DSP_TABLE& a_DSPs) {
    mPublishDSPInfo({});
    if (m_DspMacMap.Get()->empty()) return RESULT_NOTHING_DONE;
    const int l_Made = mMakeDSPInfo(a_DSPs);
    mPublishDSPInfo(a_DSPs);
    if (l_Made != RESULT_OK) return l_Made;
    mSetAmcRTMStatus(RUN_STATUS_INITIALISING);
    if (const int l_Result = mInitDSPs(); l_Result != RESULT_OK) return l_Result;
    for (const auto l_Step : {&IPMIAdaptor::mTeachDSPs, &IPMIAdaptor::mBootDSPs, &IPMIAdaptor::mTestDSPs}) {
        if ((this->*l_Step)(a_DSPs) != RESULT_OK) {
            mSetAmcRTMStatus(RUN_STATUS_FAILED);
            return STARTUP_DSP_FAILED;
        }
    }
    mSetAmcRTMStatus(RUN_STATUS_RUNNING);
    return RESULT_OK;
}

void IPMIAdaptor::mPublishDSPInfo(const DSP_TABLE& a_DSPs) {
    DSP_TABLE l_DSPs = a_DSPs;
    const OSAL_LOCK l_Lock(m_Mutex);
    m_DspInfo.swap(l_DSPs);
}

// The table of the DSPs' addresses. A DSP whose address could not be had is off the subnet.
int IPMIAdaptor::mMakeDSPInfo(DSP_TABLE& a_DSPs) {
    std::string l_HostIP;
    if (mGetIPAddrByName(HOST_INTERFACE, l_HostIP) != RESULT_OK) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to get IP Address of = %s", HOST_INTERFACE);
        return STARTUP_FAILED;
    }
    a_DSPs.resize(m_DspMacMap.Get()->size());
    int l_Result = RESULT_OK;
    int l_Index = 0;
    for (const IPMI_DSP_Info_S& l_DSP : a_DSPs) {
        l_Result = mFillDSPInfo(l_Index, l_Index + 1, a_DSPs.data());
        if (!mIsOnSameSubnet(l_DSP.m_IP, l_HostIP, DSP_NETMASK)) {
            // The mask is not the one that the text names; the text has always read so.
            bmiLog(BM_LOG_ERROR, COMPONENT_IPMI,
                   "m_pDspInfo[%d] IP Address =%s, is not on same subnet(0xFFF0) of %s, IP Address = %s", l_Index,
                   l_DSP.m_IP.c_str(), HOST_INTERFACE, l_HostIP.c_str());
            return RESULT_NOTHING_DONE;
        }
        ++l_Index;
    }
    return l_Result;
}

// A failure leaves the run status as it is, at initialising.
int IPMIAdaptor::mInitDSPs() const {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE- Calling mavk_init");
    const std::string l_Command = m_InstallDir + mToolForm(INIT_FORMS);
    const int l_Status = RunTool(l_Command);
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "MAVK_INIT: %s", l_Command.c_str());
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE - done Calling mavk_init with rc1=%d", l_Status);
    if (l_Status == 0) return RESULT_OK;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to initialize DSP");
    return STARTUP_FAILED;
}

int IPMIAdaptor::mTeachDSPs(const DSP_TABLE& a_DSPs) {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE - Enter teaching block - Checking for product");
    bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "TRACE - Teaching the switch");
    const int l_Result = mTeachSwitch(a_DSPs.data(), static_cast<int>(a_DSPs.size()));
    if (l_Result != RESULT_OK)
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to teach switch ErrorID = %d",
               0); // always 0: what failed was logged
    return l_Result;
}

int IPMIAdaptor::mBootDSPs(const DSP_TABLE& a_DSPs) {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE calling mavk_boot");
    int l_Index = 0;
    for (const IPMI_DSP_Info_S& l_DSP : a_DSPs)
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE -  %d: %s", l_Index++, l_DSP.m_MAC.c_str());
    const std::string l_Command = m_InstallDir + "/bin/mavk_boot -v -p -f " + m_InstallDir + "/data/mavk.axf -i " +
                                  HOST_INTERFACE + DSPArguments(a_DSPs.data(), static_cast<int>(a_DSPs.size()));
    const int l_Status = RunTool(l_Command);
    bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "MAVK_BOOT: %s", l_Command.c_str());
    if (l_Status != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to download DSP ErrorID = %d", l_Status);
        return STARTUP_DSP_FAILED;
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Successful download DSPs");
    return RESULT_OK;
}

int IPMIAdaptor::mTestDSPs(const DSP_TABLE& a_DSPs) {
    const std::string l_Command =
        m_InstallDir + mToolForm(DIAG_FORMS) + DSPArguments(a_DSPs.data(), static_cast<int>(a_DSPs.size()));
    const int l_Status = RunTool(l_Command);
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "MAVK_DIAG: %s", l_Command.c_str());
    if (l_Status != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "DSPs Post Test Fail, ErrorID = %d", l_Status);
        return STARTUP_DSP_FAILED;
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "DSPs Post Test Pass");
    return RESULT_OK;
}

const char* IPMIAdaptor::mToolForm(const TOOL_FORMS& a_Forms) const {
    if (m_RTMPresent == 0) return a_Forms.m_NoRTM;
    return m_TrunkTotal == 0 ? a_Forms.m_NoTrunks : a_Forms.m_Trunks;
}

// Any value but 0 that system() gives is a failure here, not the exit status alone.
int IPMIAdaptor::mSetVXP(bool a_Start) const {
    const std::string l_Command = m_InstallDir + (a_Start ? "/bin/mediaStart" : "/bin/mediaStop");
    if (system(l_Command.c_str()) == 0) return RESULT_OK;
    if (a_Start) {
        bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "Fail to start MEDIA SERVER ");
        return STARTUP_MEDIA_START_FAILED;
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "Fail to stop MEDIA SERVER ");
    return STARTUP_MEDIA_STOP_FAILED;
}

} // namespace BM_ADAPTOR
