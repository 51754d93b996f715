// Lifecycle: Init with the start-up handshake, Fin, Start and Stop.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/IPMI_MonitorThread.h"
#include "adaptor/switch/IPMI_PCIHandle.h"
#include "adaptor/upgrade/IPMI_Upgrades.h"
#include "common/veldo_common_guard.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_Thread.h"

#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>

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

// The start-up of the domain thread. The lock is held for a look only: whoever starts the thread and waits for the
// model does so without it, and the others wait for him. Never destroyed: a host may leave while it waits.
struct DOMAIN_STARTUP {
    std::mutex m_Lock;
    std::condition_variable m_Over;
    bool m_bUnderWay = false;
};

DOMAIN_STARTUP& DomainStartup() {
    static DOMAIN_STARTUP& l_Startup = *new DOMAIN_STARTUP;
    return l_Startup;
}

// One turn at it: begins when nobody else has the turn.
class STARTUP_TURN {
public:
    STARTUP_TURN() {
        std::unique_lock l_Lock(DomainStartup().m_Lock);
        DomainStartup().m_Over.wait(l_Lock, [] { return !DomainStartup().m_bUnderWay; });
        DomainStartup().m_bUnderWay = true;
    }
    STARTUP_TURN(const STARTUP_TURN&) = delete;
    STARTUP_TURN& operator=(const STARTUP_TURN&) = delete;
    ~STARTUP_TURN() {
        const std::lock_guard l_Lock(DomainStartup().m_Lock);
        DomainStartup().m_bUnderWay = false;
        DomainStartup().m_Over.notify_one();
    }
};

} // namespace

IPMITHREAD* IPMIAdaptor::s_DomainThread = nullptr;

int IPMIAdaptor::Init(IBMAdaptorMgr* a_Manager) {
    return Guarded("Init", [&] {
        m_State = ADAPTOR_INITIALISING;
        g_bAMCRTMOnlySimulation = false;
        puts("Normal AMC/RTM Mode");
        m_Manager = a_Manager;
        m_Storage = a_Manager != nullptr ? a_Manager->GetStorage() : nullptr;
        UPGRADES(mFrame(), m_Manager, m_Mutex, m_Upgrades).SendEventTo(a_Manager);
        const bool l_bTouchesBoard = mTouchesBoard();
        mForgetBoard(); // of an earlier Init
        if (l_bTouchesBoard) mTakeMonitor(NewMonitor(m_Board));
        const int l_Registered = mRegister();

        CBaseOsLog* const l_Logger = a_Manager != nullptr ? a_Manager->GetLogger() : nullptr;
        m_Logger = l_Logger;
        printf("Within Init = Logger=%p\n", static_cast<void*>(l_Logger));
        LogAlways(l_Logger, "WITHIN INIT-2");
        puts("Within Init = Now only doing logging ");
        LogAlways(l_Logger, "Hooking up OS Handler");
        mWaitForModel();

        if (!mTouchesBoard()) {
            m_State = ADAPTOR_STARTED;
            if (TracesOn()) {
                bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "IPMIAdaptor::Init(), set m_State=%d", m_State.load());
            }
            return l_Registered;
        }
        const int l_Result = mInitBoard(); // in place of the registration's
        return g_bCompleteIPMISimulation ? static_cast<int>(RESULT_NOTHING_DONE) : l_Result;
    });
}

bool IPMIAdaptor::mTouchesBoard() const {
    IBMAdaptorMgr* const l_Manager = m_Manager;
    const int l_Mode = l_Manager != nullptr ? l_Manager->GetMode() : 0;
    return l_Mode == 1 || l_Mode == 3;
}

// The result of the last registration is Init's, unless the board is touched.
int IPMIAdaptor::mRegister() {
    IBMAdaptorMgr* const l_Manager = m_Manager;
    if (l_Manager == nullptr) return RESULT_NOTHING_DONE;
    for (const unsigned l_Group : REGISTERED_GROUPS)
        l_Manager->RegisterGroup(l_Group, this);
    return l_Manager->RegisterEventClass(BMI_EVENT_CLASS, this);
}

// Starts the domain thread and waits until it has the model ready; there is no time-out. Thread and model live as long
// as the process: a later Init finds them there, and they log where it logs.
void IPMIAdaptor::mWaitForModel() {
    if (mStartDomainThread()) LogAlways(m_Logger, "Startup Mutex fired");
}

bool IPMIAdaptor::mStartDomainThread() {
    int l_Error = 0;
    {
        const STARTUP_TURN l_Turn;
        if (s_DomainThread != nullptr) {
            g_Logger2 = m_Logger.load();
            return true;
        }
        OSAL::OSALMutex l_StartupMutex;
        l_StartupMutex.Lock();
        auto l_Thread = std::make_unique<IPMITHREAD>(m_Logger, &l_StartupMutex);
        l_Error = l_Thread->Start();
        if (l_Error == 0) {
            s_DomainThread = l_Thread.release(); // never deleted
            l_StartupMutex.Lock();
            l_StartupMutex.Unlock();
            return true;
        }
    }
    LogError(m_Logger, "IPMIAdaptor::Init() - starting the IPMI domain thread failed, errno %d", l_Error);
    return false;
}

// The steps that touch the board. What the driver file, the RTM and the first opening gave has never been looked at.
int IPMIAdaptor::mInitBoard() {
    mTakeMonitor(NewMonitor(m_Board)); // in place of the one made before
    WriteProcFile();
    m_State = ADAPTOR_STARTED;
    const int l_Result = mInitDSPInfo();
    if (l_Result != RESULT_OK) return l_Result;
    mInitRTMInfo();
    if (TracesOn()) bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "Entering CSwitchIfPortMgr Init");
    PCI_HANDLE(m_PCIHandle).Open(); // mInitSwitchInfo opens another one, on purpose
    return mInitSwitchInfo();
}

void IPMIAdaptor::mForgetBoard() {
    mTakeMonitor(nullptr);
    m_DspMacMap.Clear();
    m_SwitchPortMap.Clear();
    PCI_HANDLE(m_PCIHandle).Close();
}

// The one before is stopped and stays allocated on purpose: another host thread may be in a Start or Stop of it.
void IPMIAdaptor::mTakeMonitor(IPMI_MonitorThread* a_Monitor) {
    IPMI_MonitorThread* const l_Before = m_Monitor.exchange(a_Monitor);
    if (l_Before != nullptr) l_Before->RetireMonitor();
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
            l_Monitor->StartMonitor(m_RTMPresent != 0, m_NumFramers == 0, l_DSPs.data(),
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
