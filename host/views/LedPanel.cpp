// The panel of LEDs for people.
#include "host/views/LedPanel.h"

#include "host/output/TextOutput.h"
#include "host/session/Session.h"
#include "host/words/Names.h"

#include <cstdio>

namespace BMHOST {

namespace {

constexpr std::size_t COLOR_COLUMN = 2;
constexpr std::size_t STATE_COLUMN = 3;

std::string Milliseconds(int32_t a_TensOfMilliseconds) {
    return std::to_string(int64_t{a_TensOfMilliseconds} * 10) + " ms";
}

std::string StateText(const LED_ROW& a_Row) {
    if (a_Row.m_LampTest != 0) return "lamp test";
    if (a_Row.m_OnTime == 1 && a_Row.m_OffTime == 0) return "on";
    if (a_Row.m_OnTime == 0 && a_Row.m_OffTime == 1) return "off";
    return "blink";
}

std::string TimesText(const LED_ROW& a_Row, const std::string& a_State) {
    if (a_State == "lamp test")
        return std::to_string(a_Row.m_LampTest / 10) + "." + std::to_string(a_Row.m_LampTest % 10) + " s";
    if (a_State == "blink") return Milliseconds(a_Row.m_OnTime) + " on, " + Milliseconds(a_Row.m_OffTime) + " off";
    return "";
}

const char* PaintOf(const std::string& a_Color) {
    struct PAINT {
        const char* m_Color;
        const char* m_Escape;
    };
    constexpr PAINT PAINTS[] = {{"white", "\033[97m"}, {"red", "\033[91m"},   {"green", "\033[92m"},
                                {"blue", "\033[94m"},  {"amber", "\033[93m"}, {"orange", "\033[38;5;208m"}};
    for (const PAINT& l_Paint : PAINTS) {
        if (a_Color == l_Paint.m_Color) return l_Paint.m_Escape;
    }
    return nullptr;
}

} // namespace

std::vector<std::string> LedLine(LED_PLACE a_Place, const LED_ROW& a_Row) {
    const std::string l_State = StateText(a_Row);
    return {LedBayText(a_Place.m_Bay),
            LedText(a_Place.m_LED),
            std::string(LedColorName(a_Row.m_Color)),
            l_State,
            TimesText(a_Row, l_State),
            a_Row.m_Local != 0 ? "local" : "override"};
}

std::string LedShows(const LED_ROW& a_Row) {
    const std::string l_State = StateText(a_Row);
    const bool l_Lit = l_State == "on" || l_State == "blink";
    return l_Lit ? l_State + " " + std::string(LedColorName(a_Row.m_Color)) : l_State;
}

std::string LedTable(const std::vector<std::vector<std::string>>& a_Lines, bool a_Color) {
    std::vector<std::vector<std::string>> l_Lines = {{"place", "LED", "colour", "state", "times", "control"}};
    l_Lines.insert(l_Lines.end(), a_Lines.begin(), a_Lines.end());
    return AlignedTable(l_Lines, a_Color, [&](std::size_t a_Line, std::size_t a_Column) {
        const bool l_Painted = a_Column == COLOR_COLUMN || a_Column == STATE_COLUMN;
        return l_Painted ? PaintOf(l_Lines[a_Line][COLOR_COLUMN]) : nullptr;
    });
}

bool LedPanel(SESSION& a_Session, bool a_Color, std::string& a_Text) {
    std::vector<std::vector<std::string>> l_Lines;
    bool l_AllRead = true;
    for (int l_Bay = BASEBOARD_BAY; l_Bay <= RTM_BAY; ++l_Bay) {
        for (int l_LED = FIRST_LED; l_LED <= LAST_LED; ++l_LED) {
            int l_Result = 0;
            const auto l_Row = ReadLed(a_Session, {l_Bay, l_LED}, l_Result);
            if (l_Row) {
                l_Lines.push_back(LedLine({l_Bay, l_LED}, *l_Row));
            } else if (l_Result != NOT_FOUND) {
                l_Lines.push_back(
                    {LedBayText(l_Bay), LedText(l_LED), "?", "not read, result " + std::to_string(l_Result)});
                l_AllRead = false;
            }
        }
    }
    a_Text += l_Lines.empty() ? "no LED\n" : LedTable(l_Lines, a_Color);
    return l_AllRead && !l_Lines.empty();
}

} // namespace BMHOST
