// The domain thread's life: set OpenIPMI up, open the domain, start the probe, release the adaptor, loop.
#include "ipmi/IPMI_Thread.h"

#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_Probe.h"
#include "ipmi/model/IPMI_Callback.h"

#include <OpenIPMI/ipmi_posix.h>
#include <OpenIPMI/ipmi_smi.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <thread>

namespace BM_ADAPTOR {

namespace {

constexpr int SYSTEM_INTERFACE = 0;
constexpr int WAKE_UP_SIGNAL = SIGUSR2;
constexpr auto PAUSE_AFTER_FAILED_OPERATION = std::chrono::milliseconds(100);

// What OpenIPMI is to do on its own. The inventory is the probe's; OpenIPMI reads neither SDRs nor FRUs nor the SEL,
// and leaves the IPMB alone.
constexpr struct {
    int m_Option;
    long m_Value;
} OPEN_OPTIONS[] = {
    {IPMI_OPEN_OPTION_ALL, 0},
    {IPMI_OPEN_OPTION_SDRS, 0},
    {IPMI_OPEN_OPTION_FRUS, 0},
    {IPMI_OPEN_OPTION_SEL, 0},
    {IPMI_OPEN_OPTION_IPMB_SCAN, 0},
    {IPMI_OPEN_OPTION_OEM_INIT, 1},
    {IPMI_OPEN_OPTION_SET_EVENT_RCVR, 1},
    {IPMI_OPEN_OPTION_SET_SEL_TIME, 0},
};

void __attribute__((format(printf, 2, 0)))
s_Log(os_handler_t*, const char* a_Format, enum ipmi_log_type_e a_Level, va_list a_Arguments) {
    posix_vlog(a_Format, a_Level, a_Arguments);
}

} // namespace

IPMITHREAD::IPMITHREAD(CBaseOsLog* a_Logger, OSAL::OSALMutex* a_StartupMutex)
    : m_pLogger(a_Logger),
      m_pStartupMutex(a_StartupMutex) {}

void IPMITHREAD::run() {
    g_Logger2 = m_pLogger;
    LogTrace(g_Logger2, "IPMI Thread running (threadid=%x)", ThreadId());
    if (!OpenDomain()) {
        FallBackToSimulation();
        return;
    }
    LogTrace(g_Logger2, "Looping");
    if (g_bAMCRTMOnlySimulation) {
        AddAMCEntity();
        AddRTMEntity();
    }
    Loop();
}

// False when OpenIPMI cannot be set up. A domain that cannot be opened ends the host process, on purpose.
bool IPMITHREAD::OpenDomain() {
    m_OsHandler = ipmi_posix_thread_setup_os_handler(WAKE_UP_SIGNAL);
    if (m_OsHandler == nullptr) {
        LogError(g_Logger2, "IPMI Posix setup failed");
        return false;
    }
    if (m_OsHandler->set_log_handler != nullptr) m_OsHandler->set_log_handler(m_OsHandler, s_Log);
    LogTrace(g_Logger2, "Initializing IPMI");
    // A failure shows in the next call, but for want of memory: OpenIPMI's allocator is not there then, and that call
    // would follow a null pointer.
    const bool l_bNoMemory = ipmi_init(m_OsHandler) == ENOMEM;

    LogTrace(g_Logger2, "Setting Up SMI Connection");
    ipmi_con_t* l_Connection = nullptr;
    if (l_bNoMemory || ipmi_smi_setup_con(SYSTEM_INTERFACE, m_OsHandler, nullptr, &l_Connection) != 0) {
        LogError(g_Logger2, "IPMI smi setup failed");
        return false;
    }

    LogTrace(g_Logger2, "Opening Domain");
    ipmi_open_option_t l_Options[std::size(OPEN_OPTIONS)] = {};
    for (std::size_t i = 0; i < std::size(OPEN_OPTIONS); ++i) {
        l_Options[i].option = OPEN_OPTIONS[i].m_Option;
        l_Options[i].ival = OPEN_OPTIONS[i].m_Value;
    }
    char l_NoName[] = "";
    if (ipmi_open_domain(l_NoName, &l_Connection, 1, s_DomainOpen, this, s_DomainFullyUp, this, l_Options,
                         std::size(l_Options), nullptr) != 0) {
        LogError(g_Logger2, "IPMI open_domain failed");
        exit(1);
    }
    return true;
}

void IPMITHREAD::Loop() {
    for (;;) {
        const int l_Error = m_OsHandler->perform_one_op(m_OsHandler, nullptr);
        if (l_Error != 0 && l_Error != EINTR) std::this_thread::sleep_for(PAUSE_AFTER_FAILED_OPERATION);
    }
}

void IPMITHREAD::FallBackToSimulation() {
    g_bCompleteIPMISimulation = true;
    BuildSimulatedData();
    DomainFullyUp(nullptr, this);
}

// Lets the adaptor go on. Its mutex may be gone after that: it is unlocked once, and forgotten before.
void IPMITHREAD::ReleaseStartup() {
    m_bDomainReady = 1;
    OSAL::OSALMutex* l_StartupMutex = m_pStartupMutex;
    m_pStartupMutex = nullptr;
    if (l_StartupMutex != nullptr) l_StartupMutex->Unlock();
}

void IPMITHREAD::s_DomainOpen(ipmi_domain_t* a_Domain, int a_Err, unsigned int a_ConnNum, unsigned int a_PortNum,
                              int a_StillConnected, void* a_UserData) {
    EnterCallback<IPMITHREAD>(a_UserData, "IPMITHREAD :: s_DomainOpen", [&](IPMITHREAD& a_Self) {
        a_Self.DomainOpen(a_Domain, a_Err, a_ConnNum, a_PortNum, a_StillConnected, a_UserData);
    });
}

// OpenIPMI calls this at every change of the connection. Until the model is ready each report starts a new probe,
// whether it reports an error or not, so that a connection that failed at first recovers.
void IPMITHREAD::DomainOpen(ipmi_domain_t* a_Domain, int, unsigned int, unsigned int, int, void*) {
    LogTrace(g_Logger2, "IPMITHREAD :: DomainOpen");
    if (m_bDomainReady == 0) {
        ENTITYCAPTURE* const l_Before = g_ENTITYCapture;
        if (l_Before != nullptr) l_Before->Supersede(); // not deleted: a late reply may still reach it
        auto* const l_Probe = new ENTITYCAPTURE(a_Domain, this, g_Logger2);
        g_ENTITYCapture = l_Probe;
        l_Probe->StartCapture();
    }
    if (m_bHandlersRegistered) return;
    m_bHandlersRegistered = true; // once, even when it fails: a second try would register twice
    int l_Result = ipmi_domain_add_entity_update_handler(a_Domain, s_EntityAdded, this);
    if (l_Result != 0) {
        printf("ipmi_domain_add_entity_update_handler return error: %d\n", l_Result);
        return;
    }
    l_Result = ipmi_domain_add_mc_updated_handler(a_Domain, s_MCAdded, this);
    if (l_Result != 0) printf("ipmi_domain_add_mc_updated_handler return error: %d\n", l_Result);
}

void IPMITHREAD::s_DomainFullyUp(ipmi_domain_t* a_Domain, void* a_UserData) {
    EnterCallback<IPMITHREAD>(a_UserData, "IPMITHREAD :: s_DomainFullyUp",
                              [&](IPMITHREAD& a_Self) { a_Self.DomainFullyUp(a_Domain, a_UserData); });
}

// The domain is null under the complete simulation and is not touched.
void IPMITHREAD::DomainFullyUp(ipmi_domain_t*, void*) {
    LogTrace(g_Logger2, "IPMITHREAD :: DomainFullyUp");
    puts("DTB DTB DTB -- Domain fully up");
    DumpModel();
    if (g_bCompleteIPMISimulation) ReleaseStartup();
}

void IPMITHREAD::EntityCaptured() {
    LogTrace(g_Logger2, "IPMITHREAD :: EntityCaptured - entity map size=%i", static_cast<int>(g_EntityMap.size()));
    TraceModel();
    ReleaseStartup();
}

} // namespace BM_ADAPTOR
