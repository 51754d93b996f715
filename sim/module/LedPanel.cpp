// The LEDs of one FRU as PICMG 3.0 has them: local control, override on top of it, a lamp test on top of both.
#include "sim/module/LedPanel.h"

#include <OpenIPMI/ipmi_err.h>

namespace BLADESIM {
namespace {

constexpr std::chrono::milliseconds g_LampTestUnit{100};
constexpr uint8_t g_MaxLampTest = 127;

// The byte "color when illuminated": its high half is reserved, and two values are no colours.
constexpr uint8_t g_ColorMask = 0x0F;
constexpr uint8_t g_SameColor = 0x0E;
constexpr uint8_t g_DefaultColor = 0x0F;

/// The colour that the byte asks for; nothing when this LED does not have it.
std::optional<LED_COLOR> WantedColor(const LED& a_LED, uint8_t a_Byte, LED_COLOR a_Present, LED_COLOR a_Default) {
    const uint8_t l_Color = a_Byte & g_ColorMask;
    if (l_Color == g_SameColor) return a_Present;
    if (l_Color == g_DefaultColor) return a_Default;
    if ((a_LED.m_Colors >> l_Color & 1) == 0) return std::nullopt;
    return static_cast<LED_COLOR>(l_Color);
}

bool IsBlinking(uint8_t a_Function) {
    return a_Function > g_LedOff && a_Function <= g_LedMaxBlink;
}

// The FRU shows what it wants to show: neither on-duration nor colour of the request is looked at.
uint8_t RestoreLocalControl(LED_STATE& a_State) {
    if (!a_State.m_LED.m_LocalControl) return IPMI_INVALID_DATA_FIELD_CC;
    a_State.m_Override.reset();
    return 0;
}

uint8_t Override(LED_STATE& a_State, LED_ACTION a_Action, uint8_t a_Color) {
    // What an LED that is off would look like is nobody's business: that byte is not even looked at.
    if (a_Action.m_Function != g_LedOff) {
        const auto l_Color =
            WantedColor(a_State.m_LED, a_Color, a_State.m_OverrideColor, a_State.m_LED.m_DefaultOverrideColor);
        if (!l_Color) return IPMI_INVALID_DATA_FIELD_CC;
        a_State.m_OverrideColor = *l_Color;
    }
    a_Action.m_Color = a_State.m_OverrideColor;
    a_State.m_Override = a_Action;
    return 0;
}

} // namespace

LED_ACTION LED_STATE::Shown(LED_CLOCK::time_point a_Now) const {
    if (IsLampTest(a_Now)) return {g_LedOn, 0, m_LampTestColor};
    return m_Override.value_or(m_Local);
}

LED_PANEL::LED_PANEL(const std::vector<LED>& a_LEDs) {
    for (const LED& l_LED : a_LEDs) {
        LED_STATE l_State;
        l_State.m_LED = l_LED;
        l_State.m_Local.m_Color = l_LED.m_DefaultLocalColor;
        l_State.m_OverrideColor = l_LED.m_DefaultOverrideColor;
        m_LEDs.emplace(l_LED.m_Id, l_State);
    }
}

uint8_t LED_PANEL::Set(uint8_t a_Id, uint8_t a_Function, uint8_t a_OnDuration, uint8_t a_Color,
                       LED_CLOCK::time_point a_Now) {
    if (a_Function == g_LedLampTest) return TestLamps(a_Id, a_OnDuration, a_Color, a_Now);
    if (a_Id == g_AllLEDs) return IPMI_INVALID_DATA_FIELD_CC; // for lamp tests only
    const auto l_Found = m_LEDs.find(a_Id);
    if (l_Found == m_LEDs.end()) return IPMI_PARAMETER_OUT_OF_RANGE_CC;
    LED_STATE& l_State = l_Found->second;
    if (a_Function == g_LedLocalControl) return RestoreLocalControl(l_State);
    if (a_Function == g_LedOn || a_Function == g_LedOff) return Override(l_State, {a_Function, 0, {}}, a_Color);
    if (!IsBlinking(a_Function)) return IPMI_INVALID_DATA_FIELD_CC;
    if (!IsBlinking(a_OnDuration)) return IPMI_PARAMETER_OUT_OF_RANGE_CC;
    return Override(l_State, {a_Function, a_OnDuration, {}}, a_Color);
}

uint8_t LED_PANEL::TestLamps(uint8_t a_Id, uint8_t a_Duration, uint8_t a_Color, LED_CLOCK::time_point a_Now) {
    if (a_Id == g_AllLEDs ? m_LEDs.empty() : m_LEDs.count(a_Id) == 0) return IPMI_PARAMETER_OUT_OF_RANGE_CC;
    if (a_Duration > g_MaxLampTest) return IPMI_PARAMETER_OUT_OF_RANGE_CC;
    for (auto& [l_Id, l_State] : m_LEDs) {
        if (a_Id != g_AllLEDs && a_Id != l_Id) continue;
        // A test of all LEDs names one colour for LEDs of many: a colour that this one does not have is no error here.
        const LED_COLOR l_Default = l_State.m_LED.m_DefaultOverrideColor;
        l_State.m_LampTestColor = WantedColor(l_State.m_LED, a_Color, l_Default, l_Default).value_or(l_Default);
        l_State.m_LampTestEnd = a_Now + a_Duration * g_LampTestUnit;
    }
    return 0;
}

} // namespace BLADESIM
