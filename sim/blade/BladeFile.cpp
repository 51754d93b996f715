// Reads a blade file: JSON, the schema is in docs/bladesim.md.
#include "sim/blade/BladeFile.h"

#include "sim/base/JsonReader.h"
#include "sim/blade/BoardReader.h"
#include "sim/blade/FaultReader.h"
#include "sim/blade/HexText.h"
#include "sim/blade/InventoryReader.h"
#include "sim/blade/LedColors.h"
#include "sim/blade/ReplyReader.h"

#include <algorithm>
#include <filesystem>

namespace bladesim {
namespace {

constexpr int64_t MaxByte = 0xFF;
// In PICMG commands 0xFF means all LEDs, and no FRU.
constexpr int64_t MaxId = 0xFE;

uint8_t ColorBit(LedColor color) {
    return static_cast<uint8_t>(1U << static_cast<unsigned>(color));
}

/// The id of a list's next item; ids must rise.
uint8_t RisingId(JsonObject& object, int before) {
    const auto id = static_cast<uint8_t>(object.Integer("id", 0, MaxId));
    if (id <= before) object.Fail("id", "expected more than " + std::to_string(before) + ", the id before it");
    return id;
}

std::array<uint8_t, 4> ReadAuxiliary(JsonObject& object) {
    std::array<uint8_t, 4> auxiliary{};
    const auto bytes = HexBytes(object.Text("auxiliary_firmware"));
    if (!bytes || bytes->size() != auxiliary.size()) {
        object.Fail("auxiliary_firmware", "expected four bytes as pairs of hexadecimal digits with blanks between");
    }
    std::copy(bytes->begin(), bytes->end(), auxiliary.begin());
    return auxiliary;
}

Controller ReadController(JsonObject object) {
    Controller controller;
    controller.m_address = object.Byte("address");
    if (controller.m_address % 2 != 0 || controller.m_address == 0) {
        object.Fail("address", "expected an IPMB address, which is even and not 0");
    }
    controller.m_deviceId = object.Byte("device_id");
    controller.m_deviceRevision = static_cast<uint8_t>(object.Integer("device_revision", 0, 0x0F));
    controller.m_manufacturerId = static_cast<uint32_t>(object.Integer("manufacturer_id", 0, 0xFFFFF));
    controller.m_productId = static_cast<uint16_t>(object.Integer("product_id", 0, 0xFFFF));
    JsonObject firmware = object.Object("firmware");
    controller.m_firmwareMajor = static_cast<uint8_t>(firmware.Integer("major", 0, 0x7F));
    controller.m_firmwareMinor = firmware.Byte("minor");
    firmware.RejectOthers();
    if (object.Has("auxiliary_firmware")) controller.m_auxiliaryFirmware = ReadAuxiliary(object);
    controller.m_picmg = object.Boolean("picmg", controller.m_picmg);
    object.RejectOthers();
    return controller;
}

Site ReadSite(JsonObject object, const Controller& controller) {
    Site site;
    const int own = controller.m_address / 2;
    site.m_hardwareAddress = static_cast<uint8_t>(object.Integer("hardware_address", 0, MaxByte, own));
    if (site.m_hardwareAddress != own) {
        object.Fail("hardware_address", "expected " + std::to_string(own) + ", half of controller.address, found " +
                                            std::to_string(site.m_hardwareAddress));
    }
    site.m_type = object.Byte("type");
    site.m_number = object.Byte("number");
    object.RejectOthers();
    return site;
}

LedColor ReadColor(const JsonObject& object, const char* key, const std::string& name) {
    const auto* const found = std::find_if(std::begin(LedColors), std::end(LedColors),
                                           [&](const LedColorText& color) { return color.m_name == name; });
    if (found == std::end(LedColors)) {
        object.Fail(key, "expected blue, red, green, amber, orange or white, found \"" + name + "\"");
    }
    return found->m_color;
}

LedColor ReadDefaultColor(JsonObject& object, const char* key, const Led& led, LedColor fallback) {
    if (!object.Has(key)) return fallback;
    const LedColor color = ReadColor(object, key, object.Text(key));
    if ((led.m_colors & ColorBit(color)) == 0) object.Fail(key, "is not one of the colors of this LED");
    return color;
}

/// What an LED does from the beginning.
LedAction ReadAction(JsonObject object, const Led& led) {
    LedAction action;
    action.m_function = object.Byte("function");
    action.m_onDuration = object.Byte("on_duration");
    action.m_color = ReadDefaultColor(object, "color", led, led.m_defaultLocalColor);
    object.RejectOthers();
    return action;
}

Led ReadLED(JsonObject object, int idBefore) {
    Led led;
    led.m_id = RisingId(object, idBefore);
    const auto colors = object.Texts("colors");
    if (colors.empty()) object.Fail("colors", "expected one color at least");
    for (const std::string& name : colors)
        led.m_colors |= ColorBit(ReadColor(object, "colors", name));
    const LedColor first = ReadColor(object, "colors", colors.front());
    led.m_defaultLocalColor = ReadDefaultColor(object, "local_color", led, first);
    led.m_defaultOverrideColor = ReadDefaultColor(object, "override_color", led, first);
    led.m_localControl = object.Boolean("local_control", led.m_localControl);
    if (object.Has("local_state")) led.m_local = ReadAction(object.Object("local_state"), led);
    if (object.Has("override_state")) led.m_override = ReadAction(object.Object("override_state"), led);
    object.RejectOthers();
    return led;
}

/// A list of LEDs, or how many of the usual ones there are.
std::vector<Led> ReadLEDs(JsonObject& fru) {
    std::vector<Led> leds;
    if (fru.HasList("leds")) {
        for (const JsonObject& led : fru.Objects("leds"))
            leds.push_back(ReadLED(led, leds.empty() ? -1 : leds.back().m_id));
        return leds;
    }
    const auto count = static_cast<size_t>(fru.Integer("leds", 0, std::size(UsualLedColors)));
    while (leds.size() < count) {
        const LedColor color = UsualLedColors[leds.size()];
        leds.push_back({static_cast<uint8_t>(leds.size()), ColorBit(color), color, color, true});
    }
    return leds;
}

Fru ReadFRU(JsonObject object, int idBefore, const Controller& controller) {
    Fru fru;
    fru.m_id = RisingId(object, idBefore);
    if (idBefore < 0 && fru.m_id != 0) object.Fail("id", "expected 0, the front board, as the first FRU");
    if (object.Has("description")) object.Text("description");
    fru.m_site = ReadSite(object.Object("site"), controller);
    fru.m_leds = ReadLEDs(object);
    if (object.Has("inventory")) fru.m_inventory = ReadInventory(object.Object("inventory"));
    object.RejectOthers();
    return fru;
}

} // namespace

Blade ReadBladeFile(const std::string& file) {
    const JsonFile json = ReadJsonFile(file);
    JsonObject root(json);
    Blade blade;
    blade.m_name = std::filesystem::path(file).stem();
    blade.m_file = std::filesystem::absolute(file);
    if (root.Has("$schema")) root.Text("$schema");
    if (root.Has("description")) blade.m_description = root.Text("description");
    blade.m_controller = ReadController(root.Object("controller"));
    for (const JsonObject& fru : root.Objects("frus")) {
        const int idBefore = blade.m_frus.empty() ? -1 : blade.m_frus.back().m_id;
        blade.m_frus.push_back(ReadFRU(fru, idBefore, blade.m_controller));
    }
    if (blade.m_frus.empty()) root.Fail("frus", "expected FRU 0, the front board, at least");
    if (root.Has("faults")) {
        for (const JsonObject& fault : root.Objects("faults"))
            blade.m_faults.push_back(ReadFault(fault));
    }
    if (root.Has("sdrs")) blade.m_sdrs = ReadRecords(root);
    if (root.Has("replies")) blade.m_replies = ReadReplies(root);
    blade.m_board = ReadBoard(root);
    root.RejectOthers();
    return blade;
}

} // namespace bladesim
