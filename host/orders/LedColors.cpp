// Which colours an LED can have.
#include "host/orders/LedColors.h"

#include "host/session/Session.h"

#include <algorithm>
#include <array>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

constexpr std::array AllColors = {INTERNAL_LED_WHITE, INTERNAL_LED_RED,   INTERNAL_LED_GREEN,
                                  INTERNAL_LED_BLUE,  INTERNAL_LED_AMBER, INTERNAL_LED_ORANGE};

// PICMG's colours of the first three LEDs, those first that most boards have.
struct UsualColors {
    int m_led;
    std::array<int, 2> m_colors;
};
constexpr UsualColors Usual[] = {{HOST_LED_HOT_SWAP, {INTERNAL_LED_BLUE, INTERNAL_LED_WHITE}},
                                 {HOST_LED_OUT_OF_SERVICE, {INTERNAL_LED_RED, INTERNAL_LED_AMBER}},
                                 {HOST_LED_HEALTH, {INTERNAL_LED_GREEN, INTERNAL_LED_AMBER}},
                                 {HOST_LED_FOURTH, {INTERNAL_LED_AMBER, INTERNAL_LED_GREEN}}};

bool WasTaken(int result) {
    return result == ControllerSuccess || result == Success;
}

// The row as it has to be written to get it back; times are read in tens of milliseconds.
LedRow ToWrite(LedRow row, int anyColor) {
    if (row.m_color == LedNoColor) row.m_color = anyColor; // it is off
    const bool blinks = row.m_onTime > 1;
    if (blinks) {
        row.m_onTime *= 10;
        row.m_offTime *= 10;
    }
    return row;
}

} // namespace

std::vector<int> LedColorsToTry(int led, const std::optional<LedRow>& row) {
    std::vector<int> colors;
    for (const UsualColors& usual : Usual) {
        if (usual.m_led == led) colors.assign(usual.m_colors.begin(), usual.m_colors.end());
    }
    for (const int color : AllColors) {
        if (std::ranges::find(colors, color) == colors.end()) colors.push_back(color);
    }
    if (!row || row->m_colors.empty()) return colors;
    std::erase_if(colors, [&](int color) { return std::ranges::find(row->m_colors, color) == row->m_colors.end(); });
    return colors;
}

FoundLedColors FindLedColors(Session& session, LedPlace place, int refused, const LedRow& before) {
    FoundLedColors found;
    if (!before.m_colors.empty() || before.m_lampTest != 0) {
        found.m_colors = before.m_colors;
        return found;
    }
    for (const int color : AllColors) {
        if (color == refused) continue;
        if (WasTaken(WriteLed(session, place, {0, 1, 0, 0, color, {}}))) found.m_colors.push_back(color);
    }
    if (found.m_colors.empty()) return found; // nothing was changed
    found.m_restored = WasTaken(WriteLed(session, place, ToWrite(before, found.m_colors.front())));
    return found;
}

} // namespace bmhost
