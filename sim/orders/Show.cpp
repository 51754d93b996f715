// What bladesim shows of a running blade, as text for people.
#include "sim/orders/Show.h"

#include "sim/orders/Table.h"

#include <cstdio>
#include <vector>

namespace BLADESIM {
namespace {

using nlohmann::json;
using ROWS = std::vector<std::vector<CELL>>;

std::string Hex(const json& a_Byte) {
    char l_Text[8];
    std::snprintf(l_Text, sizeof(l_Text), "0x%02x", a_Byte.get<unsigned>());
    return l_Text;
}

/// A text as it is, anything else as JSON writes it; nothing when it is not there.
std::string Text(const json& a_Object, const char* a_Key) {
    const auto l_Found = a_Object.find(a_Key);
    if (l_Found == a_Object.end() || l_Found->is_null()) return "";
    return l_Found->is_string() ? l_Found->get<std::string>() : l_Found->dump();
}

struct COLOR {
    const char* m_Name;
    const char* m_Escape;
};

constexpr COLOR g_Colors[] = {{"blue", "94"},        {"red", "91"},          {"green", "92"},
                              {"amber", "38;5;214"}, {"orange", "38;5;202"}, {"white", "97"}};

const char* EscapeOf(const std::string& a_Color) {
    for (const COLOR& l_Color : g_Colors) {
        if (a_Color == l_Color.m_Name) return l_Color.m_Escape;
    }
    return nullptr;
}

/// A lamp as it looks: filled, empty, or half and half with its times.
CELL Lamp(const json& a_Led) {
    const std::string l_State = Text(a_Led, "state");
    if (l_State == "off") return {"○ off"};
    const std::string l_Blink = " blink " + Text(a_Led, "on_ms") + "/" + Text(a_Led, "off_ms") + " ms";
    return {l_State == "blink" ? "◐" + l_Blink : "● " + l_State, EscapeOf(Text(a_Led, "color"))};
}

std::string ModeOf(const json& a_Led) {
    const std::string l_Mode = Text(a_Led, "mode");
    return l_Mode == "lamp-test" ? l_Mode + ", " + Text(a_Led, "lamp_test_left_ms") + " ms left" : l_Mode;
}

std::string SiteOf(const json& a_Led) {
    return Text(a_Led, "site") + " " + Text(a_Led, "number");
}

/// What is known as FRU Control's options in PICMG 3.0.
std::string ControlOption(const json& a_Option) {
    static constexpr const char* l_Names[] = {"cold reset", "warm reset", "graceful reboot", "diagnostic interrupt",
                                              "quiesce"};
    const auto l_Number = a_Option.get<size_t>();
    return Hex(a_Option) + (l_Number < std::size(l_Names) ? std::string(" ") + l_Names[l_Number] : "");
}

/// What a fault does, as it is ordered.
std::string DeedOf(const json& a_Fault) {
    std::string l_Do = Text(a_Fault, "do");
    if (a_Fault.contains("reply")) return l_Do + " " + Text(a_Fault, "reply");
    if (!a_Fault.contains("argument")) return l_Do;
    return l_Do + " " + (l_Do == "completion-code" ? Hex(a_Fault["argument"]) : Text(a_Fault, "argument"));
}

std::string EndOf(const json& a_Entry) {
    const std::string l_Code = a_Entry.at("code").is_null() ? "no answer" : Hex(a_Entry["code"]);
    return l_Code + (a_Entry.contains("dropped") ? ", dropped " + Text(a_Entry, "dropped") : "");
}

} // namespace

std::string FormatRequests(const json& a_Requests) {
    ROWS l_Rows{{{"NETFN"}, {"CMD"}, {"COUNT"}, {"COMMAND"}}};
    for (const json& l_Row : a_Requests)
        l_Rows.push_back(
            {{Hex(l_Row.at("netfn"))}, {Hex(l_Row.at("command"))}, {Text(l_Row, "count")}, {Text(l_Row, "name")}});
    return FormatTable(l_Rows, false);
}

std::string FormatLog(const json& a_Log) {
    ROWS l_Rows{{{"NUMBER"}, {"OPENER"}, {"CODE"}, {"FAULT"}, {"IPMB"}, {"REQUEST"}}};
    for (const json& l_Entry : a_Log) {
        l_Rows.push_back({{Text(l_Entry, "number")},
                          {Text(l_Entry, "opener")},
                          {EndOf(l_Entry)},
                          {Text(l_Entry, "fault")},
                          {l_Entry.contains("ipmb") ? Hex(l_Entry["ipmb"]) : ""},
                          {Text(l_Entry, "request")}});
    }
    return FormatTable(l_Rows, false);
}

std::string FormatFaults(const json& a_Faults) {
    ROWS l_Rows{{{"NUMBER"}, {"FIRST"}, {"COUNT"}, {"SEEN"}, {"HITS"}, {"DO"}, {"REQUEST"}}};
    for (const json& l_Fault : a_Faults) {
        const std::string l_Count = l_Fault.at("count") == 0 ? "all" : Text(l_Fault, "count");
        l_Rows.push_back({{Text(l_Fault, "number")},
                          {Text(l_Fault, "first")},
                          {l_Count},
                          {Text(l_Fault, "seen")},
                          {Text(l_Fault, "hits")},
                          {DeedOf(l_Fault)},
                          {Text(l_Fault, "request")}});
    }
    return FormatTable(l_Rows, false);
}

std::string FormatLeds(const json& a_Leds, bool a_Colors) {
    ROWS l_Rows{{{"FRU"}, {"SITE"}, {"LED"}, {"COLOR"}, {"LAMP"}, {"MODE"}}};
    for (const json& l_Led : a_Leds) {
        l_Rows.push_back({{Text(l_Led, "fru")},
                          {SiteOf(l_Led)},
                          {Text(l_Led, "led")},
                          {Text(l_Led, "color"), EscapeOf(Text(l_Led, "color"))},
                          Lamp(l_Led),
                          {ModeOf(l_Led)}});
    }
    return FormatTable(l_Rows, a_Colors);
}

std::string FormatControls(const json& a_Controls) {
    ROWS l_Rows{{{"FRU"}, {"COUNT"}, {"OPTION"}}};
    for (const json& l_Control : a_Controls)
        l_Rows.push_back(
            {{Text(l_Control, "fru")}, {Text(l_Control, "count")}, {ControlOption(l_Control.at("option"))}});
    return FormatTable(l_Rows, false);
}

} // namespace BLADESIM
