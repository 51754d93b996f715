// The panel of LEDs for people.
#include "host/views/LedPanel.h"

#include "host/output/TextOutput.h"
#include "host/session/Session.h"
#include "host/views/Views.h"

#include <algorithm>

namespace bmhost {

namespace {

constexpr std::size_t ColorColumn = 2;
constexpr std::size_t StateColumn = 3;

std::string Milliseconds(int32_t tensOfMilliseconds) {
    return std::to_string(int64_t{tensOfMilliseconds} * 10) + " ms";
}

std::string TimesText(const LedRow& row, const std::string& state) {
    if (state == "lamp test")
        return std::to_string(row.m_lampTest / 10) + "." + std::to_string(row.m_lampTest % 10) + " s";
    if (state == "blink") return Milliseconds(row.m_onTime) + " on, " + Milliseconds(row.m_offTime) + " off";
    return "";
}

const char* PaintOf(const std::string& color) {
    struct Paint {
        const char* m_color;
        const char* m_escape;
    };
    constexpr Paint paints[] = {{"white", "97"}, {"red", "91"},   {"green", "92"},
                                {"blue", "94"},  {"amber", "93"}, {"orange", "38;5;208"}};
    for (const Paint& paint : paints) {
        if (color == paint.m_color) return paint.m_escape;
    }
    return nullptr;
}

} // namespace

std::vector<std::string> LedLine(LedPlace place, const LedRow& row) {
    const std::string state(LedStateName(row));
    return {LedBayText(place.m_bay),
            LedText(place.m_led),
            std::string(LedColorName(row.m_color)),
            state,
            TimesText(row, state),
            std::string(LedControlName(row))};
}

std::string LedTable(const std::vector<std::vector<std::string>>& lines, bool color) {
    return LedTable(lines, Style{color, false, 0, false});
}

// The age is a column only where a line has one.
std::string LedTable(const std::vector<std::vector<std::string>>& lines, const Style& style) {
    std::vector<std::vector<std::string>> table = {{"place", "LED", "colour", "state", "times", "control"}};
    const std::size_t columns = table[0].size();
    if (std::ranges::any_of(lines, [=](const auto& line) { return line.size() > columns; }))
        table[0].emplace_back("read");
    table.insert(table.end(), lines.begin(), lines.end());
    return AlignedTable(table, style, [&](std::size_t line, std::size_t column) {
        const bool painted = column == ColorColumn || column == StateColumn;
        return painted ? PaintOf(table[line][ColorColumn]) : nullptr;
    });
}

std::string AgeText(int64_t milliseconds) {
    constexpr int64_t second = 1000;
    constexpr int64_t minute = 60 * second;
    constexpr int64_t hour = 60 * minute;
    if (milliseconds < second) return "now";
    if (milliseconds < minute) return std::to_string(milliseconds / second) + " s";
    if (milliseconds < hour) return std::to_string(milliseconds / minute) + " min";
    return std::to_string(milliseconds / hour) + " h";
}

std::string LedsText(const Picture& picture, const Style& style) {
    std::vector<std::vector<std::string>> lines;
    for (const LedReading& reading : picture.m_leds) {
        const LedPlace place = {reading.m_bay, reading.m_led};
        if (!reading.m_state) {
            lines.push_back({LedBayText(place.m_bay), LedText(place.m_led), "?",
                             "not read, result " + ResultText(reading.m_result)});
            continue;
        }
        std::vector<std::string>& line = lines.emplace_back(LedLine(place, LedRowOf(*reading.m_state, place.m_bay)));
        if (!picture.m_host.m_resident) continue;
        const std::string age = AgeText((picture.m_time - reading.m_read).count());
        line.push_back((age == "now" ? age : age + " ago") +
                       (reading.m_result == Success ? "" : ", not since: result " + ResultText(reading.m_result)));
    }
    return lines.empty() ? "no LED\n" : LedTable(lines, style);
}

bool LedsAreGood(const Picture& picture) {
    return !picture.m_leds.empty() &&
           std::ranges::all_of(picture.m_leds, [](const LedReading& reading) { return reading.m_result == Success; });
}

} // namespace bmhost
