// A part of a form as it was before its client encoded it, while it comes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace bmhost {

/// Some clients send files as base64, and say so in Content-Transfer-Encoding.
class PartDecoder {
public:
    /// @param encoding  the header's value; empty: there is none. Nothing for one that is not known.
    static std::optional<PartDecoder> For(std::string_view encoding);

    /// The decoded bytes of a piece, which may be cut anywhere; nothing when it cannot be what was said.
    std::optional<std::string> Take(std::string_view bytes);
    /// Whether what has come so far may be all.
    bool IsWhole() const { return m_digits == 0; }

private:
    explicit PartDecoder(bool base64) : m_base64(base64) {}
    bool TakeDigit(char digit, std::string& decoded);

    bool m_base64;
    uint32_t m_bits = 0;
    unsigned m_digits = 0; ///< of four
    unsigned m_padding = 0;
};

} // namespace bmhost
