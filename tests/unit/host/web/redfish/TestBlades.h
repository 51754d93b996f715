// Blades for tests of the tree: what their resident host tells, and what the web door has itself.
#pragma once

#include "host/picture/PictureParts.h"
#include "host/web/redfish/Reading.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// The row of a module; run status 0 is none.
inline BM_ADAPTOR::CBMIParams ModuleOf(int bay, const std::string& name, int runStatus) {
    auto row = Row(Int(0x30201, bay, true), Text(0x30202, name), Text(0x30203, "Quillon Signal Labs  "),
                   Text(0x30204, "QSA4-100023" + std::to_string(bay)), Text(0x30205, "Rev. B"),
                   Text(0x30206, bay == 2 ? "UnKn" : "1." + std::to_string(bay)), Text(0x30207, ""));
    if (runStatus != 0) row.Add(Int(0x30208, runStatus));
    return row;
}

/// A row of group 0x100 or 0x200.
inline bmhost::LedReading LedAt(int bay, int led, int on, int off, int color, int result = 1) {
    const unsigned group = bay == 0 ? 0x100 : 0x200;
    auto row = Row(Int(group + 1, led, true), Int(group + 2, on), Int(group + 3, off), Int(group + 4, 0),
                   Int(group + 5, 0), Int(group + 0xC, color));
    if (bay != 0) row.Add(Int(0x20D, bay, true));
    return {bay, led, result, row, TimeAt(500)};
}

inline void PutDspsOf(bmhost::Picture& picture, int bay, int count) {
    picture.m_inventory.m_amcs.push_back(Row(Int(0x301, 2), Int(0x302, count), Int(0x303, bay, true)));
    for (int dsp = 1; dsp <= count; ++dsp) {
        const int number = static_cast<int>(picture.m_dsps.size()) + 1;
        picture.m_dsps.push_back({number, bay, dsp, "02:4D:71:00:00:0" + std::to_string(dsp),
                                  "192.168.0." + std::to_string(20 + number), true, false, ""});
    }
}

/// A blade of two AMCs with two DSPs each, and an RTM: all runs.
inline bmhost::Picture SmallBlade() {
    using namespace bmhost;
    Picture picture;
    picture.m_revision = 1;
    picture.m_time = TimeAt(2000);
    picture.m_host = {4711,         TimeAt(1),   "1.0", "/usr/lib/a.so", 1, true, CallOutcome{"init", 1, TimeAt(2), {}},
                      std::nullopt, std::nullopt};
    picture.m_inventory.m_result = 1;
    picture.m_inventory.m_board = {Row(Text(0x30001, "FB-7200 Carrier"), Int(0x30002, 7),
                                       Text(0x30003, "Harrow Blade Works"), Text(0x30004, "FB72-0009917"),
                                       Text(0x30005, "Rev. D1"), Text(0x30006, "2.7"), Text(0x30007, "PN-100"))};
    picture.m_inventory.m_modules = {ModuleOf(3, "QS-AMC4 Media", 4), ModuleOf(6, "QS-AMC4 Media", 4),
                                     ModuleOf(9, "RT-8 Trunks", 4)};
    PutDspsOf(picture, 3, 2);
    PutDspsOf(picture, 6, 2);
    picture.m_inventory.m_rtms = {Row(Int(0x401, 1), Int(0x402, 2), Int(0x403, 4))};
    picture.m_leds = {LedAt(0, 1, 0, 1, 0), LedAt(0, 2, 1, 0, 2), LedAt(0, 4, 1, 0, 5, -1), LedAt(3, 3, 20, 125, 3)};
    picture.m_ports = {{1, "Switch Port Fabric 1", "fabric", true, true, false, ""},
                       {2, "Switch Port Fabric 2", "fabric", false, false, false, ""},
                       {3, "Switch Port RTM 1", "RTM", true, std::nullopt, false, ""}};
    picture.m_health = {HealthState::Monitored, TimeAt(5), {}};
    picture.m_controller = {Controller::State::Answers, TimeAt(6), 3};
    picture.m_upgrades = {{1, 3, 2, TimeAt(100), TimeAt(900), "amc.bin", "00ff", "1.2", "1.3", "uid 0"},
                          {0, 0, 3, TimeAt(1000), TimeAt(1100), "board.bin", "00ff", "2.6", "", "uid 0"}};
    return picture;
}

/// Every bay has what is possible, with an upgrade under way.
inline bmhost::Picture BigBlade() {
    bmhost::Picture picture = SmallBlade();
    picture.m_inventory.m_modules.clear();
    picture.m_inventory.m_amcs.clear();
    picture.m_dsps.clear();
    for (int bay = 9; bay >= 1; --bay)
        picture.m_inventory.m_modules.push_back(ModuleOf(bay, "Module", 1 + bay % 6));
    for (int bay = 1; bay <= 8; ++bay) {
        PutDspsOf(picture, bay, 4);
        for (int led = 1; led <= 4; ++led)
            picture.m_leds.push_back(LedAt(bay, led, led == 2 ? 0 : 1, led == 2 ? 1 : 0, 1 + led));
    }
    for (int i = 0; i < 70; ++i)
        picture.m_upgrades.push_back({1, 1 + i % 8, 2 + i % 2, TimeAt(2000 + i), TimeAt(9000 + i), "", "", "", "", ""});
    picture.m_upgrades.push_back({1, 5, 0, TimeAt(99000), std::nullopt, "new.bin", "", "", "", ""});
    return picture;
}

/// Nothing but a blade whose hardware says odd things.
inline bmhost::Picture HostileBlade() {
    bmhost::Picture picture = SmallBlade();
    picture.m_inventory.m_board = {
        Row(Text(0x30001, "<b>\"\x01\xE9\x7F\n"), Text(0x30003, "   "), Text(0x30004, ""), Text(0x30006, "UnKn"))};
    picture.m_inventory.m_modules = {ModuleOf(3, "\xFF\x80", 77), ModuleOf(3, "again", 4),
                                     ModuleOf(0, "none", 4),      ModuleOf(10, "none", 4),
                                     ModuleOf(2, "", 0),          Row(Text(0x30202, "no bay"))};
    picture.m_inventory.m_amcs = {Row(Text(0x301, "2"), Text(0x302, "x"), Text(0x303, "3"))};
    picture.m_inventory.m_rtms = {Row(Text(0x401, "T1"), Text(0x402, "2"))};
    picture.m_dsps = {{1, 3, 1, "not an address", "", true, false, ""},
                      {2, 8, 1, "", "10.0.0.1", false, false, "?"},
                      {3, 3, 1, "02:4D:71:00:00:01", "1.2.3.4", true, false, ""}};
    picture.m_ports = {{1, "", "", std::nullopt, std::nullopt, false, "state 7"}};
    picture.m_source = {bmhost::Source::Kind::NoPermission, "/dev/ipmi0: Permission denied \xB0"};
    picture.m_health = {bmhost::HealthState::Fault, TimeAt(5), {"temperature \xB0"}};
    picture.m_upgrades = {{1, 3, 0, TimeAt(7), TimeAt(8), "ima\xC3\xA9ge\xFF.bin", "", "", "", ""}};
    return picture;
}

/// An adaptor that looks only: the storage knows addresses and ports, the adaptor serves none.
inline bmhost::Picture LookedAtBlade() {
    bmhost::Picture picture = SmallBlade();
    picture.m_host.m_mode = 2;
    for (bmhost::DspFacts& dsp : picture.m_dsps)
        dsp.m_stored = true;
    for (bmhost::PortFacts& port : picture.m_ports)
        port.m_stored = true;
    return picture;
}

/// Nothing in any table.
inline bmhost::Picture BareBlade() {
    bmhost::Picture picture;
    picture.m_host.m_init = bmhost::CallOutcome{"init", 0, TimeAt(2), {}};
    return picture;
}

/// A picture and the facts that show it.
class ShownBlade {
public:
    explicit ShownBlade(const bmhost::Picture& picture)
        : m_view{std::make_shared<const bmhost::Picture>(picture), true, TimeAt(3), "", 12} {
        m_facts.m_now = TimeAt(3000);
        m_facts.m_uuid = "6ba7b810-9dad-41d1-80b4-00c04fd430c8";
        m_facts.m_version = "1.0";
        m_facts.m_mostImageBytes = 536870912;
        m_facts.m_roles = {
            {"Administrator", {"Login", "ConfigureManager", "ConfigureUsers", "ConfigureSelf", "ConfigureComponents"}},
            {"Operator", {"Login", "ConfigureSelf", "ConfigureComponents"}},
            {"ReadOnly", {"Login", "ConfigureSelf"}}};
        m_facts.m_accounts = {{"root", "Administrator", false}, {"guest", "ReadOnly", true}};
        m_facts.m_sessions = {{"7f", "root", "192.0.2.1", TimeAt(10)}, {"80", "guest", "", TimeAt(20)}};
        m_facts.m_subscriptions = {{"1", "root", "192.0.2.1"}, {"2", "", ""}};
    }
    ShownBlade(const ShownBlade&) = delete;
    ShownBlade& operator=(const ShownBlade&) = delete;

    /// Null where there is no such resource.
    nlohmann::ordered_json At(const std::string& path) const {
        return bmhost::ResourceAt(m_facts, path).value_or(nullptr);
    }
    bmhost::RedfishAnswer Get(const std::string& path) const { return bmhost::Read(m_facts, {"GET", path}); }

    bmhost::BladeView m_view;
    bmhost::TreeFacts m_facts{m_view};
};

/// The answer's body; null for one that is no JSON.
inline nlohmann::ordered_json BodyOf(const bmhost::RedfishAnswer& answer) {
    const auto body = nlohmann::ordered_json::parse(answer.m_body, nullptr, false);
    return body.is_discarded() ? nlohmann::ordered_json() : body;
}

/// The keys of the answer's messages, with their arguments: "PropertyUnknown(Colour)".
inline std::vector<std::string> MessagesOf(const bmhost::RedfishAnswer& answer) {
    const nlohmann::ordered_json body = BodyOf(answer);
    const auto none = nlohmann::ordered_json::array();
    std::vector<std::string> texts;
    if (!body.is_object()) return texts;
    const auto messages = body.value("error", body).value("@Message.ExtendedInfo", none);
    for (const auto& message : messages) {
        const auto id = message["MessageId"].get<std::string>();
        std::string text = id.substr(id.rfind('.') + 1);
        for (std::size_t i = 0; i < message["MessageArgs"].size(); ++i)
            text += (i == 0 ? "(" : ", ") + message["MessageArgs"][i].get<std::string>();
        texts.push_back(text + (message["MessageArgs"].empty() ? "" : ")"));
    }
    return texts;
}

inline nlohmann::ordered_json Json(const char* text) {
    return nlohmann::ordered_json::parse(text);
}
