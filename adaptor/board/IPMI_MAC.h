// Ethernet addresses: as text, as bytes, and counted on from one another.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace BM_ADAPTOR {

/// Six bytes, most significant first; all 0 when no address is known.
struct MAC_ADDRESS {
    /// Reads "aa:bb:cc:dd:ee:ff", in small or capital letters; what follows is not looked at. Nothing when the text is
    /// shorter, or is no address.
    static std::optional<MAC_ADDRESS> Parse(const std::string& a_Text);

    /// The text, in capital letters.
    std::string Text() const;
    /// This address counted on in its last four bytes; a carry out of them is lost. `a_Count` is taken modulo 2^32.
    MAC_ADDRESS Plus(uint32_t a_Count) const;

    bool operator==(const MAC_ADDRESS&) const = default;

    std::array<unsigned char, 6> m_Bytes{};
};

} // namespace BM_ADAPTOR
