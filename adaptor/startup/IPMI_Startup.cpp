// Start-up of the DSPs, step by step: which tools run, what is logged, and what each failure gives.
#include "adaptor/startup/IPMI_Startup.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/dsp/IPMI_DSPs.h"
#include "adaptor/startup/IPMI_RunStatus.h"
#include "adaptor/switch/IPMI_SwitchTeaching.h"
#include "common/veldo_common_exit.h"
#include "common/veldo_common_guard.h"

namespace BM_ADAPTOR {

namespace {

constexpr const char* DSP_NETMASK = "255.255.255.0";

constexpr TOOL_FORMS INIT_FORMS = {"/bin/mavk_init -v -r", "/bin/mavk_init -v -i", "/bin/mavk_init -v"};
constexpr TOOL_FORMS DIAG_FORMS = {"/bin/mavk_diag -v -a 30 -p -b amc", "/bin/mavk_diag -v -a 30 -p -i",
                                   "/bin/mavk_diag -v -a 30 -p"};

} // namespace

// A start works on a table of its own. The published one is emptied at once and set when the table is made.
int STARTUP::Start(std::size_t a_Count, DSP_TABLE& a_Table) {
    m_Published.Clear();
    if (a_Count == 0) return RESULT_NOTHING_DONE;
    const int l_Made = mMakeDSPInfo(a_Count, a_Table);
    mPublishDSPInfo(a_Table);
    if (l_Made != RESULT_OK) return l_Made;
    m_Status.SetAll(RUN_STATUS_INITIALISING);
    if (const int l_Result = mInitDSPs(); l_Result != RESULT_OK) return l_Result;
    for (const auto l_Step : {&STARTUP::mTeachDSPs, &STARTUP::mBootDSPs, &STARTUP::mTestDSPs}) {
        if ((this->*l_Step)(a_Table) != RESULT_OK) {
            m_Status.SetAll(RUN_STATUS_FAILED);
            return STARTUP_DSP_FAILED;
        }
    }
    m_Status.SetAll(RUN_STATUS_RUNNING);
    return RESULT_OK;
}

// Outlives the adaptor that is destroyed without its destructor: by name, leak checkers can tell it from a leak.
__attribute__((noinline)) void STARTUP::mPublishDSPInfo(const DSP_TABLE& a_Table) {
    m_Published.Replace(a_Table);
}

// The table of the DSPs' addresses. A DSP without an address counts as off the subnet.
int STARTUP::mMakeDSPInfo(std::size_t a_Count, DSP_TABLE& a_Table) {
    std::string l_HostIP;
    if (m_DSPs.HostIP(HOST_INTERFACE, l_HostIP) != RESULT_OK) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to get IP Address of = %s", HOST_INTERFACE);
        return STARTUP_FAILED;
    }
    a_Table.resize(a_Count);
    int l_Result = RESULT_OK;
    int l_Index = 0;
    for (const IPMI_DSP_Info_S& l_DSP : a_Table) {
        l_Result = m_DSPs.Fill(l_Index, l_Index + 1, a_Table.data());
        if (!DSP_ADDRESSES::IsOnSameSubnet(l_DSP.m_IP, l_HostIP, DSP_NETMASK)) {
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
int STARTUP::mInitDSPs() const {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE- Calling mavk_init");
    const std::string l_Command = mCommand(INIT_FORMS);
    const int l_Status = mRunTool(l_Command);
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "MAVK_INIT: %s", l_Command.c_str());
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE - done Calling mavk_init with rc1=%d", l_Status);
    if (l_Status == 0) return RESULT_OK;
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to initialize DSP");
    return STARTUP_FAILED;
}

int STARTUP::mTeachDSPs(const DSP_TABLE& a_Table) {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE - Enter teaching block - Checking for product");
    bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "TRACE - Teaching the switch");
    const int l_Result = SWITCH_TEACHING(a_Table.data(), static_cast<int>(a_Table.size())).Teach();
    if (l_Result != RESULT_OK)
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to teach switch ErrorID = %d",
               0); // always 0: what failed was logged
    return l_Result;
}

int STARTUP::mBootDSPs(const DSP_TABLE& a_Table) {
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE calling mavk_boot");
    int l_Index = 0;
    for (const IPMI_DSP_Info_S& l_DSP : a_Table)
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "TRACE -  %d: %s", l_Index++, l_DSP.m_MAC.c_str());
    const std::string l_Command = m_InstallDir + "/bin/mavk_boot -v -p -f " + m_InstallDir + "/data/mavk.axf -i " +
                                  HOST_INTERFACE + DSPArguments(a_Table.data(), static_cast<int>(a_Table.size()));
    const int l_Status = mRunTool(l_Command);
    bmiLog(BM_LOG_ERROR, COMPONENT_MEDIA_ADAPTOR, "MAVK_BOOT: %s", l_Command.c_str());
    if (l_Status != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to download DSP ErrorID = %d", l_Status);
        return STARTUP_DSP_FAILED;
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Successful download DSPs");
    return RESULT_OK;
}

int STARTUP::mTestDSPs(const DSP_TABLE& a_Table) {
    const std::string l_Command = mCommand(DIAG_FORMS) + DSPArguments(a_Table.data(), static_cast<int>(a_Table.size()));
    const int l_Status = mRunTool(l_Command);
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "MAVK_DIAG: %s", l_Command.c_str());
    if (l_Status != 0) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "DSPs Post Test Fail, ErrorID = %d", l_Status);
        return STARTUP_DSP_FAILED;
    }
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "DSPs Post Test Pass");
    return RESULT_OK;
}

std::string STARTUP::mCommand(const TOOL_FORMS& a_Forms) const {
    return m_InstallDir + a_Forms.Choose(m_RTM.m_Present != 0, m_RTM.m_TrunkTotal != 0);
}

// The tool's exit status; 255 when it could not be run. A tool that a signal ended has 0, and passes.
int STARTUP::mRunTool(const std::string& a_Command) const {
    return ExitStatusOf(m_Board.RunTool(a_Command));
}

int STARTUP::SetDepop(BOARD& a_Board, int a_Count) {
    if (!a_Board.SetRemap(a_Count == 3 ? 1 : 0)) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Fail to set REMAP value with %d DSPs", a_Count);
    }
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
