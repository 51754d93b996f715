// Lifecycle: Init with the start-up handshake, Fin, Start and Stop.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "adaptor/IPMI_Adaptor_Guard.h"
#include "adaptor/IPMI_MonitorThread.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_Thread.h"

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
    if (a_Logger != nullptr) a_Logger->Log(BM_LOG_DEBUG, g_ComponentName, a_Text);
}

// Whoever destroys the adaptor frees its memory and nothing else, so this one outlives it when it is still there: by
// name, leak checkers can tell it from a leak.
__attribute__((noinline)) IPMI_MonitorThread* NewMonitor() {
    return new IPMI_MonitorThread;
}

// One start-up at a time, and never destroyed: a host may leave while it waits.
std::mutex& StartupLock() {
    static std::mutex& l_Lock = *new std::mutex;
    return l_Lock;
}

// Start, Stop and Fin come one after the other, whichever threads call them: each waits for the tools of the one
// before. A host may call one of them out of an event that another one sends.
std::recursive_mutex& OperationLock() {
    static std::recursive_mutex& l_Lock = *new std::recursive_mutex;
    return l_Lock;
}

} // namespace

IPMITHREAD* IPMIAdaptor::s_DomainThread = nullptr;

int IPMIAdaptor::Init(IBMAdaptorMgr* a_Manager) {
    return Guarded("Init", [&] {
        m_State = ADAPTOR_INITIALISING;
        g_bAMCRTMOnlySimulation = false;
        puts("Normal AMC/RTM Mode");
        m_Manager = a_Manager;
        m_Storage = m_Manager != nullptr ? m_Manager->GetStorage() : nullptr;
        mForgetBoard(); // of an earlier Init
        if (mTouchesBoard()) m_Monitor = NewMonitor();
        const int l_Registered = mRegister();

        m_Logger = m_Manager != nullptr ? m_Manager->GetLogger() : nullptr;
        printf("Within Init = Logger=%p\n", static_cast<void*>(m_Logger));
        LogAlways(m_Logger, "WITHIN INIT-2");
        puts("Within Init = Now only doing logging ");
        LogAlways(m_Logger, "Hooking up OS Handler");
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
    const int l_Mode = m_Manager != nullptr ? m_Manager->GetMode() : 0;
    return l_Mode == 1 || l_Mode == 3;
}

// The result of the last registration is Init's, unless the board is touched.
int IPMIAdaptor::mRegister() {
    if (m_Manager == nullptr) return RESULT_NOTHING_DONE;
    for (const unsigned l_Group : REGISTERED_GROUPS)
        m_Manager->RegisterGroup(l_Group, this);
    return m_Manager->RegisterEventClass(BMI_EVENT_CLASS, this);
}

// Starts the domain thread and waits until it has the model ready; there is no time-out. Thread and model live as long
// as the process: a later Init finds them there.
void IPMIAdaptor::mWaitForModel() {
    const std::lock_guard l_OneAtATime(StartupLock());
    if (s_DomainThread == nullptr) {
        OSAL::OSALMutex l_StartupMutex;
        l_StartupMutex.Lock();
        auto l_Thread = std::make_unique<IPMITHREAD>(m_Logger, &l_StartupMutex);
        const int l_Error = l_Thread->Start();
        if (l_Error != 0) {
            LogError(m_Logger, "IPMIAdaptor::Init() - starting the IPMI domain thread failed, errno %d", l_Error);
            return;
        }
        s_DomainThread = l_Thread.release(); // never deleted
        l_StartupMutex.Lock();
        l_StartupMutex.Unlock();
    }
    LogAlways(m_Logger, "Startup Mutex fired");
}

// The steps that touch the board. What the driver file, the RTM and the first opening gave has never been looked at.
int IPMIAdaptor::mInitBoard() {
    m_Monitor = NewMonitor(); // in place of the one made before, which stays allocated on purpose
    WriteProcFile();
    m_State = ADAPTOR_STARTED;
    const int l_Result = mInitDSPInfo();
    if (l_Result != RESULT_OK) return l_Result;
    mInitRTMInfo();
    if (TracesOn()) bmiLog(BM_LOG_DEBUG, COMPONENT_IPMI_ADAPTOR, "Entering CSwitchIfPortMgr Init");
    mOpenPCIHandle();
    return mInitSwitchInfo();
}

void IPMIAdaptor::mForgetBoard() {
    mForgetDSPs();
    mDeleteSwitchPorts();
    mClosePCIHandle();
    if (m_Monitor != nullptr) m_Monitor->StopMonitor();
    delete m_Monitor;
    m_Monitor = nullptr;
}

int IPMIAdaptor::Fin() {
    return Guarded("Fin", [&] {
        mLeaveUpgrade(); // first: it waits for an event, out of which the host may call Stop
        const std::lock_guard l_OneAtATime(OperationLock());
        if (m_Manager != nullptr) {
            for (const unsigned l_Group : REGISTERED_GROUPS)
                m_Manager->UnregisterGroup(l_Group);
            m_Manager->UnregisterEventClass(BMI_EVENT_CLASS);
        }
        mDeleteSwitchPorts();
        mClosePCIHandle();
        m_DspInfo = {};
        m_Manager = nullptr; // the host may free it now
        m_Storage = nullptr;
        return static_cast<int>(RESULT_OK);
    });
}

// The result is not the monitor's: its first check may fail, and GetLastErr tells.
int IPMIAdaptor::Start(structBmiDeviceInfoType*) {
    return Guarded("Start", [&] {
        const std::lock_guard l_OneAtATime(OperationLock());
        if (const int l_Result = mStartAMC(); l_Result != RESULT_OK) return l_Result;
        if (const int l_Result = mSetVXP(true); l_Result != RESULT_OK) return l_Result;
        if (m_Monitor != nullptr) {
            m_Monitor->StartMonitor(m_RTMPresent != 0, m_NumFramers == 0, m_DspInfo.data(),
                                    static_cast<int>(m_DspInfo.size()));
        }
        return static_cast<int>(RESULT_OK);
    });
}

int IPMIAdaptor::Stop(structBmiDeviceInfoType*) {
    return Guarded("Stop", [&] {
        const std::lock_guard l_OneAtATime(OperationLock());
        if (m_Monitor != nullptr) m_Monitor->StopMonitor();
        return mSetVXP(false);
    });
}

} // namespace BM_ADAPTOR
