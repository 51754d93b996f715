// Reads a blade file: JSON, the schema is in docs/bladesim.md.
#include "sim/blade/BladeFile.h"

#include "sim/base/JsonReader.h"
#include "sim/blade/BoardReader.h"
#include "sim/blade/FaultReader.h"
#include "sim/blade/HexText.h"
#include "sim/blade/InventoryReader.h"
#include "sim/blade/LedColors.h"

#include <algorithm>
#include <filesystem>

namespace BLADESIM {
namespace {

constexpr int64_t g_MaxByte = 0xFF;
// In PICMG commands 0xFF stands for all LEDs, and for no FRU.
constexpr int64_t g_MaxId = 0xFE;

// The LEDs that every FRU may have, in their usual colours.
constexpr LED_COLOR g_UsualColors[] = {LED_COLOR::BLUE, LED_COLOR::RED, LED_COLOR::GREEN, LED_COLOR::AMBER};

uint8_t ColorBit(LED_COLOR a_Color) {
    return static_cast<uint8_t>(1U << static_cast<unsigned>(a_Color));
}

/// The id of the next item of a list in which ids rise.
uint8_t RisingId(JSON_OBJECT& a_Object, int a_Before) {
    const auto l_Id = static_cast<uint8_t>(a_Object.Integer("id", 0, g_MaxId));
    if (l_Id <= a_Before) a_Object.Fail("id", "expected more than " + std::to_string(a_Before) + ", the id before it");
    return l_Id;
}

std::array<uint8_t, 4> ReadAuxiliary(JSON_OBJECT& a_Object) {
    std::array<uint8_t, 4> l_Auxiliary{};
    const auto l_Bytes = HexBytes(a_Object.Text("auxiliary_firmware"));
    if (!l_Bytes || l_Bytes->size() != l_Auxiliary.size()) {
        a_Object.Fail("auxiliary_firmware", "expected four bytes as pairs of hexadecimal digits with blanks between");
    }
    std::copy(l_Bytes->begin(), l_Bytes->end(), l_Auxiliary.begin());
    return l_Auxiliary;
}

CONTROLLER ReadController(JSON_OBJECT a_Object) {
    CONTROLLER l_Controller;
    l_Controller.m_Address = a_Object.Byte("address");
    if (l_Controller.m_Address % 2 != 0 || l_Controller.m_Address == 0) {
        a_Object.Fail("address", "expected an IPMB address, which is even and not 0");
    }
    l_Controller.m_DeviceId = a_Object.Byte("device_id");
    l_Controller.m_DeviceRevision = static_cast<uint8_t>(a_Object.Integer("device_revision", 0, 0x0F));
    l_Controller.m_ManufacturerId = static_cast<uint32_t>(a_Object.Integer("manufacturer_id", 0, 0xFFFFF));
    l_Controller.m_ProductId = static_cast<uint16_t>(a_Object.Integer("product_id", 0, 0xFFFF));
    JSON_OBJECT l_Firmware = a_Object.Object("firmware");
    l_Controller.m_FirmwareMajor = static_cast<uint8_t>(l_Firmware.Integer("major", 0, 0x7F));
    l_Controller.m_FirmwareMinor = l_Firmware.Byte("minor");
    l_Firmware.RejectOthers();
    if (a_Object.Has("auxiliary_firmware")) l_Controller.m_AuxiliaryFirmware = ReadAuxiliary(a_Object);
    l_Controller.m_PICMG = a_Object.Boolean("picmg", l_Controller.m_PICMG);
    a_Object.RejectOthers();
    return l_Controller;
}

SITE ReadSite(JSON_OBJECT a_Object, const CONTROLLER& a_Controller) {
    SITE l_Site;
    const int l_Own = a_Controller.m_Address / 2;
    l_Site.m_HardwareAddress = static_cast<uint8_t>(a_Object.Integer("hardware_address", 0, g_MaxByte, l_Own));
    if (l_Site.m_HardwareAddress != l_Own) {
        a_Object.Fail("hardware_address", "expected " + std::to_string(l_Own) + ", half of controller.address, found " +
                                              std::to_string(l_Site.m_HardwareAddress));
    }
    l_Site.m_Type = a_Object.Byte("type");
    l_Site.m_Number = a_Object.Byte("number");
    a_Object.RejectOthers();
    return l_Site;
}

LED_COLOR ReadColor(const JSON_OBJECT& a_Object, const char* a_Key, const std::string& a_Name) {
    const auto* const l_Found = std::find_if(std::begin(g_LedColors), std::end(g_LedColors),
                                             [&](const LED_COLOR_TEXT& a_Color) { return a_Color.m_Name == a_Name; });
    if (l_Found == std::end(g_LedColors)) {
        a_Object.Fail(a_Key, "expected blue, red, green, amber, orange or white, found \"" + a_Name + "\"");
    }
    return l_Found->m_Color;
}

LED_COLOR ReadDefaultColor(JSON_OBJECT& a_Object, const char* a_Key, const LED& a_LED, LED_COLOR a_Default) {
    if (!a_Object.Has(a_Key)) return a_Default;
    const LED_COLOR l_Color = ReadColor(a_Object, a_Key, a_Object.Text(a_Key));
    if ((a_LED.m_Colors & ColorBit(l_Color)) == 0) a_Object.Fail(a_Key, "is not one of the colors of this LED");
    return l_Color;
}

LED ReadLED(JSON_OBJECT a_Object, int a_IdBefore) {
    LED l_LED;
    l_LED.m_Id = RisingId(a_Object, a_IdBefore);
    const auto l_Colors = a_Object.Texts("colors");
    if (l_Colors.empty()) a_Object.Fail("colors", "expected one color at least");
    for (const std::string& l_Name : l_Colors)
        l_LED.m_Colors |= ColorBit(ReadColor(a_Object, "colors", l_Name));
    const LED_COLOR l_First = ReadColor(a_Object, "colors", l_Colors.front());
    l_LED.m_DefaultLocalColor = ReadDefaultColor(a_Object, "local_color", l_LED, l_First);
    l_LED.m_DefaultOverrideColor = ReadDefaultColor(a_Object, "override_color", l_LED, l_First);
    l_LED.m_LocalControl = a_Object.Boolean("local_control", l_LED.m_LocalControl);
    a_Object.RejectOthers();
    return l_LED;
}

/// A list of LEDs, or how many of the usual ones there are.
std::vector<LED> ReadLEDs(JSON_OBJECT& a_FRU) {
    std::vector<LED> l_LEDs;
    if (a_FRU.HasList("leds")) {
        for (const JSON_OBJECT& l_LED : a_FRU.Objects("leds"))
            l_LEDs.push_back(ReadLED(l_LED, l_LEDs.empty() ? -1 : l_LEDs.back().m_Id));
        return l_LEDs;
    }
    const auto l_Count = static_cast<size_t>(a_FRU.Integer("leds", 0, std::size(g_UsualColors)));
    while (l_LEDs.size() < l_Count) {
        const LED_COLOR l_Color = g_UsualColors[l_LEDs.size()];
        l_LEDs.push_back({static_cast<uint8_t>(l_LEDs.size()), ColorBit(l_Color), l_Color, l_Color, true});
    }
    return l_LEDs;
}

FRU ReadFRU(JSON_OBJECT a_Object, int a_IdBefore, const CONTROLLER& a_Controller) {
    FRU l_FRU;
    l_FRU.m_Id = RisingId(a_Object, a_IdBefore);
    if (a_IdBefore < 0 && l_FRU.m_Id != 0) a_Object.Fail("id", "expected 0, the front board, as the first FRU");
    if (a_Object.Has("description")) a_Object.Text("description");
    l_FRU.m_Site = ReadSite(a_Object.Object("site"), a_Controller);
    l_FRU.m_LEDs = ReadLEDs(a_Object);
    if (a_Object.Has("inventory")) l_FRU.m_Inventory = ReadInventory(a_Object.Object("inventory"));
    a_Object.RejectOthers();
    return l_FRU;
}

} // namespace

BLADE ReadBladeFile(const std::string& a_File) {
    const JSON_FILE l_Json = ReadJsonFile(a_File);
    JSON_OBJECT l_Root(l_Json);
    BLADE l_Blade;
    l_Blade.m_Name = std::filesystem::path(a_File).stem();
    l_Blade.m_File = std::filesystem::absolute(a_File);
    for (const char* l_ForPeople : {"$schema", "description"}) {
        if (l_Root.Has(l_ForPeople)) l_Root.Text(l_ForPeople);
    }
    l_Blade.m_Controller = ReadController(l_Root.Object("controller"));
    for (const JSON_OBJECT& l_FRU : l_Root.Objects("frus")) {
        const int l_IdBefore = l_Blade.m_FRUs.empty() ? -1 : l_Blade.m_FRUs.back().m_Id;
        l_Blade.m_FRUs.push_back(ReadFRU(l_FRU, l_IdBefore, l_Blade.m_Controller));
    }
    if (l_Blade.m_FRUs.empty()) l_Root.Fail("frus", "expected FRU 0, the front board, at least");
    if (l_Root.Has("faults")) {
        for (const JSON_OBJECT& l_Fault : l_Root.Objects("faults"))
            l_Blade.m_Faults.push_back(ReadFault(l_Fault));
    }
    l_Blade.m_Board = ReadBoard(l_Root);
    l_Root.RejectOthers();
    return l_Blade;
}

} // namespace BLADESIM
