// `bmhost led set`: one LED set, refused before it is sent when it makes no sense.
#pragma once

#include "host/views/Led.h"

#include <string>
#include <vector>

namespace bmhost {

enum class LedAction { On, Off, Blink, Local };

struct LedOrder {
    LedPlace m_place{};
    LedAction m_action = LedAction::On;
    int m_color = LedNoColor; ///< none: the adaptor chooses
    int m_onTime = 0;         ///< milliseconds, for blinking
    int m_offTime = 0;
};

/// From the words `led set BAY LED on|off|blink|local …`. Throws UsageError saying what was expected.
LedOrder ParseLedOrder(const std::vector<std::string>& words);

/// Between init and fin. Appends the LED as it is read afterwards to `text`, and to `remarks` one line each for
/// what will not be as it was asked for, and for a refusal. True when the LED was set.
bool SetLed(Session& session, const LedOrder& order, bool color, std::string& text, std::string& remarks);

} // namespace bmhost
