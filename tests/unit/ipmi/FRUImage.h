// FRU inventory areas for the tests, built byte by byte: fields, info areas, multirecords, and the whole with its
// common header. Every checksum is right unless a test spoils it afterwards.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using BYTES = std::vector<uint8_t>;

/// Type codes of a type/length byte.
inline constexpr uint8_t FIELD_BINARY = 0;
inline constexpr uint8_t FIELD_BCD_PLUS = 1;
inline constexpr uint8_t FIELD_ASCII_6_BIT = 2;
inline constexpr uint8_t FIELD_TEXT_8_BIT = 3;
inline constexpr uint8_t END_OF_FIELDS = 0xC1;

inline BYTES Bytes(std::string_view a_Text) {
    return {a_Text.begin(), a_Text.end()};
}

inline void Append(BYTES& a_To, const BYTES& a_More) {
    a_To.insert(a_To.end(), a_More.begin(), a_More.end());
}

/// The byte that makes the sum of `a_Bytes` and itself 0 modulo 256.
inline uint8_t ChecksumOf(const BYTES& a_Bytes) {
    unsigned l_Sum = 0;
    for (const uint8_t l_Byte : a_Bytes)
        l_Sum += l_Byte;
    return static_cast<uint8_t>(0x100 - (l_Sum & 0xFF));
}

/// One string field, as many of the 63 bytes as there are.
inline BYTES Field(std::string_view a_Text, uint8_t a_Type = FIELD_TEXT_8_BIT) {
    BYTES l_Field = {static_cast<uint8_t>(a_Type << 6 | (a_Text.size() & 0x3F))};
    Append(l_Field, Bytes(a_Text));
    return l_Field;
}

inline BYTES Fields(const std::vector<std::string>& a_Texts) {
    BYTES l_Fields;
    for (const std::string& l_Text : a_Texts)
        Append(l_Fields, Field(l_Text));
    return l_Fields;
}

/// Pads to a multiple of 8 with the checksum last, and writes the length byte.
inline BYTES FinishArea(BYTES a_Area) {
    a_Area.push_back(END_OF_FIELDS);
    while (a_Area.size() % 8 != 7)
        a_Area.push_back(0);
    a_Area[1] = static_cast<uint8_t>((a_Area.size() + 1) / 8);
    a_Area.push_back(ChecksumOf(a_Area));
    return a_Area;
}

/// Board area: version, length, language, three bytes of date, fields.
inline BYTES BoardArea(const BYTES& a_Fields, uint8_t a_Version = 1) {
    BYTES l_Area = {a_Version, 0, 25, 0x11, 0x22, 0x33};
    Append(l_Area, a_Fields);
    return FinishArea(l_Area);
}

/// Product area: version, length, language, fields.
inline BYTES ProductArea(const BYTES& a_Fields, uint8_t a_Version = 1) {
    BYTES l_Area = {a_Version, 0, 25};
    Append(l_Area, a_Fields);
    return FinishArea(l_Area);
}

struct RECORD {
    uint8_t m_Type;
    BYTES m_Data;

    bool operator==(const RECORD&) const = default;
};

inline constexpr uint8_t RECORD_END_OF_LIST = 0x80;
inline constexpr uint8_t RECORD_VERSION = 0x02;

/// One multirecord: header of 5 bytes, then the data.
inline BYTES Record(const RECORD& a_Record, bool a_bLast) {
    BYTES l_Bytes = {a_Record.m_Type, static_cast<uint8_t>(RECORD_VERSION | (a_bLast ? RECORD_END_OF_LIST : 0)),
                     static_cast<uint8_t>(a_Record.m_Data.size()), ChecksumOf(a_Record.m_Data)};
    l_Bytes.push_back(ChecksumOf(l_Bytes));
    Append(l_Bytes, a_Record.m_Data);
    return l_Bytes;
}

/// The records one behind the other, the last one with the end-of-list bit.
inline BYTES Records(const std::vector<RECORD>& a_Records) {
    BYTES l_Area;
    for (std::size_t i = 0; i < a_Records.size(); ++i)
        Append(l_Area, Record(a_Records[i], i + 1 == a_Records.size()));
    return l_Area;
}

/// A common header with its checksum; offsets in units of 8 bytes.
inline BYTES CommonHeader(uint8_t a_Chassis, uint8_t a_Board, uint8_t a_Product, uint8_t a_MultiRecords) {
    BYTES l_Header = {1, 0, a_Chassis, a_Board, a_Product, a_MultiRecords, 0};
    l_Header.push_back(ChecksumOf(l_Header));
    return l_Header;
}

/// Header and areas; an empty area is absent. The whole is filled up with zeros to a multiple of `a_Unit`.
inline BYTES FRUImage(const BYTES& a_Board, const BYTES& a_Product, const BYTES& a_Records, std::size_t a_Unit = 8) {
    BYTES l_Areas;
    const auto l_Place = [&l_Areas](const BYTES& a_Area) -> uint8_t {
        if (a_Area.empty()) return 0;
        const auto l_Offset = static_cast<uint8_t>(1 + l_Areas.size() / 8);
        Append(l_Areas, a_Area);
        while (l_Areas.size() % 8 != 0)
            l_Areas.push_back(0);
        return l_Offset;
    };
    const uint8_t l_Board = l_Place(a_Board);
    const uint8_t l_Product = l_Place(a_Product);
    BYTES l_Image = CommonHeader(0, l_Board, l_Product, l_Place(a_Records));
    Append(l_Image, l_Areas);
    while (l_Image.size() % a_Unit != 0)
        l_Image.push_back(0);
    return l_Image;
}
