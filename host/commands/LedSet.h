// `bmhost led set`: one LED set, refused before it is sent when it makes no sense.
#pragma once

#include "host/views/Led.h"

#include <string>
#include <vector>

namespace BMHOST {

enum class LED_ACTION { On, Off, Blink, Local };

struct LED_ORDER {
    LED_PLACE m_Place{};
    LED_ACTION m_Action = LED_ACTION::On;
    int m_Color = LED_NO_COLOR; ///< none: the adaptor chooses
    int m_OnTime = 0;           ///< milliseconds, for blinking
    int m_OffTime = 0;
};

/// From the words `led set BAY LED on|off|blink|local …`. Throws USAGE_ERROR saying what was expected.
LED_ORDER ParseLedOrder(const std::vector<std::string>& a_Words);

/// Between init and fin. Appends the LED as it is read afterwards to `a_Text`, and to `a_Remarks` one line each for
/// what will not be as it was asked for, and for a refusal. True when the LED was set.
bool SetLed(SESSION& a_Session, const LED_ORDER& a_Order, bool a_Color, std::string& a_Text, std::string& a_Remarks);

} // namespace BMHOST
