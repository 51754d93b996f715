// A part of a form as it was before its client encoded it, while it comes.
#include "host/web/serve/PartDecoder.h"

#include <algorithm>
#include <cctype>

namespace bmhost {

namespace {

constexpr std::string_view Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned DigitsOfGroup = 4;
constexpr unsigned BytesOfGroup = 3;
constexpr unsigned BitsOfDigit = 6;
constexpr unsigned BitsOfByte = 8;

bool AreAlike(std::string_view one, std::string_view lower) {
    return std::equal(one.begin(), one.end(), lower.begin(), lower.end(),
                      [](unsigned char letter, char other) { return static_cast<char>(tolower(letter)) == other; });
}

} // namespace

std::optional<PartDecoder> PartDecoder::For(std::string_view encoding) {
    for (const std::string_view plain : {"", "7bit", "8bit", "binary"}) {
        if (AreAlike(encoding, plain)) return PartDecoder(false);
    }
    return AreAlike(encoding, "base64") ? std::optional(PartDecoder(true)) : std::nullopt;
}

std::optional<std::string> PartDecoder::Take(std::string_view bytes) {
    if (!m_base64) return std::string(bytes);
    std::string decoded;
    for (const char next : bytes) {
        if (next == '\r' || next == '\n' || next == ' ' || next == '\t') continue;
        if (!TakeDigit(next, decoded)) return std::nullopt;
    }
    return decoded;
}

// Padding ends the last group, of which two digits have come at least.
bool PartDecoder::TakeDigit(char digit, std::string& decoded) {
    const auto value = Digits.find(digit);
    const bool padding = digit == '=';
    if (padding ? m_digits < 2 : value == std::string_view::npos || m_padding > 0) return false;
    m_padding += padding ? 1 : 0;
    m_bits = m_bits << BitsOfDigit | (padding ? 0 : static_cast<uint32_t>(value));
    if (++m_digits < DigitsOfGroup) return true;
    for (unsigned i = 0; i < BytesOfGroup - m_padding; ++i)
        decoded += static_cast<char>(m_bits >> (BytesOfGroup - 1 - i) * BitsOfByte & 0xFF);
    m_bits = 0;
    m_digits = 0;
    return true;
}

} // namespace bmhost
