// The text of a blade file.
#include "sim/capture/BladeText.h"

#include "sim/blade/FaultKinds.h"
#include "sim/blade/FruImage.h"
#include "sim/blade/HexText.h"
#include "sim/blade/LedColors.h"

#include <arpa/inet.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <span>

namespace bladesim {
namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr size_t BytesOfLine = 16;

std::string HexNumber(unsigned number, int digits) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%0*x", digits, number);
    return text.data();
}

OrderedJson ControllerJson(const Controller& controller) {
    OrderedJson object = {{"address", HexNumber(controller.m_address, 2)},
                          {"device_id", HexNumber(controller.m_deviceId, 2)},
                          {"device_revision", controller.m_deviceRevision},
                          {"manufacturer_id", controller.m_manufacturerId},
                          {"product_id", HexNumber(controller.m_productId, 4)},
                          {"firmware", {{"major", controller.m_firmwareMajor}, {"minor", controller.m_firmwareMinor}}}};
    if (controller.m_auxiliaryFirmware) object["auxiliary_firmware"] = HexText(*controller.m_auxiliaryFirmware);
    if (!controller.m_picmg) object["picmg"] = false;
    return object;
}

OrderedJson ActionJson(const LedAction& action) {
    return {{"function", HexNumber(action.m_function, 2)},
            {"on_duration", action.m_onDuration},
            {"color", LEDColorName(action.m_color)}};
}

OrderedJson LedJson(const Led& led) {
    OrderedJson colors = OrderedJson::array();
    for (const LedColorText& color : LedColors) {
        if ((led.m_colors >> static_cast<unsigned>(color.m_color) & 1) != 0) colors.push_back(color.m_name);
    }
    OrderedJson object = {{"id", led.m_id},
                          {"colors", colors},
                          {"local_color", LEDColorName(led.m_defaultLocalColor)},
                          {"override_color", LEDColorName(led.m_defaultOverrideColor)}};
    if (!led.m_localControl) object["local_control"] = false;
    if (led.m_local) object["local_state"] = ActionJson(*led.m_local);
    if (led.m_override) object["override_state"] = ActionJson(*led.m_override);
    return object;
}

OrderedJson ImageJson(const std::vector<uint8_t>& image) {
    OrderedJson lines = OrderedJson::array();
    for (std::span<const uint8_t> rest = image; !rest.empty();) {
        const auto line = rest.first(std::min(rest.size(), BytesOfLine));
        lines.push_back(HexText(line));
        rest = rest.subspan(line.size());
    }
    return lines;
}

OrderedJson FruJson(const Fru& fru) {
    OrderedJson object = {{"id", fru.m_id},
                          {"site", {{"type", fru.m_site.m_type}, {"number", fru.m_site.m_number}}},
                          {"leds", OrderedJson::array()}};
    for (const Led& led : fru.m_leds)
        object["leds"].push_back(LedJson(led));
    if (fru.m_inventory) object["inventory"]["raw"] = ImageJson(BuildFruImage(*fru.m_inventory));
    return object;
}

OrderedJson FaultJson(const Fault& fault) {
    std::string request;
    for (const auto& byte : fault.m_request)
        request += (request.empty() ? "" : " ") + (byte ? HexText(std::array{*byte}) : "??");
    const auto* const kind = std::ranges::find(FaultKinds, fault.m_kind, &FaultKindText::m_kind);
    OrderedJson object = {
        {"request", request}, {"first", fault.m_first}, {"count", fault.m_count}, {"do", kind->m_name}};
    if (kind->m_maxArgument) object["argument"] = fault.m_argument;
    if (fault.m_kind == FaultKind::Reply) object["reply"] = HexText(fault.m_reply);
    return object;
}

std::string AddressText(const in_addr& address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    ::inet_ntop(AF_INET, &address, text.data(), text.size());
    return text.data();
}

std::string MacText(const MacAddress& mac) {
    std::string text = HexText(mac);
    std::ranges::replace(text, ' ', ':');
    return text;
}

OrderedJson InterfaceJson(const EthernetInterface& interface) {
    OrderedJson object = {{"name", interface.m_name}, {"mac", MacText(interface.m_mac)}};
    if (interface.m_address) {
        object["address"] = AddressText(interface.m_address->m_address);
        object["mask"] = AddressText(interface.m_address->m_mask);
    }
    return object;
}

void AddBoard(OrderedJson& object, const Board& board) {
    for (const EthernetInterface& interface : board.m_interfaces)
        object["ethernet"]["interfaces"].push_back(InterfaceJson(interface));
    if (board.m_driverFile) object["pstn_driver"]["present"] = true;
}

} // namespace

std::string BladeText(const Blade& blade, const std::string& description) {
    OrderedJson object = {{"description", description}, {"controller", ControllerJson(blade.m_controller)}};
    AddBoard(object, blade.m_board);
    for (const Fru& fru : blade.m_frus)
        object["frus"].push_back(FruJson(fru));
    if (blade.m_sdrs) {
        object["sdrs"] = OrderedJson::array();
        for (const auto& record : *blade.m_sdrs)
            object["sdrs"].push_back(HexText(record));
    }
    for (const auto& [request, reply] : blade.m_replies)
        object["replies"].push_back({{"request", HexText(request)}, {"reply", HexText(reply)}});
    for (const Fault& fault : blade.m_faults)
        object["faults"].push_back(FaultJson(fault));
    return object.dump(2) + "\n";
}

} // namespace bladesim
