// Bytes as people write them: pairs of hexadecimal digits separated by blanks ("2c 02 00 ff").
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace bladesim {

/// nullopt when the text is anything else; an empty text means no bytes.
std::optional<std::vector<uint8_t>> HexBytes(const std::string& text);

/// The same, where "??" stands for any byte.
std::optional<std::vector<std::optional<uint8_t>>> HexPattern(const std::string& text);

/// The text of these bytes.
std::string HexText(std::span<const uint8_t> bytes);

} // namespace bladesim
