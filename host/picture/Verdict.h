// What the picture says of the whole blade: each place with its run status and lights, and whether all is right.
#pragma once

#include "host/picture/Picture.h"

#include <optional>
#include <string>
#include <vector>

namespace bmhost {

/// The baseboard or a module.
struct PlaceStatus {
    int32_t m_bay = 0;
    std::string m_name;                 ///< the hardware's bytes
    std::optional<int32_t> m_runStatus; ///< the baseboard has none
    std::string m_outOfService;         ///< what the LED shows: "on red"; "-" when there is none, "not read"
    std::string m_health;               ///< likewise
    bool m_outOfServiceAtFault = false; ///< the LED is lit, or cannot be read
    bool m_healthAtFault = false;       ///< it is red, or cannot be read
    bool m_atFault = false;             ///< it has failed, or one of the two LEDs says so
};

/// The baseboard first, where it could be read, then the modules in the adaptor's order.
std::vector<PlaceStatus> PlacesOf(const Picture& picture);

/// Nothing is at fault: everything could be read, nothing has failed, no LED says otherwise, the controller answers,
/// the monitor has found nothing.
bool IsGood(const Picture& picture);

/// The LED's last reading; null when the blade has none such.
const LedReading* FindLed(const Picture& picture, int32_t bay, int32_t led);

} // namespace bmhost
