// `bmhost led set`: one LED set, refused before it is sent when it makes no sense.
#pragma once

#include "host/picture/Led.h"

#include <optional>
#include <string>

namespace bmhost {

enum class LedAction { On, Off, Blink, Local };

struct LedOrder {
    LedPlace m_place{};
    LedAction m_action = LedAction::On;
    int m_color = LedNoColor; ///< none: the adaptor chooses
    int m_onTime = 0;         ///< milliseconds, for blinking
    int m_offTime = 0;
};

/// The words of `led set` as they are typed.
struct LedWords {
    std::string m_bay;
    std::string m_led;
    std::string m_action;
    std::optional<std::string> m_color;
    std::optional<int> m_onTime;
    std::optional<int> m_offTime;
};

/// Throws UsageError saying what was expected.
LedOrder LedOrderOf(const LedWords& words);

/// Between init and fin. Appends the LED as it is read afterwards to `text`, and to `remarks` one line each for
/// what will not be as it was asked for, and for a refusal. True when the LED was set.
bool SetLed(Session& session, const LedOrder& order, bool color, std::string& text, std::string& remarks);

} // namespace bmhost
