// The panel of LEDs for people.
#include "host/views/LedPanel.h"

#include "host/output/TextOutput.h"
#include "host/session/Session.h"
#include "host/words/Names.h"

#include <cstdio>

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
    std::vector<std::vector<std::string>> table = {{"place", "LED", "colour", "state", "times", "control"}};
    table.insert(table.end(), lines.begin(), lines.end());
    return AlignedTable(table, color, [&](std::size_t line, std::size_t column) {
        const bool painted = column == ColorColumn || column == StateColumn;
        return painted ? PaintOf(table[line][ColorColumn]) : nullptr;
    });
}

bool LedPanel(Session& session, bool color, std::string& text) {
    std::vector<std::vector<std::string>> table;
    bool allRead = true;
    for (int bay = BaseboardBay; bay <= RtmBay; ++bay) {
        for (int led = FirstLed; led <= LastLed; ++led) {
            int result = 0;
            const auto row = ReadLed(session, {bay, led}, result);
            if (row) {
                table.push_back(LedLine({bay, led}, *row));
            } else if (result != NotFound) {
                table.push_back({LedBayText(bay), LedText(led), "?", "not read, result " + std::to_string(result)});
                allRead = false;
            }
        }
    }
    text += table.empty() ? "no LED\n" : LedTable(table, color);
    return allRead && !table.empty();
}

} // namespace bmhost
