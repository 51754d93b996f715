// Comparing secrets without telling by the time how much of them was right.
#pragma once

#include <cstddef>
#include <string_view>

namespace bmhost {

/// Their lengths are no secret.
inline bool SameSecret(std::string_view one, std::string_view other) {
    if (one.size() != other.size()) return false;
    unsigned char differs = 0;
    for (std::size_t i = 0; i < one.size(); ++i) {
        differs = static_cast<unsigned char>(differs | (one[i] ^ other[i]));
        // Otherwise a compiler may end the loop at the first difference.
        asm volatile("" : "+r"(differs));
    }
    return differs == 0;
}

} // namespace bmhost
