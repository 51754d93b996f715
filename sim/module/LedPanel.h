// The LEDs of one FRU as PICMG 3.0 has them: local control, override on top of it, a lamp test on top of both.
#pragma once

#include "sim/blade/Blade.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace BLADESIM {

/// The clock that lamp tests run out by; whoever asks brings the time along.
using LED_CLOCK = std::chrono::steady_clock;

/// LED functions of Set and Get FRU LED State. Between off and lamp test the byte is the off-duration of a blinking
/// LED.
constexpr uint8_t g_LedOff = 0x00;
constexpr uint8_t g_LedMaxBlink = 0xFA;
constexpr uint8_t g_LedLampTest = 0xFB;
constexpr uint8_t g_LedLocalControl = 0xFC;
constexpr uint8_t g_LedOn = 0xFF;
/// In Set FRU LED State the id of all LEDs of the FRU.
constexpr uint8_t g_AllLEDs = 0xFF;

/// What an LED does, as the bytes of the commands have it: durations in tens of milliseconds.
struct LED_ACTION {
    uint8_t m_Function = g_LedOff;
    uint8_t m_OnDuration = 0; ///< 0 unless it blinks
    LED_COLOR m_Color = LED_COLOR::BLUE;
};

/// One LED and all of its states; the one on top is what it shows.
struct LED_STATE {
    LED m_LED;
    LED_ACTION m_Local;
    std::optional<LED_ACTION> m_Override;
    LED_COLOR m_OverrideColor = LED_COLOR::BLUE; ///< the one that "do not change" stands for, kept without an override
    LED_COLOR m_LampTestColor = LED_COLOR::BLUE;
    LED_CLOCK::time_point m_LampTestEnd = LED_CLOCK::time_point::min(); ///< in the past: no lamp test

    bool IsLampTest(LED_CLOCK::time_point a_Now) const { return a_Now < m_LampTestEnd; }
    LED_ACTION Shown(LED_CLOCK::time_point a_Now) const;
};

class LED_PANEL {
public:
    /// All LEDs are off, in the local control of the FRU as far as they have one.
    explicit LED_PANEL(const std::vector<LED>& a_LEDs);

    /// Set FRU LED State, the bytes behind the FRU id. The completion code; nothing has changed unless it is 0.
    uint8_t Set(uint8_t a_Id, uint8_t a_Function, uint8_t a_OnDuration, uint8_t a_Color, LED_CLOCK::time_point a_Now);

    /// By id.
    const std::map<uint8_t, LED_STATE>& LEDs() const { return m_LEDs; }

private:
    uint8_t TestLamps(uint8_t a_Id, uint8_t a_Duration, uint8_t a_Color, LED_CLOCK::time_point a_Now);

    std::map<uint8_t, LED_STATE> m_LEDs;
};

} // namespace BLADESIM
