// The entry point: one fake for the process, its reset, and the objects that tests make.
#include "fake/openipmi/FakeOpenIPMI.h"

#include <link.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int RefuseOpenIPMI(struct dl_phdr_info* a_Library, size_t, void*) {
    if (std::strstr(a_Library->dlpi_name, "libOpenIPMI") == nullptr) return 0;
    fprintf(stderr, "%s is loaded beside the fake: an ipmi_* function in use is missing in tests/unit/fake\n",
            a_Library->dlpi_name);
    abort();
}

FAKE_OPENIPMI* MakeFake() {
    dl_iterate_phdr(RefuseOpenIPMI, nullptr);
    return new FAKE_OPENIPMI;
}

} // namespace

FAKE_OPENIPMI& Fake() {
    static auto* const s_Fake = MakeFake(); // never destroyed
    return *s_Fake;
}

void FAKE_OPENIPMI::Reset() {
    const std::lock_guard l_Guard(m_Guard);
    m_Rows.clear();
    m_Sent.clear();
    m_SentCount = 0;
    m_bRecordRequests = true;
    m_SendResult = 0;
    m_Replies.clear();
    m_Setup = {};
    m_Events.clear();
    m_bEndLoopWhenIdle = false;
    m_bIdle = false;
    ++m_Generation; // whoever waits with an older OS handler sleeps on
    m_Domain = {};
    m_Entities.clear();
    m_MCs.clear();
    m_Controls.clear();
    m_FRUs.clear();
    m_LightSettings.clear();
    m_ControlScript = {};
    m_Changed.notify_all();
}

ipmi_entity_t* FAKE_OPENIPMI::AddEntity(int a_Channel, int a_Address, int a_EntityID, int a_Instance,
                                        std::string a_Id) {
    const std::lock_guard l_Guard(m_Guard);
    auto& l_Entity = m_Entities.emplace_back();
    l_Entity.m_Channel = a_Channel;
    l_Entity.m_Address = a_Address;
    l_Entity.m_EntityID = a_EntityID;
    l_Entity.m_Instance = a_Instance;
    l_Entity.m_Id = std::move(a_Id);
    return &l_Entity;
}

ipmi_mc_t* FAKE_OPENIPMI::AddMC(unsigned a_Channel, unsigned a_Address, std::string a_Name) {
    const std::lock_guard l_Guard(m_Guard);
    auto& l_MC = m_MCs.emplace_back();
    l_MC.m_Channel = a_Channel;
    l_MC.m_Address = a_Address;
    l_MC.m_Name = std::move(a_Name);
    return &l_MC;
}

ipmi_control_t* FAKE_OPENIPMI::AddControl(ipmi_entity_t* a_Entity, std::string a_Name, int a_Type) {
    const std::lock_guard l_Guard(m_Guard);
    auto& l_Control = m_Controls.emplace_back();
    l_Control.m_Entity = a_Entity;
    l_Control.m_Name = std::move(a_Name);
    l_Control.m_Type = a_Type;
    l_Control.m_ControlID.control_num = static_cast<unsigned>(m_Controls.size()) & 0xFF;
    return &l_Control;
}

ipmi_fru_t* FAKE_OPENIPMI::AddFRU(ipmi_entity_t* a_Entity, std::vector<FAKE_MULTIRECORD> a_Records) {
    const std::lock_guard l_Guard(m_Guard);
    auto& l_FRU = m_FRUs.emplace_back();
    l_FRU.m_Records = std::move(a_Records);
    a_Entity->m_FRU = &l_FRU;
    return &l_FRU;
}
