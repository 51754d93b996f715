// What bladesim shows of tools and media software, as text for people.
#include "sim/orders/ToolShow.h"

#include "bm_dev/Table.h"

#include <cstdio>

namespace bladesim {
namespace {

using nlohmann::ordered_json;
using Rows = bm_dev::TableRows;

std::string Milliseconds(const ordered_json& time) {
    if (time.is_null()) return "";
    char text[32];
    std::snprintf(text, sizeof(text), "%.1f", time.get<double>());
    return text;
}

/// A word as one would type it in a shell; in JSON's quotes when it has characters other than plain ones.
std::string Word(const std::string& word) {
    constexpr char plain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._/+,:=@%-";
    const bool isPlain = !word.empty() && word.find_first_not_of(plain) == std::string::npos;
    return isPlain ? word : ordered_json(word).dump(-1, ' ', true);
}

std::string Words(const ordered_json& arguments) {
    std::string text;
    for (const ordered_json& argument : arguments)
        text += (text.empty() ? "" : " ") + Word(argument.get<std::string>());
    return text;
}

std::string EndOf(const ordered_json& run) {
    if (run.at("end_ms").is_null()) return "not ended";
    return run.at("signal").is_null() ? "status " + run.at("exit").dump() : "signal " + run.at("signal").dump();
}

std::string TextOf(const ordered_json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

/// Empty for 0, which means no order.
std::string Ordered(const ordered_json& value) {
    return value == 0 ? "" : value.dump();
}

} // namespace

std::string FormatToolRuns(const ordered_json& runs) {
    Rows rows{{{"NUMBER"}, {"START MS"}, {"END MS"}, {"ENDED BY"}, {"COMMAND LINE"}}};
    for (const ordered_json& run : runs) {
        rows.push_back({{run.at("number").dump()},
                        {Milliseconds(run.at("start_ms"))},
                        {Milliseconds(run.at("end_ms"))},
                        {EndOf(run)},
                        {Words(run.at("argv"))}});
    }
    return bm_dev::FormatTable(rows, false);
}

std::string FormatTools(const ordered_json& tools) {
    Rows rows{{{"TOOL"}, {"EXIT"}, {"SIGNAL"}, {"DELAY MS"}, {"TIMES"}, {"WHAT IT DOES"}}};
    for (const ordered_json& tool : tools) {
        rows.push_back({{TextOf(tool.at("tool"))},
                        {Ordered(tool.at("exit"))},
                        {Ordered(tool.at("signal"))},
                        {Ordered(tool.at("delay_ms"))},
                        {Ordered(tool.at("times"))},
                        {TextOf(tool.at("description"))}});
    }
    return bm_dev::FormatTable(rows, false);
}

std::string FormatMedia(const ordered_json& media) {
    Rows rows;
    for (const auto& [name, value] : media.items())
        rows.push_back({{name}, {TextOf(value)}});
    return bm_dev::FormatTable(rows, false);
}

} // namespace bladesim
