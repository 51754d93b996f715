// Bytes as people write them: pairs of hexadecimal digits separated by blanks ("2c 02 00 ff").
#include "sim/blade/HexText.h"

#include <charconv>
#include <sstream>

namespace bladesim {
namespace {

std::optional<uint8_t> HexByte(const std::string& word) {
    uint8_t byte = 0;
    const char* const end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, byte, 16);
    if (word.size() != 2 || result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return byte;
}

} // namespace

std::optional<std::vector<uint8_t>> HexBytes(const std::string& text) {
    std::vector<uint8_t> bytes;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const auto byte = HexByte(word);
        if (!byte) return std::nullopt;
        bytes.push_back(*byte);
    }
    return bytes;
}

std::optional<std::vector<std::optional<uint8_t>>> HexPattern(const std::string& text) {
    std::vector<std::optional<uint8_t>> pattern;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        pattern.push_back(HexByte(word));
        if (!pattern.back() && word != "??") return std::nullopt;
    }
    return pattern;
}

std::string HexText(std::span<const uint8_t> bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes) {
        if (!text.empty()) text += ' ';
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

} // namespace bladesim
