// Entities, controllers and controls of the fake: plain accessors of the records that a test filled.
#include "fake/openipmi/FakeOpenIPMI.h"

#include <algorithm>
#include <cstring>

namespace {

/// As OpenIPMI gives a name: cut to the buffer, always terminated; the length without the NUL.
int GiveName(const std::string& a_Name, char* a_Buffer, int a_Size) {
    if (a_Size <= 0) return 0;
    const auto l_Length = std::min(a_Name.size(), static_cast<std::size_t>(a_Size) - 1);
    std::memcpy(a_Buffer, a_Name.data(), l_Length);
    a_Buffer[l_Length] = '\0';
    return static_cast<int>(l_Length);
}

} // namespace

int ipmi_entity_get_device_channel(ipmi_entity_t* a_Entity) {
    return a_Entity->m_Channel;
}

int ipmi_entity_get_device_address(ipmi_entity_t* a_Entity) {
    return a_Entity->m_Address;
}

int ipmi_entity_get_entity_id(ipmi_entity_t* a_Entity) {
    return a_Entity->m_EntityID;
}

int ipmi_entity_get_entity_instance(ipmi_entity_t* a_Entity) {
    return a_Entity->m_Instance;
}

int ipmi_entity_get_id(ipmi_entity_t* a_Entity, char* a_Id, int a_Length) {
    if (a_Entity->m_bIdFails) return 0;
    if (a_Entity->m_IdType == IPMI_ASCII_STR) return GiveName(a_Entity->m_Id, a_Id, a_Length);
    const auto l_Length = std::min(a_Entity->m_Id.size(), static_cast<std::size_t>(a_Length));
    std::memcpy(a_Id, a_Entity->m_Id.data(), l_Length); // not terminated, as the library does it
    return static_cast<int>(l_Length);
}

const char* ipmi_entity_get_entity_id_string(ipmi_entity_t* a_Entity) {
    return a_Entity->m_EntityIdString.c_str();
}

int ipmi_entity_is_present(ipmi_entity_t* a_Entity) {
    return a_Entity->m_bPresent ? 1 : 0;
}

ipmi_fru_t* ipmi_entity_get_fru(ipmi_entity_t* a_Entity) {
    return a_Entity->m_FRU;
}

int ipmi_entity_add_control_update_handler(ipmi_entity_t* a_Entity, ipmi_entity_control_cb a_Handler,
                                           void* a_UserData) {
    Fake().NoteCall("ipmi_entity_add_control_update_handler");
    return a_Entity->m_ControlHandlers.Add(a_Handler, a_UserData);
}

int ipmi_entity_add_fru_update_handler(ipmi_entity_t* a_Entity, ipmi_entity_fru_cb a_Handler, void* a_UserData) {
    Fake().NoteCall("ipmi_entity_add_fru_update_handler");
    return a_Entity->m_FRUHandlers.Add(a_Handler, a_UserData);
}

int ipmi_entity_add_hot_swap_handler(ipmi_entity_t* a_Entity, ipmi_entity_hot_swap_cb a_Handler, void* a_UserData) {
    Fake().NoteCall("ipmi_entity_add_hot_swap_handler");
    return a_Entity->m_HotSwapHandlers.Add(a_Handler, a_UserData);
}

unsigned ipmi_mc_get_channel(ipmi_mc_t* a_MC) {
    return a_MC->m_Channel;
}

unsigned ipmi_mc_get_address(ipmi_mc_t* a_MC) {
    return a_MC->m_Address;
}

int ipmi_mc_get_name(ipmi_mc_t* a_MC, char* a_Name, int a_Length) {
    return GiveName(a_MC->m_Name, a_Name, a_Length);
}

int ipmi_mc_major_fw_revision(ipmi_mc_t* a_MC) {
    return a_MC->m_Major;
}

int ipmi_mc_minor_fw_revision(ipmi_mc_t* a_MC) {
    return a_MC->m_Minor;
}

void ipmi_mc_aux_fw_revision(ipmi_mc_t* a_MC, unsigned char a_Value[]) {
    std::ranges::copy(a_MC->m_Aux, a_Value);
}

int ipmi_control_get_name(ipmi_control_t* a_Control, char* a_Name, int a_Length) {
    return GiveName(a_Control->m_Name, a_Name, a_Length);
}

int ipmi_control_get_type(ipmi_control_t* a_Control) {
    return a_Control->m_Type;
}

ipmi_entity_t* ipmi_control_get_entity(ipmi_control_t* a_Control) {
    return a_Control->m_Entity;
}

ipmi_control_id_t ipmi_control_convert_to_id(ipmi_control_t* a_Control) {
    return a_Control->m_ControlID;
}
