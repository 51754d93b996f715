// Set-up functions of the fake: library, connection, domain, and the domain's handlers.
#include "fake/openipmi/FakeOpenIPMI.h"

#include <OpenIPMI/ipmi_smi.h>

void FAKE_OPENIPMI::NoteCall(const char* a_Name) {
    const std::lock_guard l_Guard(m_Guard);
    m_Setup.m_Calls.emplace_back(a_Name);
}

int FAKE_OPENIPMI::OpenDomain(OPEN_DOMAIN_CALL a_Call) {
    NoteCall("ipmi_open_domain");
    const auto l_Changed = a_Call.m_ConnectionChanged;
    void* const l_UserData = a_Call.m_ConnectionChangedData;
    m_Setup.m_OpenCalls.push_back(std::move(a_Call));
    if (m_Setup.m_OpenResult != 0) return m_Setup.m_OpenResult;
    const int l_Error = m_Setup.m_ConnectionError;
    if (m_Setup.m_bReportsConnection) {
        Post([this, l_Changed, l_UserData, l_Error] { l_Changed(&m_Domain, l_Error, 0, 0, l_Error == 0, l_UserData); });
    }
    return 0;
}

int ipmi_init(os_handler_t* a_Handler) {
    Fake().NoteCall("ipmi_init");
    Fake().Setup().m_InitOsHandler = a_Handler;
    return Fake().Setup().m_InitResult;
}

int ipmi_smi_setup_con(int a_Interface, os_handler_t* a_Handlers, void* a_UserData, ipmi_con_t** a_Connection) {
    Fake().NoteCall("ipmi_smi_setup_con");
    auto& l_Setup = Fake().Setup();
    l_Setup.m_SmiInterface = a_Interface;
    l_Setup.m_SmiOsHandler = a_Handlers;
    l_Setup.m_SmiUserData = a_UserData;
    if (l_Setup.m_SmiResult == 0) *a_Connection = Fake().Connection();
    return l_Setup.m_SmiResult;
}

int ipmi_open_domain(const char* a_Name, ipmi_con_t* a_Connections[], unsigned int a_Count,
                     ipmi_domain_con_cb a_ConnectionChanged, void* a_ConnectionChangedData,
                     ipmi_domain_ptr_cb a_FullyUp, void* a_FullyUpData, ipmi_open_option_t* a_Options,
                     unsigned int a_OptionCount, ipmi_domain_id_t* a_NewDomain) {
    OPEN_DOMAIN_CALL l_Call;
    l_Call.m_Name = a_Name;
    l_Call.m_Connections.assign(a_Connections, a_Connections + a_Count);
    l_Call.m_ConnectionChanged = a_ConnectionChanged;
    l_Call.m_ConnectionChangedData = a_ConnectionChangedData;
    l_Call.m_FullyUp = a_FullyUp;
    l_Call.m_FullyUpData = a_FullyUpData;
    for (unsigned i = 0; i < a_OptionCount; ++i)
        l_Call.m_Options.emplace_back(a_Options[i].option, a_Options[i].ival);
    l_Call.m_bWantsDomainID = a_NewDomain != nullptr;
    return Fake().OpenDomain(std::move(l_Call));
}

int ipmi_domain_add_entity_update_handler(ipmi_domain_t* a_Domain, ipmi_domain_entity_cb a_Handler, void* a_UserData) {
    return a_Domain->m_EntityHandlers.Add(a_Handler, a_UserData);
}

int ipmi_domain_add_mc_updated_handler(ipmi_domain_t* a_Domain, ipmi_domain_mc_upd_cb a_Handler, void* a_UserData) {
    return a_Domain->m_MCHandlers.Add(a_Handler, a_UserData);
}
