// Texts made from the hardware's bytes: they must neither control a terminal nor pass for separate lines.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace bm_dev {

/// The hardware's bytes have no known encoding: each becomes the character of the same number, so bytes above 0x7F
/// become U+0080 to U+00FF.
inline std::string Utf8OfBytes(std::string_view bytes) {
    std::string text;
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x80) {
            text += character;
        } else {
            text += static_cast<char>(0xC0 | (byte >> 6));
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

/// The other way round: nothing when the text has other characters, or is no UTF-8.
inline std::optional<std::string> ExactBytesOfUtf8(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto first = static_cast<unsigned char>(text[i]);
        if (first < 0x80) {
            bytes += text[i];
            continue;
        }
        const unsigned char second = i + 1 < text.size() ? static_cast<unsigned char>(text[++i]) : 0;
        if ((first != 0xC2 && first != 0xC3) || (second & 0xC0) != 0x80) return std::nullopt;
        bytes += static_cast<char>(((first & 0x03) << 6) | (second & 0x3F));
    }
    return bytes;
}

/// The length in bytes of the UTF-8 character at the beginning of the text: 0 when there is no valid one, -1 when the
/// text ends within it.
inline int Utf8Length(std::string_view text) {
    const auto at = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = at(0);
    if (first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4) return 0;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    for (std::size_t i = 1; i < length; ++i) {
        if (i == text.size()) return -1;
        if ((at(i) & 0xC0) != 0x80) return 0;
        if (i > 1) continue;
        // An overlong form, half of a surrogate pair, or beyond the last character.
        if ((first == 0xE0 && at(1) < 0xA0) || (first == 0xED && at(1) > 0x9F)) return 0;
        if ((first == 0xF0 && at(1) < 0x90) || (first == 0xF4 && at(1) > 0x8F)) return 0;
    }
    return static_cast<int>(length);
}

/// Replaces, byte by byte, whatever a terminal takes for a command by '?': control bytes except those in `kept`, and
/// 0x80 to 0x9F, either as the characters U+0080 to U+009F or as single bytes. Other UTF-8 characters and other bytes
/// stay. Allocates nothing.
/// @return how many bytes are done: all, or those before the last character if the text ends within it and is not the
/// last piece
inline std::size_t HideControls(char* text, std::size_t size, std::string_view kept, bool last) {
    std::size_t done = 0;
    while (done < size) {
        char* const at = text + done;
        const auto first = static_cast<unsigned char>(*at);
        const int length = Utf8Length({at, size - done});
        if (length < 0 && !last) break;
        const std::size_t bytes = length > 0 ? static_cast<std::size_t>(length) : 1;
        const bool control =
            bytes == 1 && (first < ' ' || (first >= 0x7F && first < 0xA0)) && kept.find(*at) == std::string_view::npos;
        const bool lateControl = bytes == 2 && first == 0xC2 && static_cast<unsigned char>(at[1]) < 0xA0;
        if (control || lateControl) std::fill_n(at, bytes, '?');
        done += bytes;
    }
    return done;
}

/// The text with '?' for whatever a terminal takes for a command; see HideControls.
inline std::string Printable(std::string text, std::string_view kept = {}) {
    HideControls(text.data(), text.size(), kept, true);
    return text;
}

/// JSON text (UTF-8) with escapes for characters that JSON allows but that a terminal takes for commands or a program
/// for line ends: U+007F to U+009F, U+2028 and U+2029.
inline std::string EscapedJson(std::string_view json) {
    std::string text;
    const auto at = [&](std::size_t index) {
        return index < json.size() ? static_cast<unsigned char>(json[index]) : 0U;
    };
    const auto escape = [&](unsigned character) {
        constexpr char digits[] = "0123456789abcdef";
        text += "\\u";
        for (const unsigned shift : {12U, 8U, 4U, 0U})
            text += digits[(character >> shift) & 0xF];
    };
    for (std::size_t i = 0; i < json.size(); ++i) {
        if (at(i) == 0x7F) {
            escape(0x7F);
        } else if (at(i) == 0xC2 && at(i + 1) >= 0x80 && at(i + 1) < 0xA0) {
            escape(at(++i));
        } else if (at(i) == 0xE2 && at(i + 1) == 0x80 && (at(i + 2) & 0xFE) == 0xA8) {
            escape(0x2000 | (at(i + 2) & 0x3F));
            i += 2;
        } else {
            text += json[i];
        }
    }
    return text;
}

} // namespace bm_dev
