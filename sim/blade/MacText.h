// A MAC address as people write it: "02:4d:71:00:00:06".
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace BLADESIM {

using MAC_ADDRESS = std::array<uint8_t, 6>;

/// Nothing when the text is anything else.
std::optional<MAC_ADDRESS> MacBytes(std::string a_Text);

} // namespace BLADESIM
