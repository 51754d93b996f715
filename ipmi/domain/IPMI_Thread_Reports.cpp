// OpenIPMI's reports of entities, controllers, controls and FRUs, and what the model takes from them.
#include "ipmi/IPMI_Thread.h"

#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"
#include "ipmi/model/IPMI_Callback.h"

#include <OpenIPMI/ipmi_fru.h>
#include <OpenIPMI/ipmi_mc.h>
#include <OpenIPMI/ipmiif.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

namespace BM_ADAPTOR {

namespace {

constexpr int SYSTEM_INTERFACE_CHANNEL = 15;

IPMI_ENTITY_ADDRESS AddressOf(ipmi_entity_t* a_Entity) {
    return {ipmi_entity_get_device_channel(a_Entity), ipmi_entity_get_device_address(a_Entity),
            ipmi_entity_get_entity_id(a_Entity), ipmi_entity_get_entity_instance(a_Entity)};
}

// A text of fixed size, so that a trace that is off allocates nothing.
using ENTITY_NAME = std::array<char, 80>;

ENTITY_NAME NameOf(ipmi_entity_t* a_Entity) {
    ENTITY_NAME l_Name{};
    if (ipmi_entity_get_id(a_Entity, l_Name.data(), static_cast<int>(l_Name.size())) < 0) return {};
    l_Name.back() = '\0';
    return l_Name;
}

const char* IdStringOf(ipmi_entity_t* a_Entity) {
    const char* l_Text = ipmi_entity_get_entity_id_string(a_Entity);
    return l_Text != nullptr ? l_Text : "";
}

// Where the model keeps the controller: on this blade everything is channel 0, OpenIPMI's system interface.
IPMI_ENTITY_ADDRESS ModelAddress(int a_Channel, int a_Address) {
    return {a_Channel == SYSTEM_INTERFACE_CHANNEL ? 0 : a_Channel, a_Address, ENTITY_ID_BASEBOARD,
            ENTITY_INSTANCE_FIRST};
}

std::unique_ptr<IPMI_MC> DescribeMC(ipmi_mc_t* a_MC) {
    auto l_MC = std::make_unique<IPMI_MC>();
    std::array<char, 64> l_Name{};
    ipmi_mc_get_name(a_MC, l_Name.data(), static_cast<int>(l_Name.size()));
    l_Name.back() = '\0';
    l_MC->m_Name = l_Name.data();
    l_MC->m_MajorFWRevision = ipmi_mc_major_fw_revision(a_MC);
    l_MC->m_MinorFWRevision = ipmi_mc_minor_fw_revision(a_MC);
    std::array<unsigned char, 4> l_Aux{};
    ipmi_mc_aux_fw_revision(a_MC, l_Aux.data());
    l_MC->m_AuxFWRevision = FormatText("%u %u %u %u", l_Aux[0], l_Aux[1], l_Aux[2], l_Aux[3]);
    return l_MC;
}

enum MC_ADDITION { ADDED, NO_ENTITY, KNOWN };

// Logs nothing while the model is locked: the host's logger may take long.
MC_ADDITION AddController(const IPMI_ENTITY_ADDRESS& a_Address, std::unique_ptr<IPMI_MC> a_MC) {
    const MODEL_WRITER l_Model(g_EntityMapLock);
    IPMI_ENTITY* l_Entity = g_EntityMap[a_Address];
    if (l_Entity == nullptr) return NO_ENTITY;
    IPMI_MC*& l_Kept = l_Entity->m_MCMap[a_MC->m_Name];
    if (l_Kept != nullptr) return KNOWN;
    l_Kept = a_MC.release();
    return ADDED;
}

void CopyMultiRecords(ipmi_fru_t* a_Source, IPMI_FRU& a_FRU) {
    if (a_Source == nullptr) return;
    const unsigned l_Count = ipmi_fru_get_num_multi_records(a_Source);
    for (unsigned i = 0; i < l_Count; ++i) {
        LogTrace(g_Logger2, "IPMITHREAD :: FruAdded - checking MR=%i", static_cast<int>(i));
        unsigned char l_Type = 0;
        unsigned l_Length = 0;
        if (ipmi_fru_get_multi_record_type(a_Source, i, &l_Type) != 0) continue;
        if (ipmi_fru_get_multi_record_data_len(a_Source, i, &l_Length) != 0) continue;
        std::vector<unsigned char> l_Data(std::max(l_Length, 1U)); // so that an empty record has an address too
        if (ipmi_fru_get_multi_record_data(a_Source, i, l_Data.data(), &l_Length) != 0) continue;
        const auto l_Copied = std::min<std::size_t>(l_Length, l_Data.size());
        a_FRU.AddMultiRecord(l_Data.data(), static_cast<int>(l_Copied), l_Type);
    }
}

// The FRU's texts and the accessors they come from.
void CopyTexts(ipmi_entity_t* a_Entity, IPMI_FRU& a_FRU) {
#define FRU_TEXT(field, accessor)                                                                                      \
    a_FRU.field = GetFRUString(a_Entity, ipmi_entity_get_##accessor##_len, ipmi_entity_get_##accessor##_type,          \
                               ipmi_entity_get_##accessor)
    FRU_TEXT(m_BoardManufacturer, board_info_board_manufacturer);
    FRU_TEXT(m_BoardProductName, board_info_board_product_name);
    FRU_TEXT(m_BoardSerialNumber, board_info_board_serial_number);
    FRU_TEXT(m_BoardPartNumber, board_info_board_part_number);
    FRU_TEXT(m_ProductManufacturer, product_info_manufacturer_name);
    FRU_TEXT(m_ProductName, product_info_product_name);
    FRU_TEXT(m_ProductSerialNumber, product_info_product_serial_number);
    FRU_TEXT(m_ProductPartModelNumber, product_info_product_part_model_number);
    FRU_TEXT(m_ProductVersion, product_info_product_version);
#undef FRU_TEXT
}

} // namespace

void IPMITHREAD::s_EntityAdded(enum ipmi_update_e a_Operation, ipmi_domain_t* a_Domain, ipmi_entity_t* a_Entity,
                               void* a_UserData) {
    EnterCallback<IPMITHREAD>(a_UserData, "IPMITHREAD :: s_EntityAdded", [&](IPMITHREAD& a_Self) {
        a_Self.EntityAdded(a_Operation, a_Domain, a_Entity, a_UserData);
    });
}

// Registers for the entity's own reports. The entity does not enter the model: only the probe and the simulation do
// that.
void IPMITHREAD::EntityAdded(enum ipmi_update_e a_Operation, ipmi_domain_t*, ipmi_entity_t* a_Entity, void*) {
    LogTrace(g_Logger2, "IPMITHREAD :: EntityAdded");
    const IPMI_ENTITY_ADDRESS l_Address = AddressOf(a_Entity);
    LogTrace(g_Logger2, "IPMITHREAD :: EntityAdded - ENTITY ADDED %d.%d.%d.%d.%s >%s< - Present %s\n",
             l_Address.m_Channel, l_Address.m_Address, l_Address.m_EntityID, l_Address.m_EntityInstance,
             NameOf(a_Entity).data(), IdStringOf(a_Entity), ipmi_entity_is_present(a_Entity) != 0 ? "YES" : "NO");
    LogTrace(g_Logger2, "IPMITHREAD :: EntityAdded - operation=%i", static_cast<int>(a_Operation));
    if (a_Operation != IPMI_ADDED && a_Operation != IPMI_CHANGED) {
        LogTrace(g_Logger2, "IPMITHREAD :: EntityAdded - op!=added %i", static_cast<int>(a_Operation));
        m_RegisteredEntities.erase(l_Address); // if it comes back, its handlers are registered again
        return;
    }
    const auto l_Known = g_EntityMap.find(l_Address);
    const bool l_InModel = l_Known != g_EntityMap.end() && l_Known->second != nullptr;
    if (l_InModel || m_RegisteredEntities.count(l_Address) != 0) {
        LogTrace(g_Logger2, "IPMITHREAD :: EntityAdded - entity found already - ignoring");
        return;
    }
    m_RegisteredEntities.insert(l_Address);
    int l_Result = ipmi_entity_add_control_update_handler(a_Entity, s_ControlAdded, this);
    if (l_Result != 0) {
        printf("ipmi_entity_set_control_update_handler: 0x%x", static_cast<unsigned>(l_Result));
        exit(1);
    }
    l_Result = ipmi_entity_add_fru_update_handler(a_Entity, s_FruAdded, this);
    if (l_Result != 0) {
        printf("ipmi_entity_set_fru_update_handler: 0x%x", static_cast<unsigned>(l_Result));
        exit(1);
    }
    l_Result = ipmi_entity_add_hot_swap_handler(a_Entity, s_IPMIEntityHotSwapHandler, this);
    if (l_Result != 0) {
        printf("ipmi_entity_add_hot_swap_handler: 0x%x", static_cast<unsigned>(l_Result));
        exit(1);
    }
}

void IPMITHREAD::s_MCAdded(enum ipmi_update_e a_Operation, ipmi_domain_t* a_Domain, ipmi_mc_t* a_MC, void* a_UserData) {
    EnterCallback<IPMITHREAD>(a_UserData, "IPMITHREAD :: s_MCAdded",
                              [&](IPMITHREAD& a_Self) { a_Self.MCAdded(a_Operation, a_Domain, a_MC, a_UserData); });
}

// Takes every operation for an addition. A controller without an entity leaves a null entity in the model: the probe
// fills it later, and every walk skips it.
void IPMITHREAD::MCAdded(enum ipmi_update_e, ipmi_domain_t*, ipmi_mc_t* a_MC, void*) {
    LogTrace(g_Logger2, "IPMITHREAD :: MCAdded");
    LogTrace(g_Logger2, "IPMITHREAD :: MCAdded - getting address / channel");
    const int l_Channel = static_cast<int>(ipmi_mc_get_channel(a_MC));
    const int l_Address = static_cast<int>(ipmi_mc_get_address(a_MC));
    LogTrace(g_Logger2, "IPMITHREAD :: MCAdded - channel=%i address=%i", l_Channel, l_Address);
    switch (AddController(ModelAddress(l_Channel, l_Address), DescribeMC(a_MC))) {
    case ADDED:
        break;
    case NO_ENTITY:
        LogTrace(g_Logger2, "IPMITHREAD :: MCAdded - No Entity for this MC yet ignoring");
        break;
    case KNOWN:
        LogTrace(g_Logger2, "IPMITHREAD :: MCAdded - Already have a MC ignoring");
        break;
    }
}

void IPMITHREAD::s_ControlAdded(enum ipmi_update_e a_Operation, ipmi_entity_t* a_Entity, ipmi_control_t* a_Control,
                                void* a_UserData) {
    EnterCallback<IPMITHREAD>(a_UserData, "IPMITHREAD :: s_ControlAdded", [&](IPMITHREAD& a_Self) {
        a_Self.ControlAdded(a_Operation, a_Entity, a_Control, a_UserData);
    });
}

// The control is not kept: a real LED is reached by its PICMG commands, and only simulated entities have controls.
void IPMITHREAD::ControlAdded(enum ipmi_update_e a_Operation, ipmi_entity_t* a_Entity, ipmi_control_t* a_Control,
                              void*) {
    LogTrace(g_Logger2, "IPMITHREAD :: ControlAdded");
    if (a_Operation != IPMI_ADDED) {
        LogTrace(g_Logger2, "IPMITHREAD :: ControlAdded - op!=added %i", static_cast<int>(a_Operation));
        return;
    }
    std::array<char, 64> l_Name{};
    ipmi_control_get_name(a_Control, l_Name.data(), static_cast<int>(l_Name.size()));
    l_Name.back() = '\0';
    const IPMI_ENTITY_ADDRESS l_Address = AddressOf(a_Entity);
    LogTrace(g_Logger2, "IPMITHREAD :: ControlAdded - %i.%i.%i.%i.%s type=%s\n", l_Address.m_Channel,
             l_Address.m_Address, l_Address.m_EntityID, l_Address.m_EntityInstance, l_Name.data(),
             TranslateControlType(ipmi_control_get_type(a_Control)));
    const auto l_Entity = g_EntityMap.find(l_Address);
    if (l_Entity == g_EntityMap.end() || l_Entity->second == nullptr) puts("        ENTITY NOT FOUND");
}

void IPMITHREAD::s_FruAdded(enum ipmi_update_e a_Operation, ipmi_entity_t* a_Entity, void* a_UserData) {
    EnterCallback<IPMITHREAD>(a_UserData, "IPMITHREAD :: s_FruAdded",
                              [&](IPMITHREAD& a_Self) { a_Self.FruAdded(a_Operation, a_Entity, a_UserData); });
}

void IPMITHREAD::FruAdded(enum ipmi_update_e a_Operation, ipmi_entity_t* a_Entity, void*) {
    LogTrace(g_Logger2, "IPMITHREAD :: FruAdded");
    const IPMI_ENTITY_ADDRESS l_Address = AddressOf(a_Entity);
    const ENTITY_NAME l_Name = NameOf(a_Entity);
    LogTrace(g_Logger2, "FRU ADDED    %d.%d.%d.%d.%s >%s<\n", l_Address.m_Channel, l_Address.m_Address,
             l_Address.m_EntityID, l_Address.m_EntityInstance, l_Name.data(), IdStringOf(a_Entity));
    if (a_Operation != IPMI_ADDED) {
        LogTrace(g_Logger2, "IPMITHREAD :: FruAdded - op!=added %i", static_cast<int>(a_Operation));
        return;
    }
    auto l_FRU = std::make_unique<IPMI_FRU>(l_Address, l_Name.data());
    CopyTexts(a_Entity, *l_FRU);
    CopyMultiRecords(ipmi_entity_get_fru(a_Entity), *l_FRU);

    const auto l_Entity = g_EntityMap.find(l_Address); // this thread is the only one that changes the map
    if (l_Entity == g_EntityMap.end() || l_Entity->second == nullptr) return;
    LogTrace(g_Logger2, "IPMITHREAD :: FruAdded - entity in list modifying name=>%s<", l_Name.data());
    LogTrace(g_Logger2, "IPMITHREAD :: FruAdded - Updating Entity FRUMap l_ent=0x%p",
             static_cast<void*>(l_Entity->second));
    const MODEL_WRITER l_Model(g_EntityMapLock);
    l_Entity->second->StoreFRU(std::move(l_FRU));
}

int IPMITHREAD::s_IPMIEntityHotSwapHandler(ipmi_entity_t* a_Entity, enum ipmi_hot_swap_states a_Last,
                                           enum ipmi_hot_swap_states a_Current, void* a_UserData,
                                           ipmi_event_t* a_Event) {
    int l_Result = IPMI_EVENT_NOT_HANDLED;
    EnterCallback<IPMITHREAD>(a_UserData, "IPMITHREAD :: s_IPMIEntityHotSwapHandler", [&](IPMITHREAD& a_Self) {
        l_Result = a_Self.IPMIEntityHotSwapHandler(a_Entity, a_Last, a_Current, a_UserData, a_Event);
    });
    return l_Result;
}

int IPMITHREAD::IPMIEntityHotSwapHandler(ipmi_entity_t*, enum ipmi_hot_swap_states, enum ipmi_hot_swap_states, void*,
                                         ipmi_event_t*) {
    LogTrace(g_Logger2, "IPMITHREAD :: IPMIEntityHotSwapHandler");
    return IPMI_EVENT_NOT_HANDLED;
}

std::string GetFRUString(ipmi_entity_t* a_Entity, int (*a_Length)(ipmi_entity_t*, unsigned int*),
                         int (*a_Type)(ipmi_entity_t*, enum ipmi_str_type_e*),
                         int (*a_Get)(ipmi_entity_t*, char*, unsigned int*)) {
    constexpr unsigned l_MaxLength = 4096; // no FRU field comes near it
    unsigned l_Length = 0;
    enum ipmi_str_type_e l_Type = IPMI_ASCII_STR; // binary and unicode fields come out as their raw bytes
    if (a_Length(a_Entity, &l_Length) != 0 || a_Type(a_Entity, &l_Type) != 0) return {};
    std::vector<char> l_Text(std::min(l_Length, l_MaxLength) + 1, '\0');
    auto l_Room = static_cast<unsigned>(l_Text.size());
    if (a_Get(a_Entity, l_Text.data(), &l_Room) != 0) return {};
    l_Text.back() = '\0';
    return l_Text.data();
}

} // namespace BM_ADAPTOR
