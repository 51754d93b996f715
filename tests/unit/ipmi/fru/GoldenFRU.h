// FRU inventory areas worked out by hand, byte by byte, from the IPMI Platform Management FRU Information Storage
// Definition, and what the parser shall make of each: the judge of both the parser and the second decoder.
#pragma once

#include "ReferenceFRU.h"
#include "ipmi/LogText.h"

#include <ostream>
#include <vector>

struct GOLDEN_FRU {
    const char* m_Name;
    BYTES m_Image;
    FRU_CONTENT m_Expected;          ///< texts that are not named are empty
    std::vector<LOG_LINE> m_Lines{}; ///< among its log lines, in this order
};

inline void PrintTo(const GOLDEN_FRU& a_Golden, std::ostream* a_Out) {
    *a_Out << a_Golden.m_Name;
}

// Each byte stands by what it means.
// clang-format off
inline const GOLDEN_FRU g_GoldenFRUs[] = {
    {"CommonHeaderAlone",
     {
         0x01,             // format version 1
         0x00,             // no internal use area
         0x00,             // no chassis area
         0x00,             // no board area
         0x00,             // no product area
         0x00,             // no multirecords
         0x00,             // pad
         0xFF,             // checksum: 01 + FF = 100
     },
     {0, {}, {}},
     {Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x100"), Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x0 ANDED"),
      Trace("ParseCommonArea - chassis_offset= 0 board_offset=0 product_offset=0 MR_offset=0")}},

    {"Board",
     {
         0x01, 0x00, 0x00,
         0x01,                         // board area at 1 x 8
         0x00, 0x00, 0x00,
         0xFE,                         // 01 + 01 + FE = 100
         // board area, byte 8
         0x01,                         // version 1
         0x04,                         // 4 x 8 bytes
         0x19,                         // language 25, English
         0x10, 0x27, 0x00,             // date: 10000 minutes after 1996 began
         0xC4, 'A', 'c', 'm', 'e',     // manufacturer: 8-bit text, 4 bytes
         0xC5, 'B', 'l', 'a', 'd', 'e', // product name
         0xC3, 'S', 'N', '1',          // serial number
         0xC3, 'P', 'N', '1',          // part number
         0xC2, 'F', '1',               // FRU file id: nobody reads it
         0xC1,                         // end of fields
         0x00, 0x00,                   // unused
         0xB3,                         // area checksum: nobody looks at it
     },
     {0, {{"BoardManufacturer", "Acme"}, {"BoardProductName", "Blade"}, {"BoardSerialNumber", "SN1"}, {"BoardPartNumber", "PN1"}}, {}},
     {Trace("ParseCommonArea - chassis_offset= 0 board_offset=8 product_offset=0 MR_offset=0"),
      Trace("ParseFRUBoard - l_Board_Manufacturer =Acme len=4"), Trace("ParseFRUBoard - l_Board_ProductName =Blade"),
      Trace("ParseFRUBoard - l_Board_SerialNumber =SN1"), Trace("ParseFRUBoard - l_Board_PartNumber =PN1")}},

    {"ProductWithEveryFieldAndACustomOne",
     {
         0x01, 0x00, 0x00, 0x00,
         0x01,                         // product area at 1 x 8
         0x00, 0x00,
         0xFE,
         // product area, byte 8
         0x01,                         // version 1
         0x05,                         // 5 x 8 bytes
         0x19,                         // English
         0xC4, 'A', 'c', 'm', 'e',     // manufacturer, whose place the asset tag takes
         0xC5, 'M', 'e', 'd', 'i', 'a', // product name
         0xC3, 'M', '-', '4',          // part/model number
         0xC2, 'V', '2',               // version
         0xC4, '0', '0', '4', '2',     // serial number
         0xC3, 'T', '-', '1',          // asset tag
         0xC2, 'F', '1',               // FRU file id: nobody reads it
         0xC2, 'x', 'y',               // a custom field: nobody reads it
         0xC1,
         0x00, 0x00,
         0x9B,
     },
     {0, {{"ProductManufacturer", "T-1"}, {"ProductName", "Media"}, {"ProductPartModelNumber", "M-4"}, {"ProductVersion", "V2"},
          {"ProductSerialNumber", "0042"}}, {}},
     {Trace("ParseFRUProduct - l_Product_Manufacturer =Acme len=4"), Trace("ParseFRUProduct - l_Product_ProductName =Media"),
      Trace("ParseFRUProduct - l_Product_PartNumber =M-4"), Trace("ParseFRUProduct - l_Product_Version =V2"),
      Trace("ParseFRUProduct - l_Product_SerialNumber =0042"), Trace("ParseFRUProduct - l_Product_AssetTag =T-1")}},

    {"ProductThatEndsBeforeItsAssetTag",
     {
         0x01, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0xFE,
         0x01, 0x04, 0x19,
         0xC4, 'A', 'c', 'm', 'e',
         0xC5, 'M', 'e', 'd', 'i', 'a',
         0xC3, 'M', '-', '4',
         0xC2, 'V', '2',
         0xC4, '0', '0', '4', '2',
         0xC1,                         // the end, read as an asset tag of no length: it empties the manufacturer
         0x00, 0x00, 0x00, 0x00,
         0xFD,
     },
     {0, {{"ProductName", "Media"}, {"ProductPartModelNumber", "M-4"}, {"ProductVersion", "V2"}, {"ProductSerialNumber", "0042"}}, {}},
     {Trace("ParseFRUProduct - l_Product_Manufacturer =Acme len=4"), Trace("ParseFRUProduct - l_Product_AssetTag =")}},

    {"ProductThatEndsAfterItsManufacturer",
     {
         0x01, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0xFE,
         0x01, 0x02, 0x19,
         0xC4, 'A', 'c', 'm', 'e',
         0xC1,                         // the end, read as a product name of no length
         0x00,                         // unused bytes, read on as fields of no length: part/model number
         0x00,                         // version
         0x00,                         // serial number
         0x00,                         // asset tag
         0x00, 0x00,
         0xE9,
     },
     {0, {}, {}},
     {Trace("ParseFRUProduct - l_Product_Manufacturer =Acme len=4"), Trace("ParseFRUProduct - l_Product_ProductName ="),
      Trace("ParseFRUProduct - l_Product_AssetTag =")}},

    {"BoardWithAnEndInTheMiddle",
     {
         0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xFE,
         0x01, 0x03, 0x19, 0x00, 0x00, 0x00,
         0xC4, 'A', 'c', 'm', 'e',     // manufacturer
         0xC1,                         // the end, read as a product name of no length; what follows is read on
         0xC2, 'A', 'B',               // as the serial number
         0xC2, 'C', 'D',               // as the part number
         0xC1, 0x00, 0x00, 0x00, 0x00,
         0x99,
     },
     {0, {{"BoardManufacturer", "Acme"}, {"BoardSerialNumber", "AB"}, {"BoardPartNumber", "CD"}}, {}},
     {Trace("ParseFRUBoard - l_Board_ProductName ="), Trace("ParseFRUBoard - l_Board_SerialNumber =AB")}},

    {"BoardWithFieldsOfEveryType",
     {
         0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xFE,
         0x01, 0x03, 0x19, 0x00, 0x00, 0x00,
         0x83, 0x29, 0xDC, 0xA6,       // type 2, 6-bit ASCII of 3 bytes: packed "IPMI", which stays packed
         0x42, 0x12, 0x34,             // type 1, BCD plus of 2 bytes: "1234", which stays as it is
         0x03, 0x01, 0x02, 0x03,       // type 0, binary
         0xC2, 'P', 'N',               // type 3, 8-bit text
         0xC1, 0x00, 0x00,
         0x03,
     },
     {0, {{"BoardManufacturer", "\x29\xDC\xA6"}, {"BoardProductName", "\x12\x34"}, {"BoardSerialNumber", "\x01\x02\x03"},
          {"BoardPartNumber", "PN"}}, {}},
     {Trace("ParseFRUBoard - l_Board_Manufacturer =\x29\xDC\xA6 len=3")}},

    {"BoardWithTheLongestField",
     {
         0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xFE,
         0x01,
         0x0E,                         // 14 x 8 bytes
         0x19, 0x00, 0x00, 0x00,
         0xFF,                         // type 3, 63 bytes: all that six bits of length can say
         '0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F',
         '0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F',
         '0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F',
         '0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E',
         0xE0,                         // type 3, 32 bytes
         'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm', 'n', 'o', 'p',
         'q', 'r', 's', 't', 'u', 'v', 'w', 'x', 'y', 'z', '0', '1', '2', '3', '4', '5',
         0xC2, 'S', 'N',
         0xC2, 'P', 'N',
         0xC1, 0x00,
         0xE5,
     },
     {0, {{"BoardManufacturer", "0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF0123456789ABCDE"},
          {"BoardProductName", "abcdefghijklmnopqrstuvwxyz012345"}, {"BoardSerialNumber", "SN"}, {"BoardPartNumber", "PN"}}, {}},
     {Trace("ParseFRUBoard - l_Board_Manufacturer =0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF0123456789ABCDE len=63"),
      Trace("ParseFRUBoard - l_Board_ProductName =abcdefghijklmnopqrstuvwxyz012345")}},

    {"BoardInAnotherLanguage",
     {
         0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xFE,
         0x01, 0x03,
         0x2B,                         // language 43: its 8-bit texts would be of two bytes a character
         0x00, 0x00, 0x00,
         0xC4, 'A', 0x00, 'B', 0x00,   // "AB" so: the text ends at the first 0
         0xC2, 0x30, 0x42,             // one character, U+4230: its two bytes
         0xC2, 'S', 'N',
         0xC2, 'P', 'N',
         0xC1, 0x00, 0x00,
         0xD2,
     },
     {0, {{"BoardManufacturer", "A"}, {"BoardProductName", "0B"}, {"BoardSerialNumber", "SN"}, {"BoardPartNumber", "PN"}}, {}},
     {Trace("ParseFRUBoard - l_Board_Manufacturer =A len=4")}},

    {"BoardOfVersion2",
     {
         0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xFE,
         0x02,                         // a version that is not known stops nothing
         0x03, 0x19, 0x00, 0x00, 0x00,
         0xC4, 'A', 'c', 'm', 'e',
         0xC2, 'B', 'l',
         0xC2, 'S', '1',
         0xC2, 'P', '1',
         0xC1, 0x00, 0x00,
         0xEE,
     },
     {0, {{"BoardManufacturer", "Acme"}, {"BoardProductName", "Bl"}, {"BoardSerialNumber", "S1"}, {"BoardPartNumber", "P1"}}, {}},
     {Warning("ParseFRUBoard - incorrect version =2"), Trace("ParseFRUBoard - l_Board_Manufacturer =Acme len=4")}},

    {"ChassisBoardAndProduct",
     {
         0x01, 0x00,
         0x05,                         // chassis area at 5 x 8
         0x01,                         // board area at 1 x 8; also what both chassis lines take for a length byte: 1
         0x07,                         // product area at 7 x 8; also the one byte of their text
         0x00, 0x00,
         0xF2,                         // 01 + 05 + 01 + 07 + F2 = 100
         // board area, byte 8
         0x01, 0x04, 0x19, 0x10, 0x27, 0x00,
         0xC4, 'A', 'c', 'm', 'e', 0xC5, 'B', 'l', 'a', 'd', 'e', 0xC3, 'S', 'N', '1', 0xC3, 'P', 'N', '1',
         0xC2, 'F', '1', 0xC1, 0x00, 0x00, 0xB3,
         // chassis area, byte 40
         0x01, 0x02,                   // version, 2 x 8 bytes
         0x17,                         // type 23, rack mount
         0xC4, 'C', 'H', '-', '1',     // part number: nobody reads it
         0xC4, 'S', '-', '9', '9',     // serial number: nobody reads it
         0xC1, 0x00, 0xC2,
         // product area, byte 56
         0x01, 0x05, 0x19,
         0xC4, 'A', 'c', 'm', 'e', 0xC5, 'M', 'e', 'd', 'i', 'a', 0xC3, 'M', '-', '4', 0xC2, 'V', '2',
         0xC4, '0', '0', '4', '2', 0xC3, 'T', '-', '1', 0xC2, 'F', '1', 0xC2, 'x', 'y', 0xC1, 0x00, 0x00, 0x9B,
     },
     {0, {{"BoardManufacturer", "Acme"}, {"BoardProductName", "Blade"}, {"BoardSerialNumber", "SN1"}, {"BoardPartNumber", "PN1"},
          {"ProductManufacturer", "T-1"}, {"ProductName", "Media"}, {"ProductPartModelNumber", "M-4"}, {"ProductVersion", "V2"},
          {"ProductSerialNumber", "0042"}}, {}},
     {Trace("ParseCommonArea - chassis_offset= 40 board_offset=8 product_offset=56 MR_offset=0"),
      Warning("ParseFRUChassis - l_ChassisPartString=\x07"), Warning("ParseFRUChassis - l_ChassisSNString=\x07"),
      Trace("ParseFRUBoard - l_Board_Manufacturer =Acme len=4"), Trace("ParseFRUProduct - l_Product_Manufacturer =Acme len=4")}},

    {"VendorRecordsOfAnAMCAndAnRTM",
     {
         0x01, 0x00, 0x00, 0x00, 0x00,
         0x01,                         // multirecords at 1 x 8
         0x00, 0xFE,
         // record 0, byte 8
         0xC0,                         // type: the first one of manufacturers
         0x02,                         // record format 2, not the last
         0x16,                         // 22 bytes of data
         0xFE,                         // data checksum: the data sum to 202
         0x2A,                         // C0 + 02 + 16 + FE + 2A = 200
         0x57, 0x01, 0x00,             // manufacturer, least significant byte first
         0x02,                         // kind: AMC
         0x00,
         0x02,                         // two DSPs
         0x01, 0x02, 0x4D, 0x71, 0x00, 0x01, 0x10, 0x00, // type 1, MAC 02:4D:71:00:01:10, unused
         0x02, 0x02, 0x4D, 0x71, 0x00, 0x01, 0x11, 0x00, // type 2, MAC 02:4D:71:00:01:11, unused
         // record 1, byte 35
         0xC0,
         0x82,                         // the last one
         0x08,
         0x9E,                         // the data sum to 62
         0x18,                         // C0 + 82 + 08 + 9E + 18 = 200
         0x57, 0x01, 0x00,
         0x03,                         // kind: RTM
         0x00,
         0x02,                         // two framers
         0x01,                         // type 1
         0x04,                         // four trunks each
     },
     {0, {}, {{0xC0, {0x57, 0x01, 0x00, 0x02, 0x00, 0x02, 0x01, 0x02, 0x4D, 0x71, 0x00, 0x01, 0x10, 0x00,
                      0x02, 0x02, 0x4D, 0x71, 0x00, 0x01, 0x11, 0x00}},
              {0xC0, {0x57, 0x01, 0x00, 0x03, 0x00, 0x02, 0x01, 0x04}}}},
     {Trace("ParseMR Processing MR record 0 offset=0 "), Trace("Byte 0 = 0xc0"), Trace("Byte 1 = 0x2"), Trace("Byte 2 = 0x16"),
      Trace("Byte 3 = 0xfe"), Trace("Byte 4 = 0x2a"), Trace("ParseMR Processing MR record 0 offset=0 len=22"),
      Trace("ParseMR Processing MR record - Header Checksum ok "), Trace("ParseMR Processing MR record - data Checksum ok "),
      Trace("ParseMR Processing MR record 1 offset=27 "), Trace("ParseMR Processing MR record 1 offset=27 No More Records"),
      Trace("ParseMR Processing MR record 1 offset=27 len=8")}},

    {"RecordWithoutDataBeforeAnother",
     {
         0x01, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0xFE,
         0x05, 0x02,                   // type 5, not the last
         0x00,                         // no data
         0x00,                         // whose checksum is 0
         0xF9,                         // 05 + 02 + F9 = 100
         0xD0, 0x82, 0x03,
         0x00,                         // AA + 55 + 01 = 100 already
         0xAB,                         // D0 + 82 + 03 + AB = 200
         0xAA, 0x55, 0x01,
     },
     {0, {}, {{0x05, {}}, {0xD0, {0xAA, 0x55, 0x01}}}},
     {Trace("ParseMR Processing MR record 0 offset=0 len=0"), Trace("ParseMR Processing MR record 1 offset=5 len=3")}},

    {"SecondRecordsHeaderChecksumIsBad",
     {
         0x01, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0xFE,
         0xD0, 0x02, 0x03, 0x00,
         0x2B,                         // D0 + 02 + 03 + 2B = 100
         0xAA, 0x55, 0x01,
         0x02, 0x82, 0x04, 0xF6,
         0x83,                         // one too much: 02 + 82 + 04 + F6 + 83 = 201
         0x01, 0x02, 0x03, 0x04,
     },
     {0, {}, {{0xD0, {0xAA, 0x55, 0x01}}}},
     {Warning("ParseMR Processing MR record 1 offset=8 -- BAD Header Checksum=0x201")}},

    {"FirstRecordsDataChecksumIsBad",
     {
         0x01, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0xFE,
         0x02, 0x02, 0x04,
         0xF6,                         // for data that sum to 0A
         0x02,                         // 02 + 02 + 04 + F6 + 02 = 100
         0x01, 0x02, 0x03, 0x05,       // these sum to 0B: 246 + 11 = 257
         0xD0, 0x82, 0x03, 0x00, 0xAB, 0xAA, 0x55, 0x01, // sound, and not reached
     },
     {0, {}, {}},
     {Trace("ParseMR Processing MR record - Header Checksum ok "),
      Warning("ParseMR Processing MR record 0 offset=0 -- BAD Data Checksum=257")}},

    {"LastRecordIsNotMarkedSo",
     {
         0x01, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0xFE,
         0x02, 0x02, 0x04, 0xF6, 0x02, 0x01, 0x02, 0x03, 0x04,
         // the area ends; the bytes after it are FF, and five of them sum to 4FB
     },
     {0, {}, {{0x02, {0x01, 0x02, 0x03, 0x04}}}},
     {Trace("ParseMR Processing MR record 1 offset=9 No More Records"), Trace("ParseMR Processing MR record 1 offset=9 len=255"),
      Warning("ParseMR Processing MR record 1 offset=9 -- BAD Header Checksum=0x4fb")}},

    {"BoardProductAndRecords",
     {
         0x01, 0x00, 0x00,
         0x01,                         // board area at byte 8
         0x05,                         // product area at byte 40
         0x0A,                         // multirecords at byte 80
         0x00,
         0xEF,                         // 01 + 01 + 05 + 0A + EF = 100
         0x01, 0x04, 0x19, 0x10, 0x27, 0x00,
         0xC4, 'A', 'c', 'm', 'e', 0xC5, 'B', 'l', 'a', 'd', 'e', 0xC3, 'S', 'N', '1', 0xC3, 'P', 'N', '1',
         0xC2, 'F', '1', 0xC1, 0x00, 0x00, 0xB3,
         0x01, 0x05, 0x19,
         0xC4, 'A', 'c', 'm', 'e', 0xC5, 'M', 'e', 'd', 'i', 'a', 0xC3, 'M', '-', '4', 0xC2, 'V', '2',
         0xC4, '0', '0', '4', '2', 0xC3, 'T', '-', '1', 0xC2, 'F', '1', 0xC2, 'x', 'y', 0xC1, 0x00, 0x00, 0x9B,
         0xD0, 0x82, 0x03, 0x00, 0xAB, 0xAA, 0x55, 0x01,
     },
     {0, {{"BoardManufacturer", "Acme"}, {"BoardProductName", "Blade"}, {"BoardSerialNumber", "SN1"}, {"BoardPartNumber", "PN1"},
          {"ProductManufacturer", "T-1"}, {"ProductName", "Media"}, {"ProductPartModelNumber", "M-4"}, {"ProductVersion", "V2"},
          {"ProductSerialNumber", "0042"}}, {{0xD0, {0xAA, 0x55, 0x01}}}},
     {Trace("ParseCommonArea - chassis_offset= 0 board_offset=8 product_offset=40 MR_offset=80")}},

    {"CommonHeadersChecksumIsBad",
     {
         0x01, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00,
         0xFF,                         // one too much: 01 + 01 + FF = 101
         0x01, 0x03, 0x19, 0x00, 0x00, 0x00, 0xC4, 'A', 'c', 'm', 'e', 0xC2, 'B', 'l', 0xC2, 'S', '1', 0xC2, 'P', '1', 0xC1,
     },
     {-2, {}, {}},
     {Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x101"), Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x1 ANDED")}},

    {"PadIsNotZero",
     {
         0x01, 0x00, 0x00, 0x01, 0x00, 0x00,
         0x01,                         // pad
         0xFD,                         // a right checksum does not help: 01 + 01 + 01 + FD = 100
         0x01, 0x03, 0x19, 0x00, 0x00, 0x00, 0xC4, 'A', 'c', 'm', 'e', 0xC2, 'B', 'l', 0xC2, 'S', '1', 0xC2, 'P', '1', 0xC1,
     },
     {-1, {}, {}},
     {Trace("ENTITYCAPTURE :: ParseCommonArea ")}},
};
// clang-format on
