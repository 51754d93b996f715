// The host's manager as tests play it.
#include "fake/FakeManager.h"

#include <array>
#include <cstdio>

using namespace BM_ADAPTOR;

std::vector<FAKE_MANAGER::EVENT> FAKE_MANAGER::Events() const {
    const std::lock_guard l_Guard(m_Guard);
    return m_Events;
}

void FAKE_MANAGER::Note(const char* a_Name) {
    m_Calls.emplace_back(a_Name);
}

void FAKE_MANAGER::Note(const char* a_Name, unsigned a_Number) {
    std::array<char, 64> l_Text{};
    snprintf(l_Text.data(), l_Text.size(), "%s 0x%x", a_Name, a_Number);
    m_Calls.emplace_back(l_Text.data());
}

int FAKE_MANAGER::RegisterGroup(unsigned a_Group, CBaseAdaptor* a_Adaptor) {
    const std::lock_guard l_Guard(m_Guard);
    Note("RegisterGroup", a_Group);
    m_Registered.push_back(a_Group);
    m_Adaptors.insert(a_Adaptor);
    return m_RefusedGroups.contains(a_Group) ? 0 : m_RegisterResult;
}

int FAKE_MANAGER::UnregisterGroup(unsigned a_Group) {
    const std::lock_guard l_Guard(m_Guard);
    Note("UnregisterGroup", a_Group);
    m_Unregistered.push_back(a_Group);
    return m_UnregisterResult;
}

int FAKE_MANAGER::RegisterEventClass(unsigned a_Class, CBaseAdaptor* a_Adaptor) {
    const std::lock_guard l_Guard(m_Guard);
    Note("RegisterEventClass", a_Class);
    m_RegisteredClasses.push_back(a_Class);
    m_Adaptors.insert(a_Adaptor);
    return m_RefusedClasses.contains(a_Class) ? 0 : m_RegisterResult;
}

int FAKE_MANAGER::UnregisterEventClass(unsigned a_Class) {
    const std::lock_guard l_Guard(m_Guard);
    Note("UnregisterEventClass", a_Class);
    m_UnregisteredClasses.push_back(a_Class);
    return m_UnregisterResult;
}

QUB_STORAGE::CDataStorage* FAKE_MANAGER::GetStorage() {
    const std::lock_guard l_Guard(m_Guard);
    Note("GetStorage");
    return m_Storage;
}

CBaseOsLog* FAKE_MANAGER::GetLogger() {
    const std::lock_guard l_Guard(m_Guard);
    Note("GetLogger");
    return m_Logger;
}

int FAKE_MANAGER::GetMode() {
    const std::lock_guard l_Guard(m_Guard);
    Note("GetMode");
    return m_Mode;
}

int FAKE_MANAGER::SendEvent(unsigned a_Event, unsigned a_Number, CBMIEvParams* a_Params) {
    const std::lock_guard l_Guard(m_Guard);
    Note("SendEvent", a_Event);
    m_Events.push_back({a_Event, a_Number, a_Params != nullptr ? *a_Params : CBMIEvParams()});
    return 1;
}
