// The light path: a light read or set through its OpenIPMI control, with a latch to wait on.
#include "adaptor/IPMI_LEDs.h"

#include "common/veldo_common_trace.h"
#include "ipmi/model/IPMI_Callback.h"

#include <cassert>

namespace BM_ADAPTOR {

namespace {

constexpr int LIGHT = 0; // every control of this blade has one light

// What a write sets, in order. A setting that fails does not keep the next ones from being set.
constexpr struct {
    int (*m_Set)(ipmi_light_setting_t*, int, int);
    int32_t LED_STATE::*m_Field;
    const char* m_Failure;
} EXPORT_STEPS[] = {
    {ipmi_light_setting_set_local_control, &LED_STATE::m_LocalControl, "Failed setting light to local control"},
    {ipmi_light_setting_set_on_time, &LED_STATE::m_OnTime, "Failed ipmi_light_setting_set_on_time"},
    {ipmi_light_setting_set_off_time, &LED_STATE::m_OffTime, "Failed ipmi_light_setting_set_off_time"},
    {ipmi_light_setting_set_color, &LED_STATE::m_Color, "Failed sipmi_light_setting_set_color"},
};

// In the order of LED_STATE::m_ColorSupported.
constexpr struct {
    unsigned m_Color;
    const char* m_Name;
} SUPPORTED_COLORS[] = {
    {IPMI_CONTROL_COLOR_WHITE, "WHITE"}, {IPMI_CONTROL_COLOR_ORANGE, "ORANGE"}, {IPMI_CONTROL_COLOR_YELLOW, "AMBER"},
    {IPMI_CONTROL_COLOR_GREEN, "GREEN"}, {IPMI_CONTROL_COLOR_RED, "RED"},       {IPMI_CONTROL_COLOR_BLUE, "BLUE"},
};

} // namespace

OPENIPMI_LED_REQUEST::OPENIPMI_LED_REQUEST(IPMI_CONTROL* a_Control) : m_Control(a_Control) {}

void OPENIPMI_LED_REQUEST::Read() {
    LogTrace(g_Logger2, "OPENIPMI_LED_REQUEST::Read");
    Wait(READ);
    LogTrace(g_Logger2, "OPENIPMI_LED_REQUEST::Read - Done");
}

void OPENIPMI_LED_REQUEST::Write() {
    LogTrace(g_Logger2, "OPENIPMI_LED_REQUEST::Write");
    Wait(WRITE);
    LogTrace(g_Logger2, "OPENIPMI_LED_REQUEST::Write - Done");
}

// The first lock closes the latch. The second one waits until a completion handler unlocks it, on another thread or
// before the call returns. A control that no longer exists never completes.
void OPENIPMI_LED_REQUEST::Wait(MODE_e a_Mode) {
    assert(!InCallback()); // it would wait for itself
    m_Latch.Lock();
    m_Mode = a_Mode;
    const int l_Result = ipmi_control_pointer_cb(m_Control->m_ControlID, s_ID2Pointer_Handler, this);
    if (l_Result != 0) LogError(g_Logger2, "OPENIPMI_LED_REQUEST - no such control: rc=%i", l_Result);
    m_Latch.Lock();
    m_Latch.Unlock();
    m_Mode = IDLE;
}

void OPENIPMI_LED_REQUEST::s_ID2Pointer_Handler(ipmi_control_t* a_Control, void* a_UserData) {
    EnterCallback<OPENIPMI_LED_REQUEST>(a_UserData, "OPENIPMI_LED_REQUEST::s_ID2Pointer_Handler",
                                        [&](OPENIPMI_LED_REQUEST& a_Self) { a_Self.ID2Pointer_Handler(a_Control); });
}

void OPENIPMI_LED_REQUEST::ID2Pointer_Handler(ipmi_control_s* a_Control) {
    LogTrace(g_Logger2, "OPENIPMI_LED_REQUEST::ID2Pointer_Handler");
    if (m_Mode == READ) ReadLight(a_Control);
    if (m_Mode == WRITE) WriteLight(a_Control);
}

void OPENIPMI_LED_REQUEST::ReadLight(ipmi_control_s* a_Control) {
    for (std::size_t i = 0; i < m_State.m_ColorSupported.size(); ++i) {
        m_State.m_ColorSupported[i] =
            ipmi_control_light_is_color_supported(a_Control, SUPPORTED_COLORS[i].m_Color) != 0;
        LogTrace(g_Logger2, "OPENIPMI_LED_REQUEST::ID2Pointer_Handler - %s supported=%i", SUPPORTED_COLORS[i].m_Name,
                 m_State.m_ColorSupported[i] ? 1 : 0);
    }
    const int l_Result = ipmi_control_get_light(a_Control, s_GetLightComplete_Handler, this);
    if (l_Result != 0) LogError(g_Logger2, "Failed ipmi_control_get_light: rc=%i", l_Result);
}

// The settings are never freed: OpenIPMI uses them until completion, and the completion handler gets no pointer to
// them.
void OPENIPMI_LED_REQUEST::WriteLight(ipmi_control_s* a_Control) {
    ipmi_light_setting_t* l_Settings = ipmi_alloc_light_settings(1);
    for (const auto& l_Step : EXPORT_STEPS) {
        const bool l_Set = l_Settings != nullptr && l_Step.m_Set(l_Settings, LIGHT, m_State.*l_Step.m_Field) == 0;
        if (!l_Set) LogError(g_Logger2, "%s", l_Step.m_Failure);
    }
    if (l_Settings == nullptr || ipmi_control_set_light(a_Control, l_Settings, s_SetLightComplete_Handler, this) != 0) {
        LogError(g_Logger2, "Failed ipmi_control_set_light");
    }
}

void OPENIPMI_LED_REQUEST::s_GetLightComplete_Handler(ipmi_control_t*, int a_Err, ipmi_light_setting_t* a_Settings,
                                                      void* a_UserData) {
    EnterCallback<OPENIPMI_LED_REQUEST>(
        a_UserData, "OPENIPMI_LED_REQUEST::s_GetLightComplete_Handler",
        [&](OPENIPMI_LED_REQUEST& a_Self) { a_Self.GetLightComplete_Handler(a_Err, a_Settings); });
}

void OPENIPMI_LED_REQUEST::GetLightComplete_Handler(int a_Err, ipmi_light_setting_s* a_Settings) {
    LogTrace(g_Logger2, "OPENIPMI_LED_REQUEST::GetLightComplete_Handler");
    m_State.m_Valid = 0;
    if (a_Err == 0 && a_Settings != nullptr) m_State.ImportFromOPENIPMISettings(a_Settings);
    m_Latch.Unlock(); // last: the waiting thread may delete the request at once
}

void OPENIPMI_LED_REQUEST::s_SetLightComplete_Handler(ipmi_control_t*, int a_Err, void* a_UserData) {
    EnterCallback<OPENIPMI_LED_REQUEST>(a_UserData, "OPENIPMI_LED_REQUEST::s_SetLightComplete_Handler",
                                        [&](OPENIPMI_LED_REQUEST& a_Self) { a_Self.SetLightComplete_Handler(a_Err); });
}

void OPENIPMI_LED_REQUEST::SetLightComplete_Handler(int a_Err) {
    LogTrace(g_Logger2, "OPENIPMI_LED_REQUEST::SetLightComplete_Handler");
    if (a_Err == 0) {
        LogTrace(g_Logger2, "OPENIPMI_LED_REQUEST::SetLightComplete_Handler - NO ERROR");
    } else {
        LogError(g_Logger2, "OPENIPMI_LED_REQUEST::SetLightComplete_Handler - ERROR");
    }
    m_Latch.Unlock(); // last, as above
}

} // namespace BM_ADAPTOR
