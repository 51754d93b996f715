// A slow reader of FRU areas to compare the parser with: it looks at every byte by its number, in an area that goes on
// with 0xFF for ever. Written from the tables of the FRU Information Storage Definition, and from what docs/quirks.md
// says of it: fields are their raw bytes whatever their type, an end-of-fields marker is an empty field, a product's
// asset tag takes the manufacturer's place.
#pragma once

#include "ipmi/model/IPMI_Model.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace fuzzing {

struct FruRecord {
    int m_type = 0;
    std::string m_data;

    bool operator==(const FruRecord&) const = default;
};

/// What is known of one FRU.
struct FruTexts {
    std::array<std::string, 4> m_board;   ///< manufacturer, product name, serial number, part number
    std::array<std::string, 5> m_product; ///< manufacturer, name, part or model number, version, serial number
    std::vector<FruRecord> m_records;

    bool operator==(const FruTexts&) const = default;
};

/// What the parser has put into its record.
FruTexts TextsOf(const IPMI_FRU& fru);

/// Reads the area into `texts`: texts of areas that are not there stay, the records are replaced.
/// @return the parser's result; `texts` is untouched unless it is 0
int ReadFru(std::span<const uint8_t> area, FruTexts& texts);

/// In words, for a finding.
std::string Shown(const FruTexts& texts);

} // namespace fuzzing
