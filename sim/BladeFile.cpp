// Reads a blade file: JSON, the schema is in docs/bladesim.md.
#include "sim/BladeFile.h"

#include "sim/FruImage.h"
#include "sim/JsonReader.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <optional>
#include <sstream>

namespace BLADESIM {
namespace {

constexpr int64_t g_MaxByte = 0xFF;
// The controller knows FRU 0 only, and at least the two LEDs that every board has.
constexpr int64_t g_MinLEDs = 2;
constexpr int64_t g_MaxLEDs = 4;

uint8_t Byte(JSON_OBJECT& a_Object, const char* a_Key) {
    return static_cast<uint8_t>(a_Object.Integer(a_Key, 0, g_MaxByte));
}

/// UTF-8 to the bytes of an image, ISO 8859-1; nothing when a character has no such byte.
std::optional<std::string> Latin1(const std::string& a_Text) {
    std::string l_Bytes;
    for (size_t l_Index = 0; l_Index < a_Text.size(); ++l_Index) {
        const auto l_Byte = static_cast<unsigned char>(a_Text[l_Index]);
        if (l_Byte < 0x80) {
            l_Bytes += a_Text[l_Index];
        } else if ((l_Byte & 0xFC) ==
                   0xC0) { // two bytes, U+0080 to U+00FF; the parser saw to it that the second is there
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
    if (l_Text->size() == 1)
        a_Object.Fail(a_Key, "has one character, which a FRU text cannot have: none, or two to 63");
    return *l_Text;
}

CONTROLLER ReadController(JSON_OBJECT a_Object) {
    CONTROLLER l_Controller;
    l_Controller.m_Address = Byte(a_Object, "address");
    if (l_Controller.m_Address % 2 != 0 || l_Controller.m_Address == 0) {
        a_Object.Fail("address", "expected an IPMB address, which is even and not 0");
    }
    l_Controller.m_DeviceId = Byte(a_Object, "device_id");
    l_Controller.m_DeviceRevision = static_cast<uint8_t>(a_Object.Integer("device_revision", 0, 0x0F));
    l_Controller.m_ManufacturerId = static_cast<uint32_t>(a_Object.Integer("manufacturer_id", 0, 0xFFFFF));
    l_Controller.m_ProductId = static_cast<uint16_t>(a_Object.Integer("product_id", 0, 0xFFFF));
    JSON_OBJECT l_Firmware = a_Object.Object("firmware");
    l_Controller.m_FirmwareMajor = static_cast<uint8_t>(l_Firmware.Integer("major", 0, 0x7F));
    l_Controller.m_FirmwareMinor = Byte(l_Firmware, "minor");
    l_Firmware.RejectOthers();
    a_Object.RejectOthers();
    return l_Controller;
}

SITE ReadSite(JSON_OBJECT a_Object, const CONTROLLER& a_Controller) {
    SITE l_Site;
    l_Site.m_HardwareAddress = Byte(a_Object, "hardware_address");
    if (l_Site.m_HardwareAddress * 2 != a_Controller.m_Address) {
        a_Object.Fail("hardware_address", "expected " + std::to_string(a_Controller.m_Address / 2) +
                                              ", half of controller.address, found " +
                                              std::to_string(l_Site.m_HardwareAddress));
    }
    l_Site.m_Type = Byte(a_Object, "type");
    l_Site.m_Number = Byte(a_Object, "number");
    a_Object.RejectOthers();
    return l_Site;
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

std::vector<uint8_t> HexBytes(JSON_OBJECT& a_Object, const char* a_Key) {
    constexpr char l_Digits[] = "0123456789abcdefABCDEF";
    std::istringstream l_Text(a_Object.Text(a_Key));
    std::vector<uint8_t> l_Bytes;
    for (std::string l_Word; l_Text >> l_Word;) {
        if (l_Word.size() != 2 || l_Word.find_first_not_of(l_Digits) != std::string::npos) {
            a_Object.Fail(a_Key, "expected bytes as pairs of hexadecimal digits with blanks between, found \"" +
                                     l_Word + "\"");
        }
        l_Bytes.push_back(static_cast<uint8_t>(std::stoul(l_Word, nullptr, 16)));
    }
    if (l_Bytes.size() > g_MaxMultiRecord) a_Object.Fail(a_Key, "has more than 255 bytes");
    return l_Bytes;
}

RAW_MULTIRECORD ReadMultiRecord(JSON_OBJECT a_Object) {
    RAW_MULTIRECORD l_Record;
    l_Record.m_Type = Byte(a_Object, "type");
    l_Record.m_Data = HexBytes(a_Object, "data");
    a_Object.RejectOthers();
    return l_Record;
}

FRU ReadFRU(JSON_OBJECT a_Object, const CONTROLLER& a_Controller) {
    FRU l_FRU;
    l_FRU.m_Id = static_cast<uint8_t>(a_Object.Integer("id", 0, 0));
    l_FRU.m_Site = ReadSite(a_Object.Object("site"), a_Controller);
    l_FRU.m_LEDs = static_cast<uint8_t>(a_Object.Integer("leds", g_MinLEDs, g_MaxLEDs));
    l_FRU.m_Board = ReadBoard(a_Object.Object("board"));
    l_FRU.m_Product = ReadProduct(a_Object.Object("product"));
    if (a_Object.Has("multirecords")) {
        for (const auto& l_Record : a_Object.Objects("multirecords")) {
            l_FRU.m_MultiRecords.push_back(ReadMultiRecord(l_Record));
        }
    }
    a_Object.RejectOthers();
    return l_FRU;
}

} // namespace

BLADE ReadBladeFile(const std::string& a_File) {
    const auto l_Json = ReadJsonFile(a_File);
    JSON_OBJECT l_Root(a_File, {}, l_Json);
    BLADE l_Blade;
    l_Blade.m_Name = std::filesystem::path(a_File).stem();
    if (l_Root.Has("description")) l_Root.Text("description");
    l_Blade.m_Controller = ReadController(l_Root.Object("controller"));
    for (const auto& l_FRU : l_Root.Objects("frus")) {
        l_Blade.m_FRUs.push_back(ReadFRU(l_FRU, l_Blade.m_Controller));
    }
    if (l_Blade.m_FRUs.size() != 1) {
        l_Root.Fail("frus", "expected one FRU, the front board; found " + std::to_string(l_Blade.m_FRUs.size()));
    }
    l_Root.RejectOthers();
    return l_Blade;
}

} // namespace BLADESIM
