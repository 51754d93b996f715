// Ethernet addresses: as text, as bytes, and counted on from one another.
#include "adaptor/board/IPMI_MAC.h"

#include "common/veldo_common_text.h"

#include <charconv>

namespace BM_ADAPTOR {

namespace {

constexpr std::size_t TEXT_LENGTH = 17;
constexpr std::size_t BYTE_LENGTH = 3; // two digits and the colon after them
constexpr std::size_t FIRST_COUNTED = 2;

} // namespace

std::optional<MAC_ADDRESS> MAC_ADDRESS::Parse(const std::string& a_Text) {
    if (a_Text.size() < TEXT_LENGTH) return std::nullopt;
    MAC_ADDRESS l_Address;
    const char* l_Digits = a_Text.data();
    for (unsigned char& l_Byte : l_Address.m_Bytes) {
        const auto [l_End, l_Error] = std::from_chars(l_Digits, l_Digits + 2, l_Byte, 16);
        if (l_Error != std::errc() || l_End != l_Digits + 2) return std::nullopt;
        const bool l_IsLast = &l_Byte == &l_Address.m_Bytes.back();
        if (!l_IsLast && *l_End != ':') return std::nullopt;
        l_Digits += BYTE_LENGTH;
    }
    return l_Address;
}

std::string MAC_ADDRESS::Text() const {
    return FormatText("%02X:%02X:%02X:%02X:%02X:%02X", m_Bytes[0], m_Bytes[1], m_Bytes[2], m_Bytes[3], m_Bytes[4],
                      m_Bytes[5]);
}

MAC_ADDRESS MAC_ADDRESS::Plus(uint32_t a_Count) const {
    uint32_t l_Low = 0;
    for (std::size_t i = FIRST_COUNTED; i < m_Bytes.size(); ++i)
        l_Low = l_Low << 8 | m_Bytes[i];
    l_Low += a_Count;
    MAC_ADDRESS l_Sum = *this;
    for (std::size_t i = m_Bytes.size(); i-- > FIRST_COUNTED; l_Low >>= 8)
        l_Sum.m_Bytes[i] = static_cast<unsigned char>(l_Low);
    return l_Sum;
}

} // namespace BM_ADAPTOR
