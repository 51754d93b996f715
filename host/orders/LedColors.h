// Which colours an LED can have.
#pragma once

#include "host/picture/Led.h"

#include <optional>
#include <vector>

namespace bmhost {

class Session;

/// The completion codes that the adaptor passes on: taken, and a field that cannot be, which is the colour where the
/// rest of the write is known to be good.
constexpr int ControllerSuccess = 0;
constexpr int ColorRefused = 0xCC;

/// The colours to try one after the other, without one that was asked for: those that the LED's row names, or all, the
/// usual one of this LED first.
std::vector<int> LedColorsToTry(int led, const std::optional<LedRow>& row);

struct FoundLedColors {
    std::vector<int> m_colors; ///< white, red, green, blue, amber, orange
    bool m_restored = true;    ///< the LED shows again what it showed before
};

/// The colours that the LED supports: as its row names them, or else found by switching the LED on in each of them
/// (a controller takes any colour for off), with its former state written back afterwards. Nothing during a lamp test,
/// which cannot be written back.
/// @param refused  a colour that it is known not to have
/// @param before  what it shows now
FoundLedColors FindLedColors(Session& session, LedPlace place, int refused, const LedRow& before);

} // namespace bmhost
