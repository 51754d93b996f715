// Where in the image of an inventory area the serial numbers, the MAC addresses and the checksums are.
#pragma once

#include "sim/capture/Conversation.h"

#include <cstddef>
#include <span>
#include <vector>

namespace bladesim {

/// How the bytes of a text field mean characters, as the type/length byte numbers it.
enum class FieldCode : uint8_t { Binary = 0, BcdPlus = 1, SixBit = 2, EightBit = 3 };

struct SerialField {
    size_t m_offset = 0;
    size_t m_size = 0;
    FieldCode m_code = FieldCode::EightBit;
};

/// A byte that, with the bytes from m_begin to m_end, has the sum 0, or a wrong one.
struct ChecksumPlace {
    size_t m_begin = 0;
    size_t m_end = 0;
    size_t m_checksum = 0; ///< within these bytes or outside of them
};

struct FruLayout {
    std::vector<SerialField> m_serials;
    std::vector<size_t> m_macs;             ///< offsets of six bytes each
    std::vector<ChecksumPlace> m_checksums; ///< a checksum comes after those that it covers
};

/// Nothing that it names is outside of the image, whatever that says of itself.
FruLayout LayOut(std::span<const uint8_t> image);

} // namespace bladesim
