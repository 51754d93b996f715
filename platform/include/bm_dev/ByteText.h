// Bytes of the hardware as texts: none of them may steer a terminal, or pass for a line of its own.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace BM_PLATFORM {

/// The hardware's bytes are no encoding: each becomes the character of its number, those above 0x7F U+0080 to U+00FF.
inline std::string Utf8OfBytes(std::string_view a_Bytes) {
    std::string l_Text;
    for (const char l_Char : a_Bytes) {
        const auto l_Byte = static_cast<unsigned char>(l_Char);
        if (l_Byte < 0x80) {
            l_Text += l_Char;
        } else {
            l_Text += static_cast<char>(0xC0 | (l_Byte >> 6));
            l_Text += static_cast<char>(0x80 | (l_Byte & 0x3F));
        }
    }
    return l_Text;
}

/// How many bytes the character at the text's begin has in UTF-8: 0 when they are none, -1 when the text ends within
/// it.
inline int Utf8Length(std::string_view a_Text) {
    const auto l_At = [&](std::size_t a_Index) { return static_cast<unsigned char>(a_Text[a_Index]); };
    const unsigned char l_First = l_At(0);
    if (l_First < 0x80) return 1;
    if (l_First < 0xC2 || l_First > 0xF4) return 0;
    const std::size_t l_Length = l_First < 0xE0 ? 2 : l_First < 0xF0 ? 3 : 4;
    for (std::size_t i = 1; i < l_Length; ++i) {
        if (i == a_Text.size()) return -1;
        if ((l_At(i) & 0xC0) != 0x80) return 0;
        if (i > 1) continue;
        // Too long for what they say, half of a pair, or beyond the last character.
        if ((l_First == 0xE0 && l_At(1) < 0xA0) || (l_First == 0xED && l_At(1) > 0x9F)) return 0;
        if ((l_First == 0xF0 && l_At(1) < 0x90) || (l_First == 0xF4 && l_At(1) > 0x8F)) return 0;
    }
    return static_cast<int>(l_Length);
}

/// Replaces by '?' in place, byte by byte, what a terminal takes for a command: control bytes but those in `a_Kept`,
/// and 0x80 to 0x9F as the characters U+0080 to U+009F or alone. Other characters of UTF-8 and other bytes stay.
/// @return how many bytes are done: all, or when the text ends within a character and is not the last piece, those
/// before it. Allocates nothing.
inline std::size_t HideControls(char* a_Text, std::size_t a_Size, std::string_view a_Kept, bool a_Last) {
    std::size_t l_Done = 0;
    while (l_Done < a_Size) {
        char* const l_At = a_Text + l_Done;
        const auto l_First = static_cast<unsigned char>(*l_At);
        const int l_Length = Utf8Length({l_At, a_Size - l_Done});
        if (l_Length < 0 && !a_Last) break;
        const std::size_t l_Bytes = l_Length > 0 ? static_cast<std::size_t>(l_Length) : 1;
        const bool l_Control = l_Bytes == 1 && (l_First < ' ' || (l_First >= 0x7F && l_First < 0xA0)) &&
                               a_Kept.find(*l_At) == std::string_view::npos;
        const bool l_LateControl = l_Bytes == 2 && l_First == 0xC2 && static_cast<unsigned char>(l_At[1]) < 0xA0;
        if (l_Control || l_LateControl) std::fill_n(l_At, l_Bytes, '?');
        l_Done += l_Bytes;
    }
    return l_Done;
}

/// The text with '?' for what a terminal takes for a command; see above.
inline std::string Printable(std::string a_Text, std::string_view a_Kept = {}) {
    HideControls(a_Text.data(), a_Text.size(), a_Kept, true);
    return a_Text;
}

/// A text of JSON (UTF-8) with escapes for the characters that JSON may have as they are, and a terminal takes for
/// commands or a program for line ends: U+007F to U+009F, U+2028 and U+2029.
inline std::string EscapedJson(std::string_view a_Json) {
    std::string l_Text;
    const auto l_At = [&](std::size_t a_Index) {
        return a_Index < a_Json.size() ? static_cast<unsigned char>(a_Json[a_Index]) : 0U;
    };
    const auto l_Escape = [&](unsigned a_Character) {
        constexpr char DIGITS[] = "0123456789abcdef";
        l_Text += "\\u";
        for (const unsigned l_Shift : {12U, 8U, 4U, 0U})
            l_Text += DIGITS[(a_Character >> l_Shift) & 0xF];
    };
    for (std::size_t i = 0; i < a_Json.size(); ++i) {
        if (l_At(i) == 0x7F) {
            l_Escape(0x7F);
        } else if (l_At(i) == 0xC2 && l_At(i + 1) >= 0x80 && l_At(i + 1) < 0xA0) {
            l_Escape(l_At(++i));
        } else if (l_At(i) == 0xE2 && l_At(i + 1) == 0x80 && (l_At(i + 2) & 0xFE) == 0xA8) {
            l_Escape(0x2000 | (l_At(i + 2) & 0x3F));
            i += 2;
        } else {
            l_Text += a_Json[i];
        }
    }
    return l_Text;
}

} // namespace BM_PLATFORM
