// Any bytes as the text of a JSON file, which is UTF-8.
#pragma once

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

} // namespace BM_PLATFORM
