// Builds the bytes of a FRU inventory area from the texts and records of a blade file.
// Layout: IPMI Platform Management FRU Information Storage Definition, format version 1.
#include "sim/blade/FruImage.h"

#include <algorithm>
#include <cassert>
#include <initializer_list>
#include <numeric>

namespace BLADESIM {
namespace {

using BYTES = std::vector<uint8_t>;

constexpr uint8_t g_FormatVersion = 1;
constexpr uint8_t g_LanguageEnglish = 0;
constexpr uint8_t g_EightBitText = 0xC0;
constexpr uint8_t g_EndOfFields = 0xC1;
constexpr uint8_t g_MultiRecordVersion = 2;
constexpr uint8_t g_EndOfList = 0x80;
constexpr size_t g_AreaUnit = 8;

/// What makes the bytes sum to zero, or to one when it shall be bad.
template <typename ITERATOR>
uint8_t Checksum(ITERATOR a_Begin, ITERATOR a_End, bool a_Bad) {
    return static_cast<uint8_t>((a_Bad ? 1U : 0U) - std::accumulate(a_Begin, a_End, 0U));
}

void AddText(BYTES& a_Area, const std::string& a_Text) {
    assert(a_Text.size() <= g_MaxFruText && a_Text.size() != 1);
    a_Area.push_back(static_cast<uint8_t>(g_EightBitText | a_Text.size()));
    a_Area.insert(a_Area.end(), a_Text.begin(), a_Text.end());
}

/// Ends an info area: end marker, zeros up to the last byte of an 8-byte unit, length, checksum.
void FinishArea(BYTES& a_Area, bool a_BadChecksum) {
    a_Area.push_back(g_EndOfFields);
    while (a_Area.size() % g_AreaUnit != g_AreaUnit - 1)
        a_Area.push_back(0);
    a_Area[1] = static_cast<uint8_t>((a_Area.size() + 1) / g_AreaUnit);
    a_Area.push_back(Checksum(a_Area.begin(), a_Area.end(), a_BadChecksum));
}

BYTES InfoArea(BYTES a_Area, std::initializer_list<const std::string*> a_Texts, bool a_BadChecksum) {
    for (const auto* l_Text : a_Texts)
        AddText(a_Area, *l_Text);
    AddText(a_Area, {}); // the FRU file id, which nobody uses
    FinishArea(a_Area, a_BadChecksum);
    return a_Area;
}

BYTES BoardArea(const BOARD_TEXTS& a_Board, bool a_BadChecksum) {
    // The three zeros are the manufacturing date: unspecified.
    return InfoArea({g_FormatVersion, 0, g_LanguageEnglish, 0, 0, 0},
                    {&a_Board.m_Manufacturer, &a_Board.m_ProductName, &a_Board.m_SerialNumber, &a_Board.m_PartNumber},
                    a_BadChecksum);
}

BYTES ProductArea(const PRODUCT_TEXTS& a_Product, bool a_BadChecksum) {
    return InfoArea({g_FormatVersion, 0, g_LanguageEnglish},
                    {&a_Product.m_Manufacturer, &a_Product.m_Name, &a_Product.m_PartNumber, &a_Product.m_Version,
                     &a_Product.m_SerialNumber, &a_Product.m_AssetTag},
                    a_BadChecksum);
}

BYTES MultiRecordArea(const std::vector<RAW_MULTIRECORD>& a_Records, const BAD_CHECKSUMS& a_Bad) {
    BYTES l_Area;
    for (const auto& l_Record : a_Records) {
        assert(l_Record.m_Data.size() <= g_MaxMultiRecord);
        const bool l_Last = &l_Record == &a_Records.back();
        BYTES l_Header = {l_Record.m_Type, static_cast<uint8_t>(g_MultiRecordVersion | (l_Last ? g_EndOfList : 0)),
                          static_cast<uint8_t>(l_Record.m_Data.size()),
                          Checksum(l_Record.m_Data.begin(), l_Record.m_Data.end(), a_Bad.m_RecordData)};
        l_Header.push_back(Checksum(l_Header.begin(), l_Header.end(), a_Bad.m_RecordHeaders));
        l_Area.insert(l_Area.end(), l_Header.begin(), l_Header.end());
        l_Area.insert(l_Area.end(), l_Record.m_Data.begin(), l_Record.m_Data.end());
    }
    return l_Area;
}

/// Appends an area and notes its offset in the common header; an area without bytes is absent.
void Append(BYTES& a_Image, size_t a_HeaderByte, const BYTES& a_Area) {
    if (a_Area.empty()) return;
    a_Image[a_HeaderByte] = static_cast<uint8_t>(a_Image.size() / g_AreaUnit);
    a_Image.insert(a_Image.end(), a_Area.begin(), a_Area.end());
}

} // namespace

std::vector<uint8_t> BuildFruImage(const INVENTORY& a_Inventory) {
    constexpr size_t l_BoardOffset = 3;
    constexpr size_t l_ProductOffset = 4;
    constexpr size_t l_MultiRecordOffset = 5;
    constexpr size_t l_HeaderChecksum = 7;

    if (a_Inventory.m_Raw) return *a_Inventory.m_Raw;
    const BAD_CHECKSUMS& l_Bad = a_Inventory.m_BadChecksums;
    BYTES l_Image(g_AreaUnit, 0);
    l_Image[0] = g_FormatVersion;
    if (a_Inventory.m_Board) Append(l_Image, l_BoardOffset, BoardArea(*a_Inventory.m_Board, l_Bad.m_Areas));
    if (a_Inventory.m_Product) Append(l_Image, l_ProductOffset, ProductArea(*a_Inventory.m_Product, l_Bad.m_Areas));
    Append(l_Image, l_MultiRecordOffset, MultiRecordArea(a_Inventory.m_MultiRecords, l_Bad));
    l_Image[l_HeaderChecksum] = Checksum(l_Image.begin(), l_Image.begin() + l_HeaderChecksum, l_Bad.m_Header);
    const size_t l_Unit = a_Inventory.m_Size ? 1 : g_FruImageUnit;
    const size_t l_Least = (l_Image.size() + l_Unit - 1) / l_Unit * l_Unit;
    l_Image.resize(std::max(l_Least, a_Inventory.m_Size.value_or(0)), 0);
    return l_Image;
}

} // namespace BLADESIM
