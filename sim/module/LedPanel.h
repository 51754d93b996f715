// The LEDs of one FRU as PICMG 3.0 has them: local control, override on top of it, a lamp test on top of both.
#pragma once

#include "sim/blade/Blade.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace bladesim {

/// The clock of lamp tests; callers pass the time in.
using LedClock = std::chrono::steady_clock;

/// LED functions of Set and Get FRU LED State. A byte between off and lamp test is the off-duration of a blinking LED.
constexpr uint8_t LedOff = 0x00;
constexpr uint8_t LedMaxBlink = 0xFA;
constexpr uint8_t LedLampTest = 0xFB;
constexpr uint8_t LedLocalControl = 0xFC;
constexpr uint8_t LedOn = 0xFF;
/// In Set FRU LED State the id of all LEDs of the FRU.
constexpr uint8_t AllLEDs = 0xFF;

/// One LED and all of its states; the one on top is what it shows.
struct LedState {
    Led m_led;
    LedAction m_local;
    std::optional<LedAction> m_override;
    LedColor m_overrideColor = LedColor::Blue; ///< what "do not change" means; kept without an override, too
    LedColor m_lampTestColor = LedColor::Blue;
    LedClock::time_point m_lampTestEnd = LedClock::time_point::min(); ///< in the past: no lamp test

    bool IsLampTest(LedClock::time_point now) const { return now < m_lampTestEnd; }
    LedAction Shown(LedClock::time_point now) const;
};

class LedPanel {
public:
    /// Unless the blade says otherwise all LEDs are off, under local control where they have it.
    explicit LedPanel(const std::vector<Led>& leds);

    /// Set FRU LED State: the bytes after the FRU id. Returns the completion code; unless it is 0, nothing has changed.
    uint8_t Set(uint8_t id, uint8_t function, uint8_t onDuration, uint8_t color, LedClock::time_point now);

    /// By id.
    const std::map<uint8_t, LedState>& LEDs() const { return m_leds; }

private:
    uint8_t TestLamps(uint8_t id, uint8_t duration, uint8_t color, LedClock::time_point now);

    std::map<uint8_t, LedState> m_leds;
};

} // namespace bladesim
