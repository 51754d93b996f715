// What bladesim shows of tools and media software, as text for people.
#include "sim/orders/ToolShow.h"

#include "sim/orders/Table.h"

#include <cstdio>
#include <vector>

namespace BLADESIM {
namespace {

using nlohmann::ordered_json;
using ROWS = std::vector<std::vector<CELL>>;

std::string Milliseconds(const ordered_json& a_Time) {
    if (a_Time.is_null()) return "";
    char l_Text[32];
    std::snprintf(l_Text, sizeof(l_Text), "%.1f", a_Time.get<double>());
    return l_Text;
}

/// A word as a shell would have to be given it; one of other than plain characters in JSON's quotes.
std::string Word(const std::string& a_Word) {
    constexpr char l_Plain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._/+,:=@%-";
    const bool l_IsPlain = !a_Word.empty() && a_Word.find_first_not_of(l_Plain) == std::string::npos;
    return l_IsPlain ? a_Word : ordered_json(a_Word).dump(-1, ' ', true);
}

std::string Words(const ordered_json& a_Arguments) {
    std::string l_Text;
    for (const ordered_json& l_Argument : a_Arguments)
        l_Text += (l_Text.empty() ? "" : " ") + Word(l_Argument.get<std::string>());
    return l_Text;
}

std::string EndOf(const ordered_json& a_Run) {
    if (a_Run.at("end_ms").is_null()) return "not ended";
    return a_Run.at("signal").is_null() ? "status " + a_Run.at("exit").dump() : "signal " + a_Run.at("signal").dump();
}

std::string TextOf(const ordered_json& a_Value) {
    return a_Value.is_string() ? a_Value.get<std::string>() : a_Value.dump();
}

/// Nothing for 0: nothing is ordered.
std::string Ordered(const ordered_json& a_Value) {
    return a_Value == 0 ? "" : a_Value.dump();
}

} // namespace

std::string FormatToolRuns(const ordered_json& a_Runs) {
    ROWS l_Rows{{{"NUMBER"}, {"START MS"}, {"END MS"}, {"ENDED BY"}, {"COMMAND LINE"}}};
    for (const ordered_json& l_Run : a_Runs) {
        l_Rows.push_back({{l_Run.at("number").dump()},
                          {Milliseconds(l_Run.at("start_ms"))},
                          {Milliseconds(l_Run.at("end_ms"))},
                          {EndOf(l_Run)},
                          {Words(l_Run.at("argv"))}});
    }
    return FormatTable(l_Rows, false);
}

std::string FormatTools(const ordered_json& a_Tools) {
    ROWS l_Rows{{{"TOOL"}, {"EXIT"}, {"SIGNAL"}, {"DELAY MS"}, {"TIMES"}, {"WHAT IT DOES"}}};
    for (const ordered_json& l_Tool : a_Tools) {
        l_Rows.push_back({{TextOf(l_Tool.at("tool"))},
                          {Ordered(l_Tool.at("exit"))},
                          {Ordered(l_Tool.at("signal"))},
                          {Ordered(l_Tool.at("delay_ms"))},
                          {Ordered(l_Tool.at("times"))},
                          {TextOf(l_Tool.at("description"))}});
    }
    return FormatTable(l_Rows, false);
}

std::string FormatMedia(const ordered_json& a_Media) {
    ROWS l_Rows;
    for (const auto& [l_Name, l_Value] : a_Media.items())
        l_Rows.push_back({{l_Name}, {TextOf(l_Value)}});
    return FormatTable(l_Rows, false);
}

} // namespace BLADESIM
