// The LEDs of one FRU as PICMG 3.0 has them: local control, override on top of it, a lamp test on top of both.
#include "sim/module/LedPanel.h"

#include <OpenIPMI/ipmi_err.h>

namespace bladesim {
namespace {

constexpr std::chrono::milliseconds LampTestUnit{100};
constexpr uint8_t MaxLampTest = 127;

// The byte "color when illuminated": its high half is reserved, and two values are no colours.
constexpr uint8_t ColorMask = 0x0F;
constexpr uint8_t SameColor = 0x0E;
constexpr uint8_t DefaultColor = 0x0F;

/// The colour that the byte asks for; nullopt when this LED does not have it.
std::optional<LedColor> WantedColor(const Led& led, uint8_t byte, LedColor present, LedColor fallback) {
    const uint8_t wanted = byte & ColorMask;
    if (wanted == SameColor) return present;
    if (wanted == DefaultColor) return fallback;
    if ((led.m_colors >> wanted & 1) == 0) return std::nullopt;
    return static_cast<LedColor>(wanted);
}

bool IsBlinking(uint8_t function) {
    return function > LedOff && function <= LedMaxBlink;
}

// The FRU decides what it shows: on-duration and colour of the request are ignored.
uint8_t RestoreLocalControl(LedState& state) {
    if (!state.m_led.m_localControl) return IPMI_INVALID_DATA_FIELD_CC;
    state.m_override.reset();
    return 0;
}

uint8_t Override(LedState& state, LedAction action, uint8_t color) {
    // The colour of an LED that is off does not matter: that byte is not even checked.
    if (action.m_function != LedOff) {
        const auto wanted = WantedColor(state.m_led, color, state.m_overrideColor, state.m_led.m_defaultOverrideColor);
        if (!wanted) return IPMI_INVALID_DATA_FIELD_CC;
        state.m_overrideColor = *wanted;
    }
    action.m_color = state.m_overrideColor;
    state.m_override = action;
    return 0;
}

} // namespace

LedAction LedState::Shown(LedClock::time_point now) const {
    if (IsLampTest(now)) return {LedOn, 0, m_lampTestColor};
    return m_override.value_or(m_local);
}

LedPanel::LedPanel(const std::vector<Led>& leds) {
    for (const Led& led : leds) {
        LedState state;
        state.m_led = led;
        state.m_local = led.m_local.value_or(LedAction{LedOff, 0, led.m_defaultLocalColor});
        state.m_override = led.m_override;
        state.m_overrideColor = led.m_override ? led.m_override->m_color : led.m_defaultOverrideColor;
        m_leds.emplace(led.m_id, state);
    }
}

uint8_t LedPanel::Set(uint8_t id, uint8_t function, uint8_t onDuration, uint8_t color, LedClock::time_point now) {
    if (function == LedLampTest) return TestLamps(id, onDuration, color, now);
    if (id == AllLEDs) return IPMI_INVALID_DATA_FIELD_CC; // for lamp tests only
    const auto found = m_leds.find(id);
    if (found == m_leds.end()) return IPMI_PARAMETER_OUT_OF_RANGE_CC;
    LedState& state = found->second;
    if (function == LedLocalControl) return RestoreLocalControl(state);
    if (function == LedOn || function == LedOff) return Override(state, {function, 0, {}}, color);
    if (!IsBlinking(function)) return IPMI_INVALID_DATA_FIELD_CC;
    if (!IsBlinking(onDuration)) return IPMI_PARAMETER_OUT_OF_RANGE_CC;
    return Override(state, {function, onDuration, {}}, color);
}

uint8_t LedPanel::TestLamps(uint8_t id, uint8_t duration, uint8_t color, LedClock::time_point now) {
    if (id == AllLEDs ? m_leds.empty() : m_leds.count(id) == 0) return IPMI_PARAMETER_OUT_OF_RANGE_CC;
    if (duration > MaxLampTest) return IPMI_PARAMETER_OUT_OF_RANGE_CC;
    for (auto& [ledId, state] : m_leds) {
        if (id != AllLEDs && id != ledId) continue;
        // A test of all LEDs names one colour for all; an LED that does not have it shows its default.
        const LedColor fallback = state.m_led.m_defaultOverrideColor;
        state.m_lampTestColor = WantedColor(state.m_led, color, fallback, fallback).value_or(fallback);
        state.m_lampTestEnd = now + duration * LampTestUnit;
    }
    return 0;
}

} // namespace bladesim
