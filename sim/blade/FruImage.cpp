// Builds the bytes of a FRU inventory area from the texts and records of a blade file.
// Layout: IPMI Platform Management FRU Information Storage Definition, format version 1.
#include "sim/blade/FruImage.h"

#include "sim/base/Bytes.h"

#include <algorithm>
#include <cassert>
#include <initializer_list>
#include <numeric>

namespace bladesim {
namespace {

constexpr uint8_t FormatVersion = 1;
constexpr uint8_t LanguageEnglish = 0;
constexpr uint8_t EightBitText = 0xC0;
constexpr uint8_t EndOfFields = 0xC1;
constexpr uint8_t MultiRecordVersion = 2;
constexpr uint8_t EndOfList = 0x80;
constexpr size_t AreaUnit = 8;

/// The byte that makes the sum zero, or one more if the checksum is to be wrong.
template <typename Iterator>
uint8_t Checksum(Iterator begin, Iterator end, bool bad) {
    return static_cast<uint8_t>((bad ? 1U : 0U) - std::accumulate(begin, end, 0U));
}

void AddText(Bytes& area, const std::string& text) {
    assert(text.size() <= MaxFruText && text.size() != 1);
    area.push_back(static_cast<uint8_t>(EightBitText | text.size()));
    area.insert(area.end(), text.begin(), text.end());
}

/// Ends an info area: end marker, zeros up to the last byte of an 8-byte unit, length, checksum.
void FinishArea(Bytes& area, bool badChecksum) {
    area.push_back(EndOfFields);
    while (area.size() % AreaUnit != AreaUnit - 1)
        area.push_back(0);
    area[1] = static_cast<uint8_t>((area.size() + 1) / AreaUnit);
    area.push_back(Checksum(area.begin(), area.end(), badChecksum));
}

Bytes InfoArea(Bytes area, std::initializer_list<const std::string*> texts, bool badChecksum) {
    for (const auto* text : texts)
        AddText(area, *text);
    AddText(area, {}); // the FRU file id, unused
    FinishArea(area, badChecksum);
    return area;
}

Bytes BoardArea(const BoardTexts& board, bool badChecksum) {
    // The three zeros are an unspecified manufacturing date.
    return InfoArea({FormatVersion, 0, LanguageEnglish, 0, 0, 0},
                    {&board.m_manufacturer, &board.m_productName, &board.m_serialNumber, &board.m_partNumber},
                    badChecksum);
}

Bytes ProductArea(const ProductTexts& product, bool badChecksum) {
    return InfoArea({FormatVersion, 0, LanguageEnglish},
                    {&product.m_manufacturer, &product.m_name, &product.m_partNumber, &product.m_version,
                     &product.m_serialNumber, &product.m_assetTag},
                    badChecksum);
}

Bytes MultiRecordArea(const std::vector<RawMultirecord>& records, const BadChecksums& bad) {
    Bytes area;
    for (const auto& record : records) {
        assert(record.m_data.size() <= MaxMultiRecord);
        const bool last = &record == &records.back();
        Bytes header = {record.m_type, static_cast<uint8_t>(MultiRecordVersion | (last ? EndOfList : 0)),
                        static_cast<uint8_t>(record.m_data.size()),
                        Checksum(record.m_data.begin(), record.m_data.end(), bad.m_recordData)};
        header.push_back(Checksum(header.begin(), header.end(), bad.m_recordHeaders));
        area.insert(area.end(), header.begin(), header.end());
        area.insert(area.end(), record.m_data.begin(), record.m_data.end());
    }
    return area;
}

/// Appends an area and notes its offset in the common header; an area without bytes is absent.
void Append(Bytes& image, size_t headerByte, const Bytes& area) {
    if (area.empty()) return;
    image[headerByte] = static_cast<uint8_t>(image.size() / AreaUnit);
    image.insert(image.end(), area.begin(), area.end());
}

} // namespace

std::vector<uint8_t> BuildFruImage(const Inventory& inventory) {
    constexpr size_t boardOffset = 3;
    constexpr size_t productOffset = 4;
    constexpr size_t multiRecordOffset = 5;
    constexpr size_t headerChecksum = 7;

    if (inventory.m_raw) return *inventory.m_raw;
    const BadChecksums& bad = inventory.m_badChecksums;
    Bytes image(AreaUnit, 0);
    image[0] = FormatVersion;
    if (inventory.m_board) Append(image, boardOffset, BoardArea(*inventory.m_board, bad.m_areas));
    if (inventory.m_product) Append(image, productOffset, ProductArea(*inventory.m_product, bad.m_areas));
    Append(image, multiRecordOffset, MultiRecordArea(inventory.m_multiRecords, bad));
    image[headerChecksum] = Checksum(image.begin(), image.begin() + headerChecksum, bad.m_header);
    const size_t unit = inventory.m_size ? 1 : FruImageUnit;
    const size_t least = (image.size() + unit - 1) / unit * unit;
    image.resize(std::max(least, inventory.m_size.value_or(0)), 0);
    return image;
}

} // namespace bladesim
