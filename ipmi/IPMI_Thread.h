// The thread that owns the OpenIPMI connection: opens the domain, starts the probe, takes OpenIPMI's reports.
#pragma once

#include "ipmi/model/IPMI_Model.h"
#include "ipmi/model/IPMI_Simulation.h"

#include "bm/OSAL.h"

#include <OpenIPMI/ipmiif.h>
#include <OpenIPMI/os_handler.h>

#include <atomic>
#include <cstdarg>
#include <set>
#include <string>

class CBaseOsLog;
struct IPMI_TEST_ACCESS;

namespace BM_ADAPTOR {

/// Runs for the rest of the process; the object is never deleted once started. Every operation but the constructor
/// runs on this thread, inside OpenIPMI's event loop.
class IPMITHREAD : public OSAL::OSALThread, public OSAL::OSALMonitor {
public:
    /// @param a_Logger        the host's logger, or null; not owned
    /// @param a_StartupMutex  locked by the caller, who waits on it; unlocked exactly once, when the model is usable,
    ///                        and not touched afterwards; not owned
    IPMITHREAD(CBaseOsLog* a_Logger, OSAL::OSALMutex* a_StartupMutex);

    /// Thread body. Returns only under the complete simulation; ends the process when the domain cannot be opened.
    void run() override;

    /// The probe has put what it found into the model.
    void EntityCaptured();

    // OpenIPMI's reports; the static ones end the process when their user datum is null.
    static void s_DomainOpen(ipmi_domain_t*, int, unsigned int, unsigned int, int, void*);
    void DomainOpen(ipmi_domain_t* a_Domain, int a_Err, unsigned int a_ConnNum, unsigned int a_PortNum,
                    int a_StillConnected, void* a_UserData);
    static void s_DomainFullyUp(ipmi_domain_t*, void*);
    void DomainFullyUp(ipmi_domain_t* a_Domain, void* a_UserData);
    static void s_EntityAdded(enum ipmi_update_e, ipmi_domain_t*, ipmi_entity_t*, void*);
    void EntityAdded(enum ipmi_update_e a_Operation, ipmi_domain_t* a_Domain, ipmi_entity_t* a_Entity,
                     void* a_UserData);
    static void s_MCAdded(enum ipmi_update_e, ipmi_domain_t*, ipmi_mc_t*, void*);
    void MCAdded(enum ipmi_update_e a_Operation, ipmi_domain_t* a_Domain, ipmi_mc_t* a_MC, void* a_UserData);
    static void s_ControlAdded(enum ipmi_update_e, ipmi_entity_t*, ipmi_control_t*, void*);
    void ControlAdded(enum ipmi_update_e a_Operation, ipmi_entity_t* a_Entity, ipmi_control_t* a_Control,
                      void* a_UserData);
    static void s_FruAdded(enum ipmi_update_e, ipmi_entity_t*, void*);
    void FruAdded(enum ipmi_update_e a_Operation, ipmi_entity_t* a_Entity, void* a_UserData);
    static int s_IPMIEntityHotSwapHandler(ipmi_entity_t*, enum ipmi_hot_swap_states, enum ipmi_hot_swap_states, void*,
                                          ipmi_event_t*);
    int IPMIEntityHotSwapHandler(ipmi_entity_t* a_Entity, enum ipmi_hot_swap_states a_Last,
                                 enum ipmi_hot_swap_states a_Current, void* a_UserData, ipmi_event_t* a_Event);

private:
    friend struct ::IPMI_TEST_ACCESS;

    bool OpenDomain();
    [[noreturn]] void Loop();
    void FallBackToSimulation();
    void ReleaseStartup();
    void DumpModel();
    void TraceModel();

    os_handler_t* m_OsHandler = nullptr;
    std::atomic<int> m_bDomainReady = 0; ///< 1 once the model is usable
    CBaseOsLog* m_pLogger;
    OSAL::OSALMutex* m_pStartupMutex; ///< forgotten once unlocked: it dies with its waiter
    OSAL::OSALMutex m_OwnMutex;       ///< part of the object's layout; nothing locks it
    bool m_bHandlersRegistered = false;
    std::set<IPMI_ENTITY_ADDRESS> m_RegisteredEntities; ///< entities that have our handlers already
};

/// Prints one line of OpenIPMI's log to standard output, begun by its level.
void posix_vlog(const char* a_Format, enum ipmi_log_type_e a_Level, va_list a_Arguments)
    __attribute__((format(printf, 1, 0)));

/// Reads one FRU text of an entity through OpenIPMI's three accessors of the field; empty when any of them fails.
std::string GetFRUString(ipmi_entity_t* a_Entity, int (*a_Length)(ipmi_entity_t*, unsigned int*),
                         int (*a_Type)(ipmi_entity_t*, enum ipmi_str_type_e*),
                         int (*a_Get)(ipmi_entity_t*, char*, unsigned int*));

} // namespace BM_ADAPTOR
