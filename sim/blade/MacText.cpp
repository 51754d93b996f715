// A MAC address as people write it: "02:4d:71:00:00:06".
#include "sim/blade/MacText.h"

#include "sim/blade/HexText.h"

#include <algorithm>

namespace BLADESIM {

std::optional<MAC_ADDRESS> MacBytes(std::string a_Text) {
    MAC_ADDRESS l_Mac{};
    if (a_Text.size() != 3 * l_Mac.size() - 1) return std::nullopt;
    for (size_t l_Index = 2; l_Index < a_Text.size(); l_Index += 3) {
        if (a_Text[l_Index] != ':') return std::nullopt;
        a_Text[l_Index] = ' ';
    }
    const auto l_Bytes = HexBytes(a_Text);
    if (!l_Bytes || l_Bytes->size() != l_Mac.size()) return std::nullopt;
    std::copy(l_Bytes->begin(), l_Bytes->end(), l_Mac.begin());
    return l_Mac;
}

} // namespace BLADESIM
