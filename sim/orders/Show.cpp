// What bladesim shows of a running blade, as text for people.
#include "sim/orders/Show.h"

#include "bm_dev/Table.h"

#include <cstdio>

namespace bladesim {
namespace {

using nlohmann::json;
using Rows = bm_dev::TableRows;

std::string Hex(const json& byte) {
    char text[8];
    std::snprintf(text, sizeof(text), "0x%02x", byte.get<unsigned>());
    return text;
}

/// A text as it is, anything else as JSON; empty when it is missing.
std::string Text(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) return "";
    return found->is_string() ? found->get<std::string>() : found->dump();
}

struct Color {
    const char* m_name;
    const char* m_escape;
};

constexpr Color Colors[] = {{"blue", "94"},        {"red", "91"},          {"green", "92"},
                            {"amber", "38;5;214"}, {"orange", "38;5;202"}, {"white", "97"}};

const char* EscapeOf(const std::string& color) {
    for (const Color& known : Colors) {
        if (color == known.m_name) return known.m_escape;
    }
    return nullptr;
}

/// A lamp as it looks: filled, empty, or half and half with its times.
bm_dev::Cell Lamp(const json& led) {
    const std::string state = Text(led, "state");
    if (state == "off") return {"○ off"};
    const std::string blink = " blink " + Text(led, "on_ms") + "/" + Text(led, "off_ms") + " ms";
    return {state == "blink" ? "◐" + blink : "● " + state, EscapeOf(Text(led, "color"))};
}

std::string ModeOf(const json& led) {
    const std::string mode = Text(led, "mode");
    return mode == "lamp-test" ? mode + ", " + Text(led, "lamp_test_left_ms") + " ms left" : mode;
}

std::string SiteOf(const json& led) {
    return Text(led, "site") + " " + Text(led, "number");
}

/// FRU Control's options in PICMG 3.0.
std::string ControlOption(const json& option) {
    static constexpr const char* names[] = {"cold reset", "warm reset", "graceful reboot", "diagnostic interrupt",
                                            "quiesce"};
    const auto number = option.get<size_t>();
    return Hex(option) + (number < std::size(names) ? std::string(" ") + names[number] : "");
}

/// What a fault does, as in an order.
std::string DeedOf(const json& fault) {
    std::string deed = Text(fault, "do");
    if (fault.contains("reply")) return deed + " " + Text(fault, "reply");
    if (!fault.contains("argument")) return deed;
    return deed + " " + (deed == "completion-code" ? Hex(fault["argument"]) : Text(fault, "argument"));
}

std::string EndOf(const json& entry) {
    const std::string code = entry.at("code").is_null() ? "no answer" : Hex(entry["code"]);
    return code + (entry.contains("dropped") ? ", dropped " + Text(entry, "dropped") : "");
}

} // namespace

std::string FormatRequests(const json& requests) {
    Rows rows{{{"NETFN"}, {"CMD"}, {"COUNT"}, {"COMMAND"}}};
    for (const json& row : requests)
        rows.push_back({{Hex(row.at("netfn"))}, {Hex(row.at("command"))}, {Text(row, "count")}, {Text(row, "name")}});
    return bm_dev::FormatTable(rows, false);
}

std::string FormatLog(const json& log) {
    Rows rows{{{"NUMBER"}, {"OPENER"}, {"CODE"}, {"FAULT"}, {"IPMB"}, {"REQUEST"}}};
    for (const json& entry : log) {
        rows.push_back({{Text(entry, "number")},
                        {Text(entry, "opener")},
                        {EndOf(entry)},
                        {Text(entry, "fault")},
                        {entry.contains("ipmb") ? Hex(entry["ipmb"]) : ""},
                        {Text(entry, "request")}});
    }
    return bm_dev::FormatTable(rows, false);
}

std::string FormatFaults(const json& faults) {
    Rows rows{{{"NUMBER"}, {"FIRST"}, {"COUNT"}, {"SEEN"}, {"HITS"}, {"DO"}, {"REQUEST"}}};
    for (const json& fault : faults) {
        const std::string count = fault.at("count") == 0 ? "all" : Text(fault, "count");
        rows.push_back({{Text(fault, "number")},
                        {Text(fault, "first")},
                        {count},
                        {Text(fault, "seen")},
                        {Text(fault, "hits")},
                        {DeedOf(fault)},
                        {Text(fault, "request")}});
    }
    return bm_dev::FormatTable(rows, false);
}

std::string FormatLeds(const json& leds, bool colors) {
    Rows rows{{{"FRU"}, {"SITE"}, {"LED"}, {"COLOR"}, {"LAMP"}, {"MODE"}}};
    for (const json& led : leds) {
        rows.push_back({{Text(led, "fru")},
                        {SiteOf(led)},
                        {Text(led, "led")},
                        {Text(led, "color"), EscapeOf(Text(led, "color"))},
                        Lamp(led),
                        {ModeOf(led)}});
    }
    return bm_dev::FormatTable(rows, colors);
}

std::string FormatControls(const json& controls) {
    Rows rows{{{"FRU"}, {"COUNT"}, {"OPTION"}}};
    for (const json& control : controls)
        rows.push_back({{Text(control, "fru")}, {Text(control, "count")}, {ControlOption(control.at("option"))}});
    return bm_dev::FormatTable(rows, false);
}

} // namespace bladesim
