// The controller of a carrier: what it answers to PICMG commands and to Get Device ID, and what it remembers of them.
#pragma once

#include "sim/blade/Blade.h"
#include "sim/module/LedPanel.h"
#include "sim/module/Message.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>

namespace bladesim {

/// An accepted FRU Control, or several of the same kind in a row.
struct FruControl {
    uint8_t m_fru = 0;
    uint8_t m_option = 0;
    unsigned m_count = 1;
};

constexpr size_t MaxControls = 1000;

class Carrier {
public:
    explicit Carrier(Blade blade);

    /// A request with the network function for group extensions; its first data byte names the group.
    Reply Answer(uint8_t command, Request request, LedClock::time_point now);

    Reply DeviceId() const;

    const Blade& Served() const { return m_blade; }
    const LedPanel& LEDs(uint8_t fru) const { return m_panels.at(fru); }

    /// The last ones, in the order of arrival.
    const std::deque<FruControl>& Controls() const { return m_controls; }

private:
    struct Command;
    static const Command Commands[];

    /// Null when there is no such FRU.
    const Fru* FindFRU(uint8_t id) const;

    Reply Properties(Request request, LedClock::time_point now);
    Reply AddressInfo(Request request, LedClock::time_point now);
    Reply FRUControl(Request request, LedClock::time_point now);
    Reply LEDProperties(Request request, LedClock::time_point now);
    Reply LEDColors(Request request, LedClock::time_point now);
    Reply SetLEDState(Request request, LedClock::time_point now);
    Reply GetLEDState(Request request, LedClock::time_point now);

    Blade m_blade;
    std::map<uint8_t, LedPanel> m_panels; ///< by FRU id
    std::deque<FruControl> m_controls;
};

} // namespace bladesim
