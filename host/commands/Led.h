// `bmhost led set`: one LED set, refused before it is sent when it makes no sense.
#pragma once

#include "host/orders/Order.h"
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
    bool m_firstAmc = false; ///< the first AMC's LED, whatever the bay
};

/// The words of `led set` as they are typed.
struct LedWords {
    std::string m_bay;
    std::string m_led;
    std::string m_action;
    std::optional<std::string> m_color;
    std::optional<int> m_onTime;
    std::optional<int> m_offTime;
    bool m_firstAmc = false;
};

/// Throws UsageError saying what was expected.
LedOrder LedOrderOf(const LedWords& words);

/// The same for the blade's host.
Order OrderOf(const LedOrder& order);

} // namespace bmhost
