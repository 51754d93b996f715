// Bytes as people write them: pairs of hexadecimal digits with blanks between ("2c 02 00 ff").
#include "sim/blade/HexText.h"

#include <charconv>
#include <sstream>

namespace BLADESIM {
namespace {

std::optional<uint8_t> HexByte(const std::string& a_Word) {
    uint8_t l_Byte = 0;
    const char* const l_End = a_Word.data() + a_Word.size();
    const auto l_Result = std::from_chars(a_Word.data(), l_End, l_Byte, 16);
    if (a_Word.size() != 2 || l_Result.ec != std::errc() || l_Result.ptr != l_End) return std::nullopt;
    return l_Byte;
}

} // namespace

std::optional<std::vector<uint8_t>> HexBytes(const std::string& a_Text) {
    std::vector<uint8_t> l_Bytes;
    std::istringstream l_Words(a_Text);
    for (std::string l_Word; l_Words >> l_Word;) {
        const auto l_Byte = HexByte(l_Word);
        if (!l_Byte) return std::nullopt;
        l_Bytes.push_back(*l_Byte);
    }
    return l_Bytes;
}

std::optional<std::vector<std::optional<uint8_t>>> HexPattern(const std::string& a_Text) {
    std::vector<std::optional<uint8_t>> l_Pattern;
    std::istringstream l_Words(a_Text);
    for (std::string l_Word; l_Words >> l_Word;) {
        l_Pattern.push_back(HexByte(l_Word));
        if (!l_Pattern.back() && l_Word != "??") return std::nullopt;
    }
    return l_Pattern;
}

} // namespace BLADESIM
