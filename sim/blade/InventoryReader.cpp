// Reads what a blade file says of one inventory area.
#include "sim/blade/InventoryReader.h"

#include "sim/blade/FruImage.h"
#include "sim/blade/HexText.h"
#include "sim/blade/MacText.h"

#include <optional>

namespace BLADESIM {
namespace {

// The vendor records of this system: type of the multirecord, manufacturer, kind and a byte that nobody reads.
constexpr uint8_t g_VendorRecord = 0xC0;
constexpr uint8_t g_KindAMC = 2;
constexpr uint8_t g_KindRTM = 3;
// An AMC record has 6 bytes and 8 for each DSP, and must fit into a multirecord.
constexpr size_t g_MaxDSPs = 31;

std::vector<uint8_t> VendorRecord(uint8_t a_Kind) {
    return {0x57, 0x01, 0x00, a_Kind, 0};
}

std::vector<uint8_t> Bytes(JSON_OBJECT& a_Object, const char* a_Key, const std::string& a_Text, size_t a_Max) {
    const auto l_Bytes = HexBytes(a_Text);
    if (!l_Bytes) a_Object.Fail(a_Key, "expected bytes as pairs of hexadecimal digits with blanks between");
    if (l_Bytes->size() > a_Max) a_Object.Fail(a_Key, "has more than " + std::to_string(a_Max) + " bytes");
    return *l_Bytes;
}

/// UTF-8 to the bytes of an image, ISO 8859-1; nothing when a character has no such byte. The parser has seen to it
/// that no sequence is cut short.
std::optional<std::string> Latin1(const std::string& a_Text) {
    std::string l_Bytes;
    for (size_t l_Index = 0; l_Index < a_Text.size(); ++l_Index) {
        const auto l_Byte = static_cast<unsigned char>(a_Text[l_Index]);
        if (l_Byte < 0x80) {
            l_Bytes += a_Text[l_Index];
        } else if ((l_Byte & 0xFC) == 0xC0) { // two bytes, U+0080 to U+00FF
            l_Bytes += static_cast<char>((l_Byte << 6) | (a_Text[++l_Index] & 0x3F));
        } else {
            return std::nullopt;
        }
    }
    return l_Bytes;
}

std::string FruText(JSON_OBJECT& a_Object, const char* a_Key) {
    const auto l_Text = Latin1(a_Object.Text(a_Key));
    if (!l_Text) a_Object.Fail(a_Key, "has a character that is not in ISO 8859-1");
    if (l_Text->size() > g_MaxFruText) {
        a_Object.Fail(a_Key, "has " + std::to_string(l_Text->size()) + " characters; a FRU text has 63 at most");
    }
    if (l_Text->size() == 1) {
        a_Object.Fail(a_Key, "has one character, which a FRU text cannot have: none, or two to 63");
    }
    return *l_Text;
}

BOARD_TEXTS ReadBoard(JSON_OBJECT a_Object) {
    BOARD_TEXTS l_Board;
    l_Board.m_Manufacturer = FruText(a_Object, "manufacturer");
    l_Board.m_ProductName = FruText(a_Object, "product_name");
    l_Board.m_SerialNumber = FruText(a_Object, "serial_number");
    l_Board.m_PartNumber = FruText(a_Object, "part_number");
    a_Object.RejectOthers();
    return l_Board;
}

PRODUCT_TEXTS ReadProduct(JSON_OBJECT a_Object) {
    PRODUCT_TEXTS l_Product;
    l_Product.m_Manufacturer = FruText(a_Object, "manufacturer");
    l_Product.m_Name = FruText(a_Object, "name");
    l_Product.m_PartNumber = FruText(a_Object, "part_number");
    l_Product.m_Version = FruText(a_Object, "version");
    l_Product.m_SerialNumber = FruText(a_Object, "serial_number");
    l_Product.m_AssetTag = FruText(a_Object, "asset_tag");
    a_Object.RejectOthers();
    return l_Product;
}

MAC_ADDRESS ReadMac(JSON_OBJECT& a_Object) {
    const auto l_Mac = MacBytes(a_Object.Text("mac"));
    if (!l_Mac) a_Object.Fail("mac", "expected six bytes as in 02:00:5e:10:00:01");
    return *l_Mac;
}

RAW_MULTIRECORD ReadDSPs(JSON_OBJECT& a_Inventory) {
    const auto l_DSPs = a_Inventory.Objects("dsps");
    if (l_DSPs.empty() || l_DSPs.size() > g_MaxDSPs) {
        a_Inventory.Fail("dsps", "expected 1 to " + std::to_string(g_MaxDSPs) + " DSPs, found " +
                                     std::to_string(l_DSPs.size()));
    }
    RAW_MULTIRECORD l_Record{g_VendorRecord, VendorRecord(g_KindAMC)};
    l_Record.m_Data.push_back(static_cast<uint8_t>(l_DSPs.size()));
    for (JSON_OBJECT l_DSP : l_DSPs) {
        l_Record.m_Data.push_back(l_DSP.Byte("type"));
        const auto l_Mac = ReadMac(l_DSP);
        l_Record.m_Data.insert(l_Record.m_Data.end(), l_Mac.begin(), l_Mac.end());
        l_Record.m_Data.push_back(0); // nobody reads it
        l_DSP.RejectOthers();
    }
    return l_Record;
}

RAW_MULTIRECORD ReadFramers(JSON_OBJECT a_Object) {
    RAW_MULTIRECORD l_Record{g_VendorRecord, VendorRecord(g_KindRTM)};
    for (const char* l_Key : {"count", "type", "trunks_per_framer"})
        l_Record.m_Data.push_back(a_Object.Byte(l_Key));
    a_Object.RejectOthers();
    return l_Record;
}

RAW_MULTIRECORD ReadMultiRecord(JSON_OBJECT a_Object) {
    RAW_MULTIRECORD l_Record;
    l_Record.m_Type = a_Object.Byte("type");
    l_Record.m_Data = Bytes(a_Object, "data", a_Object.Text("data"), g_MaxMultiRecord);
    a_Object.RejectOthers();
    return l_Record;
}

BAD_CHECKSUMS ReadBadChecksums(JSON_OBJECT& a_Object) {
    BAD_CHECKSUMS l_Bad;
    for (const std::string& l_Which : a_Object.Texts("bad_checksums")) {
        if (l_Which == "header") {
            l_Bad.m_Header = true;
        } else if (l_Which == "areas") {
            l_Bad.m_Areas = true;
        } else if (l_Which == "record-headers") {
            l_Bad.m_RecordHeaders = true;
        } else if (l_Which == "record-data") {
            l_Bad.m_RecordData = true;
        } else {
            a_Object.Fail("bad_checksums", "expected any of header, areas, record-headers, record-data");
        }
    }
    return l_Bad;
}

/// Lines of bytes, or all in one.
std::vector<uint8_t> ReadRaw(JSON_OBJECT& a_Object) {
    std::string l_Text;
    if (a_Object.HasList("raw")) {
        for (const std::string& l_Line : a_Object.Texts("raw"))
            l_Text += l_Line + " ";
    } else {
        l_Text = a_Object.Text("raw");
    }
    return Bytes(a_Object, "raw", l_Text, g_MaxFruSize);
}

void CheckSize(const JSON_OBJECT& a_Object, INVENTORY a_Inventory) {
    const std::optional<size_t> l_Wanted = a_Inventory.m_Size;
    if (l_Wanted) a_Inventory.m_Size = 0;
    const size_t l_Needed = BuildFruImage(a_Inventory).size();
    if (l_Wanted && *l_Wanted < l_Needed) {
        a_Object.Fail("size", "texts and records need " + std::to_string(l_Needed) + " bytes");
    }
    if (l_Needed > g_MaxFruSize) {
        a_Object.Fail("multirecords", "make an area of " + std::to_string(l_Needed) + " bytes; 65535 are the most");
    }
}

} // namespace

INVENTORY ReadInventory(JSON_OBJECT a_Object) {
    INVENTORY l_Inventory;
    if (a_Object.Has("raw")) {
        l_Inventory.m_Raw = ReadRaw(a_Object);
        a_Object.RejectOthers("cannot stand beside raw, which is the whole image");
        return l_Inventory;
    }
    if (a_Object.Has("board")) l_Inventory.m_Board = ReadBoard(a_Object.Object("board"));
    if (a_Object.Has("product")) l_Inventory.m_Product = ReadProduct(a_Object.Object("product"));
    if (a_Object.Has("dsps")) l_Inventory.m_MultiRecords.push_back(ReadDSPs(a_Object));
    if (a_Object.Has("framers")) l_Inventory.m_MultiRecords.push_back(ReadFramers(a_Object.Object("framers")));
    if (a_Object.Has("multirecords")) {
        for (const JSON_OBJECT& l_Record : a_Object.Objects("multirecords"))
            l_Inventory.m_MultiRecords.push_back(ReadMultiRecord(l_Record));
    }
    if (a_Object.Has("bad_checksums")) l_Inventory.m_BadChecksums = ReadBadChecksums(a_Object);
    if (a_Object.Has("size")) l_Inventory.m_Size = static_cast<size_t>(a_Object.Integer("size", 0, g_MaxFruSize));
    a_Object.RejectOthers();
    CheckSize(a_Object, l_Inventory);
    return l_Inventory;
}

} // namespace BLADESIM
