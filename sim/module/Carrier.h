// The controller of a carrier: what it answers to PICMG commands and to Get Device ID, and what it remembers of them.
#pragma once

#include "sim/blade/Blade.h"
#include "sim/module/LedPanel.h"
#include "sim/module/Message.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>

namespace BLADESIM {

/// A FRU Control that was accepted, or several of the same kind one after the other.
struct FRU_CONTROL {
    uint8_t m_FRU = 0;
    uint8_t m_Option = 0;
    unsigned m_Count = 1;
};

constexpr size_t g_MaxControls = 1000;

class CARRIER {
public:
    explicit CARRIER(BLADE a_Blade);

    /// A request of the network function of group extensions; its first data byte says which.
    REPLY Answer(uint8_t a_Command, REQUEST a_Request, LED_CLOCK::time_point a_Now);

    REPLY DeviceId() const;

    const BLADE& Blade() const { return m_Blade; }
    const LED_PANEL& LEDs(uint8_t a_FRU) const { return m_Panels.at(a_FRU); }

    /// The last ones, in the order of arrival.
    const std::deque<FRU_CONTROL>& Controls() const { return m_Controls; }

private:
    struct COMMAND;
    static const COMMAND g_Commands[];

    /// Null when there is no such FRU.
    const FRU* FindFRU(uint8_t a_Id) const;

    REPLY Properties(REQUEST a_Request, LED_CLOCK::time_point a_Now);
    REPLY AddressInfo(REQUEST a_Request, LED_CLOCK::time_point a_Now);
    REPLY FRUControl(REQUEST a_Request, LED_CLOCK::time_point a_Now);
    REPLY LEDProperties(REQUEST a_Request, LED_CLOCK::time_point a_Now);
    REPLY LEDColors(REQUEST a_Request, LED_CLOCK::time_point a_Now);
    REPLY SetLEDState(REQUEST a_Request, LED_CLOCK::time_point a_Now);
    REPLY GetLEDState(REQUEST a_Request, LED_CLOCK::time_point a_Now);

    BLADE m_Blade;
    std::map<uint8_t, LED_PANEL> m_Panels; ///< by FRU id
    std::deque<FRU_CONTROL> m_Controls;
};

} // namespace BLADESIM
