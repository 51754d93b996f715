// Other serial numbers and MAC addresses in place of the real ones: the same one for the same one, and none twice.
#include "sim/capture/Substitutes.h"

#include <algorithm>

namespace bladesim {
namespace {

constexpr size_t SixBits = 6;
constexpr uint8_t SixBitBase = 0x20;
constexpr size_t MakerBytes = 3;
// A text of one digit has few substitutes: at some point the next best must do.
constexpr int Draws = 1000;

std::string UnpackSixBit(const Bytes& bytes) {
    std::string text;
    for (size_t bit = 0; bit + SixBits <= bytes.size() * 8; bit += SixBits) {
        unsigned code = 0;
        for (size_t index = 0; index < SixBits; ++index)
            code |= (bytes[(bit + index) / 8] >> (bit + index) % 8 & 1U) << index;
        text += static_cast<char>(SixBitBase + code);
    }
    return text;
}

/// Bits that belong to no character stay.
Bytes PackSixBit(const std::string& text, Bytes bytes) {
    for (size_t bit = 0; bit < text.size() * SixBits; ++bit) {
        const unsigned code = static_cast<unsigned char>(text[bit / SixBits]) - SixBitBase;
        const auto mask = static_cast<uint8_t>(1U << bit % 8);
        uint8_t& byte = bytes[bit / 8];
        byte = static_cast<uint8_t>((code >> bit % SixBits & 1U) != 0 ? byte | mask : byte & ~mask);
    }
    return bytes;
}

// BCD plus: a digit in each half of a byte, and blank, dash, full stop and three reserved codes.
constexpr char BcdCharacters[] = "0123456789 -.xyz";

std::string UnpackBcd(const Bytes& bytes) {
    std::string text;
    for (const uint8_t byte : bytes)
        text += {BcdCharacters[byte >> 4], BcdCharacters[byte & 0x0F]};
    return text;
}

/// Only digits differ.
Bytes PackBcd(const std::string& text, Bytes bytes) {
    for (size_t index = 0; index < text.size(); ++index) {
        if (text[index] < '0' || text[index] > '9') continue;
        const auto digit = static_cast<uint8_t>(text[index] - '0');
        uint8_t& byte = bytes[index / 2];
        byte = static_cast<uint8_t>(index % 2 == 0 ? digit << 4 | (byte & 0x0F) : (byte & 0xF0) | digit);
    }
    return bytes;
}

} // namespace

std::string Substitutes::Draw(const std::string& text) {
    std::string other = text;
    for (char& character : other) {
        const auto below = [&](char first, unsigned count) {
            character = static_cast<char>(first + static_cast<char>(m_random() % count));
        };
        if (character >= '0' && character <= '9')
            below('0', 10);
        else if (character >= 'A' && character <= 'Z')
            below('A', 26);
        else if (character >= 'a' && character <= 'z')
            below('a', 26);
    }
    return other;
}

std::string Substitutes::Other(const std::string& text) {
    const auto known = m_serials.find(text);
    if (known != m_serials.end()) return known->second;
    std::string other = Draw(text);
    for (int draw = 0; draw < Draws && (other == text || m_usedSerials.contains(other)); ++draw)
        other = Draw(text);
    m_usedSerials.insert(other);
    m_serials[text] = other;
    return other;
}

Bytes Substitutes::Serial(const Bytes& bytes, FieldCode code) {
    switch (code) {
    case FieldCode::SixBit:
        return PackSixBit(Other(UnpackSixBit(bytes)), bytes);
    case FieldCode::BcdPlus: {
        // Only the letters of reserved codes could become others, and are not packed.
        return PackBcd(Other(UnpackBcd(bytes)), bytes);
    }
    case FieldCode::Binary: {
        Bytes other = bytes;
        // Bytes without a code are digits of a number to the base 256.
        for (uint8_t& byte : other)
            byte = static_cast<uint8_t>(m_random());
        const std::string text(bytes.begin(), bytes.end());
        const auto [known, isNew] = m_serials.emplace("binary " + text, std::string(other.begin(), other.end()));
        return {known->second.begin(), known->second.end()};
    }
    default: {
        const std::string other = Other({bytes.begin(), bytes.end()});
        return {other.begin(), other.end()};
    }
    }
}

MacAddress Substitutes::Mac(const MacAddress& mac) {
    const bool isNone = std::ranges::all_of(mac, [&](uint8_t byte) { return byte == mac[0]; });
    if (isNone && (mac[0] == 0 || mac[0] == 0xFF)) return mac;
    const auto known = m_macs.find(mac);
    if (known != m_macs.end()) return known->second;
    MacAddress other = mac;
    do {
        std::generate(other.begin() + MakerBytes, other.end(), [&] { return static_cast<uint8_t>(m_random()); });
    } while (other == mac || m_usedMacs.contains(other));
    m_usedMacs.insert(other);
    m_macs[mac] = other;
    return other;
}

} // namespace bladesim
