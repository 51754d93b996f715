// Lifecycle: Init with the start-up handshake, Fin, Start and Stop.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/IPMI_MonitorThread.h"
#include "adaptor/startup/IPMI_DomainStartup.h"
#include "adaptor/switch/IPMI_PCIHandle.h"
#include "adaptor/upgrade/IPMI_Upgrades.h"
#include "common/veldo_common_guard.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_trace.h"
#include "ipmi/model/IPMI_Model.h"

#include <cstdio>

namespace BM_ADAPTOR {

namespace {

// In the order of their registration. The DSP table's 0x1200 is served and not registered, two groups are registered
// and not served: hosts rely on both.
constexpr unsigned REGISTERED_GROUPS[] = {
    BMI_GROUP_HARDWARE_BOARD,         BMI_GROUP_BM_IPMI_BASEBOARD_LED,          BMI_GROUP_HARDWARE_AMC_TABLE,
    BMI_GROUP_HARDWARE_AMC_LED_TABLE, BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL, BMI_GROUP_HARDWARE_AMC_LED_INTERNAL,
    BMI_GROUP_HARDWARE_AMC_FRU_TABLE, BMI_GROUP_HARDWARE_RTM_FRU_TABLE,         BMI_GROUP_FIRMWARE_UPDATE,
    BMI_GROUP_UNSERVED_30D00,         BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE,  BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE,
    BMI_GROUP_UNSERVED_30E10,
};

// The lines that Init gives to the logger are written whatever the log level.
void LogAlways(CBaseOsLog* a_Logger, const char* a_Text) {
    LogLine(a_Logger, BM_LOG_DEBUG, a_Text);
}

// Whoever destroys the adaptor frees its memory and nothing else, so this one outlives it when it is still there: by
// name, leak checkers can tell it from a leak.
__attribute__((noinline)) IPMI_MonitorThread* NewMonitor(BOARD& a_Board) {
    return new IPMI_MonitorThread(a_Board);
}

bool TouchesBoard(IBMAdaptorMgr* a_Manager) {
    const int l_Mode = a_Manager != nullptr ? a_Manager->GetMode() : 0;
    return l_Mode == 1 || l_Mode == 3;
}

// The result of the last registration is Init's, unless the board is touched.
int Register(IBMAdaptorMgr* a_Manager, CBaseAdaptor* a_Adaptor) {
    if (a_Manager == nullptr) return RESULT_NOTHING_DONE;
    for (const unsigned l_Group : REGISTERED_GROUPS)
        a_Manager->RegisterGroup(l_Group, a_Adaptor);
    return a_Manager->RegisterEventClass(BMI_EVENT_CLASS, a_Adaptor);
}

// The one before is stopped and stays allocated on purpose: another host thread may be in a Start or Stop of it.
void ReplaceMonitor(std::atomic<IPMI_MonitorThread*>& a_Place, IPMI_MonitorThread* a_Monitor) {
    IPMI_MonitorThread* const l_Before = a_Place.exchange(a_Monitor);
    if (l_Before != nullptr) l_Before->RetireMonitor();
}

} // namespace

int IPMIAdaptor::Init(IBMAdaptorMgr* a_Manager) {
    return Guarded("Init", [&] {
        m_State = ADAPTOR_INITIALISING;
        g_bAMCRTMOnlySimulation = false;
        puts("Normal AMC/RTM Mode");
        m_Manager = a_Manager;
        m_Storage = a_Manager != nullptr ? a_Manager->GetStorage() : nullptr;
        UPGRADES(mFrame(), m_Manager, m_Mutex, m_Upgrades).SendEventTo(a_Manager);
        const bool l_bTouchesBoard = TouchesBoard(m_Manager);
        ReplaceMonitor(m_Monitor, nullptr); // this, DSPs, ports and handle are an earlier Init's
        m_DspMacMap.Clear();
        m_SwitchPortMap.Clear();
        PCI_HANDLE(m_PCIHandle).Close();
        if (l_bTouchesBoard) ReplaceMonitor(m_Monitor, NewMonitor(m_Board));
        const int l_Registered = Register(m_Manager, this);

        CBaseOsLog* const l_Logger = a_Manager != nullptr ? a_Manager->GetLogger() : nullptr;
        m_Logger = l_Logger;
        printf("Within Init = Logger=%p\n", static_cast<void*>(l_Logger));
        LogAlways(l_Logger, "WITHIN INIT-2");
        puts("Within Init = Now only doing logging ");
        LogAlways(l_Logger, "Hooking up OS Handler");
        if (DOMAIN_STARTUP(mFrame()).WaitForModel()) LogAlways(m_Logger, "Startup Mutex fired");

        if (!TouchesBoard(m_Manager)) {
            m_State = ADAPTOR_STARTED;
            if (TracesOn()) {
                bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor::Init(), set m_State=%d", m_State.load());
            }
            return l_Registered;
        }
        // The result is no longer the registration's. What the driver file, the RTM and the first opening give has
        // never been looked at.
        ReplaceMonitor(m_Monitor, NewMonitor(m_Board)); // in place of the one made before
        WriteProcFile();
        m_State = ADAPTOR_STARTED;
        int l_Result = mInitDSPInfo();
        if (l_Result == RESULT_OK) {
            mInitRTMInfo();
            if (TracesOn()) bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "Entering CSwitchIfPortMgr Init");
            PCI_HANDLE(m_PCIHandle).Open(); // mInitSwitchInfo opens another one, on purpose
            l_Result = mInitSwitchInfo();
        }
        return g_bCompleteIPMISimulation ? static_cast<int>(RESULT_NOTHING_DONE) : l_Result;
    });
}

// Manager, storage and logger stay: other host threads may be on their way to them. What the manager throws keeps none
// of the steps from being done.
int IPMIAdaptor::Fin() {
    UPGRADES(mFrame(), m_Manager, m_Mutex, m_Upgrades).SendEventTo(nullptr);
    if (IBMAdaptorMgr* const l_Manager = m_Manager; l_Manager != nullptr) {
        for (const unsigned l_Group : REGISTERED_GROUPS)
            Guarded("Fin", [&] { return l_Manager->UnregisterGroup(l_Group); });
        Guarded("Fin", [&] { return l_Manager->UnregisterEventClass(BMI_EVENT_CLASS); });
    }
    Guarded("Fin", [&] {
        m_SwitchPortMap.Clear();
        PCI_HANDLE(m_PCIHandle).Close();
        return static_cast<int>(RESULT_OK);
    });
    return RESULT_OK;
}

// The result is not the monitor's: its first check may fail, and GetLastErr tells.
int IPMIAdaptor::Start(structBmiDeviceInfoType*) {
    return Guarded("Start", [&] {
        DSP_TABLE l_DSPs;
        if (const int l_Result = mStartAMC(l_DSPs); l_Result != RESULT_OK) return l_Result;
        if (const int l_Result = mSetVXP(true); l_Result != RESULT_OK) return l_Result;
        if (IPMI_MonitorThread* const l_Monitor = m_Monitor; l_Monitor != nullptr) {
            l_Monitor->StartMonitor(m_RTM.m_Present != 0, m_RTM.m_NumFramers == 0, l_DSPs.data(),
                                    static_cast<int>(l_DSPs.size()));
        }
        return static_cast<int>(RESULT_OK);
    });
}

int IPMIAdaptor::Stop(structBmiDeviceInfoType*) {
    return Guarded("Stop", [&] {
        if (IPMI_MonitorThread* const l_Monitor = m_Monitor; l_Monitor != nullptr) l_Monitor->StopMonitor();
        return mSetVXP(false);
    });
}

} // namespace BM_ADAPTOR
