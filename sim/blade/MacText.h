// A MAC address as people write it: "02:4d:71:00:00:06".
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace bladesim {

using MacAddress = std::array<uint8_t, 6>;

/// nullopt when the text is anything else.
std::optional<MacAddress> MacBytes(std::string text);

} // namespace bladesim
