// A MAC address as people write it: "02:4d:71:00:00:06".
#include "sim/blade/MacText.h"

#include "sim/blade/HexText.h"

#include <algorithm>

namespace bladesim {

std::optional<MacAddress> MacBytes(std::string text) {
    MacAddress mac{};
    if (text.size() != 3 * mac.size() - 1) return std::nullopt;
    for (size_t index = 2; index < text.size(); index += 3) {
        if (text[index] != ':') return std::nullopt;
        text[index] = ' ';
    }
    const auto bytes = HexBytes(text);
    if (!bytes || bytes->size() != mac.size()) return std::nullopt;
    std::copy(bytes->begin(), bytes->end(), mac.begin());
    return mac;
}

} // namespace bladesim
