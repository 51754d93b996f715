// How a door tells the resident host for whom it asks.
#pragma once

#include <cstddef>
#include <string_view>

namespace bmhost {

/// Its value: "anna (192.0.2.7)".
constexpr const char* AccountHeader = "Bmhost-Account";
/// In bytes.
constexpr std::size_t LongestAccount = 200;

/// Whether it may stand in log and journal: printable ASCII, not too long.
inline bool IsAccountText(std::string_view text) {
    for (const char letter : text) {
        if (letter < ' ' || letter > '~') return false;
    }
    return text.size() <= LongestAccount;
}

} // namespace bmhost
