// Controls and lights of the fake: looked up by their ids, set and read as scripted, completed from the event loop.
#include "fake/openipmi/FakeOpenIPMI.h"

#include <OpenIPMI/ipmi_err.h>

#include <algorithm>
#include <cerrno>

int FAKE_OPENIPMI::ControlCall(const char* a_Name) {
    const std::lock_guard l_Guard(m_Guard);
    m_ControlScript.m_Calls.emplace_back(a_Name);
    std::deque<int>& l_Results = m_ControlScript.m_Results[a_Name];
    if (l_Results.empty()) return 0;
    const int l_Result = l_Results.front();
    l_Results.pop_front();
    return l_Result;
}

void FAKE_OPENIPMI::CompleteControl(std::function<void()> a_Completion) {
    if (m_ControlScript.m_bCompletesAtOnce) {
        a_Completion();
    } else {
        Post(std::move(a_Completion));
    }
}

ipmi_control_t* FAKE_OPENIPMI::FindControl(const ipmi_control_id_t& a_Id) {
    const std::lock_guard l_Guard(m_Guard);
    const auto l_Found = std::ranges::find_if(m_Controls, [&](const ipmi_control_s& a_Control) {
        return a_Control.m_ControlID.control_num == a_Id.control_num;
    });
    return l_Found != m_Controls.end() ? &*l_Found : nullptr;
}

ipmi_light_setting_t* FAKE_OPENIPMI::AllocLightSettings() {
    const std::lock_guard l_Guard(m_Guard);
    return m_ControlScript.m_bAllocFails ? nullptr : &m_LightSettings.emplace_back();
}

namespace {

int GetField(const char* a_Name, ipmi_light_setting_t* a_Setting, int a_Light, int* a_Value,
             int ipmi_light_setting_s::*a_Field) {
    const int l_Result = Fake().ControlCall(a_Name);
    if (a_Light != 0) return EINVAL;
    if (l_Result == 0) *a_Value = a_Setting->*a_Field;
    return l_Result;
}

int SetField(const char* a_Name, ipmi_light_setting_t* a_Setting, int a_Light, int a_Value,
             int ipmi_light_setting_s::*a_Field) {
    const int l_Result = Fake().ControlCall(a_Name);
    if (a_Light != 0) return EINVAL;
    if (l_Result == 0) a_Setting->*a_Field = a_Value;
    return l_Result;
}

} // namespace

// As the library does it: the handler runs before the call returns, on the caller's thread.
int ipmi_control_pointer_cb(ipmi_control_id_t a_Id, ipmi_control_ptr_cb a_Handler, void* a_UserData) {
    const int l_Result = Fake().ControlCall(__func__);
    if (l_Result != 0) return l_Result;
    ipmi_control_t* const l_Control = Fake().FindControl(a_Id);
    if (l_Control == nullptr) return EINVAL;
    a_Handler(l_Control, a_UserData);
    return 0;
}

int ipmi_control_light_is_color_supported(ipmi_control_t* a_Control, unsigned int a_Color) {
    return a_Control->m_SupportedColors.contains(a_Color) ? 1 : 0;
}

int ipmi_control_get_light(ipmi_control_t* a_Control, ipmi_light_settings_cb a_Handler, void* a_UserData) {
    const int l_Result = Fake().ControlCall(__func__);
    if (l_Result != 0) return l_Result;
    const auto& l_Script = Fake().Controls();
    const int l_Error = l_Script.m_CompletionError;
    const bool l_Null = l_Script.m_bCompletesWithNull;
    Fake().CompleteControl([=, l_Settings = a_Control->m_Light]() mutable {
        a_Handler(a_Control, l_Error, l_Null ? nullptr : &l_Settings, a_UserData);
    });
    return 0;
}

int ipmi_control_set_light(ipmi_control_t* a_Control, ipmi_light_setting_t* a_Settings, ipmi_control_op_cb a_Handler,
                           void* a_UserData) {
    const int l_Result = Fake().ControlCall(__func__);
    if (l_Result != 0) return l_Result;
    a_Control->m_Light = *a_Settings;
    Fake().Controls().m_SetLights.push_back(*a_Settings);
    const int l_Error = Fake().Controls().m_CompletionError;
    Fake().CompleteControl([=] { a_Handler(a_Control, l_Error, a_UserData); });
    return 0;
}

int ipmi_control_get_num_vals(ipmi_control_t* a_Control) {
    return static_cast<int>(a_Control->m_Values.size());
}

int ipmi_control_set_val(ipmi_control_t* a_Control, int* a_Values, ipmi_control_op_cb a_Handler, void* a_UserData) {
    const int l_Result = Fake().ControlCall(__func__);
    if (l_Result != 0) return l_Result;
    std::copy_n(a_Values, a_Control->m_Values.size(), a_Control->m_Values.begin());
    const int l_Error = Fake().Controls().m_CompletionError;
    Fake().CompleteControl([=] { a_Handler(a_Control, l_Error, a_UserData); });
    return 0;
}

ipmi_light_setting_t* ipmi_alloc_light_settings(unsigned int a_Count) {
    Fake().ControlCall(__func__);
    return a_Count == 1 ? Fake().AllocLightSettings() : nullptr;
}

int ipmi_light_setting_in_local_control(ipmi_light_setting_t* a_Setting, int a_Light, int* a_Value) {
    return GetField(__func__, a_Setting, a_Light, a_Value, &ipmi_light_setting_s::m_LocalControl);
}

int ipmi_light_setting_get_color(ipmi_light_setting_t* a_Setting, int a_Light, int* a_Value) {
    return GetField(__func__, a_Setting, a_Light, a_Value, &ipmi_light_setting_s::m_Color);
}

int ipmi_light_setting_get_on_time(ipmi_light_setting_t* a_Setting, int a_Light, int* a_Value) {
    return GetField(__func__, a_Setting, a_Light, a_Value, &ipmi_light_setting_s::m_OnTime);
}

int ipmi_light_setting_get_off_time(ipmi_light_setting_t* a_Setting, int a_Light, int* a_Value) {
    return GetField(__func__, a_Setting, a_Light, a_Value, &ipmi_light_setting_s::m_OffTime);
}

int ipmi_light_setting_set_local_control(ipmi_light_setting_t* a_Setting, int a_Light, int a_Value) {
    return SetField(__func__, a_Setting, a_Light, a_Value, &ipmi_light_setting_s::m_LocalControl);
}

int ipmi_light_setting_set_color(ipmi_light_setting_t* a_Setting, int a_Light, int a_Value) {
    return SetField(__func__, a_Setting, a_Light, a_Value, &ipmi_light_setting_s::m_Color);
}

int ipmi_light_setting_set_on_time(ipmi_light_setting_t* a_Setting, int a_Light, int a_Value) {
    return SetField(__func__, a_Setting, a_Light, a_Value, &ipmi_light_setting_s::m_OnTime);
}

int ipmi_light_setting_set_off_time(ipmi_light_setting_t* a_Setting, int a_Light, int a_Value) {
    return SetField(__func__, a_Setting, a_Light, a_Value, &ipmi_light_setting_s::m_OffTime);
}
