// The blade's LEDs as the adaptor's LED groups show them: where they are, what they do.
#include "host/picture/Led.h"

#include "common/veldo_common_led_rows.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

struct ColorName {
    int m_color;
    std::string_view m_name;
};

constexpr ColorName Colors[] = {
    {INTERNAL_LED_WHITE, "white"}, {INTERNAL_LED_RED, "red"},     {INTERNAL_LED_GREEN, "green"},
    {INTERNAL_LED_BLUE, "blue"},   {INTERNAL_LED_AMBER, "amber"}, {INTERNAL_LED_ORANGE, "orange"},
};
constexpr std::array<const char*, LastLed> Leds = {"hot swap", "out of service", "health", "LED 3"};

const LED_ROW_IDS& IdsOf(LedPlace place) {
    return place.m_bay == BaseboardBay ? g_BaseboardLEDIds : g_AMCLEDIds;
}

} // namespace

CBMIKeys LedKeys(LedPlace place) {
    const LED_ROW_IDS& ids = IdsOf(place);
    CBMIKeys keys;
    keys.Add(Integer(ids.m_LED, place.m_led, true));
    if (ids.m_Bay) keys.Add(Integer(*ids.m_Bay, place.m_bay, true));
    return keys;
}

unsigned LedGroupOf(LedPlace place) {
    return IdsOf(place).m_Group;
}

bool AsksController(unsigned group) {
    return group == g_BaseboardLEDIds.m_Group || group == g_AMCLEDIds.m_Group ||
           group == BMI_GROUP_BM_IPMI_BASEBOARD_LED || group == BMI_GROUP_HARDWARE_AMC_LED_TABLE;
}

LedRow LedRowOf(const CBMIParams& row, int bay) {
    const LED_ROW_IDS& ids = IdsOf({bay, FirstLed});
    const auto value = [&](unsigned id) { return IntegerOf(row, id); };
    LedRow led{value(ids.m_LocalControl), value(ids.m_OnTime), value(ids.m_OffTime),
               value(ids.m_LampTest),     value(ids.m_Color),  {}};
    for (std::size_t i = 0; i < g_LEDColors.size(); ++i) {
        const CBMIParam* const supports = row.GetParamById(ids.m_Supports.at(i));
        if (supports != nullptr && supports->GetBool()) led.m_colors.push_back(g_LEDColors.at(i));
    }
    return led;
}

std::string_view LedStateName(const LedRow& row) {
    if (row.m_lampTest != 0) return "lamp test";
    if (row.m_onTime == 1 && row.m_offTime == 0) return "on";
    if (row.m_onTime == 0 && row.m_offTime == 1) return "off";
    return "blink";
}

std::string_view LedControlName(const LedRow& row) {
    return row.m_local != 0 ? "local" : "override";
}

bool IsLit(const LedRow& row) {
    return LedStateName(row) == "on" || LedStateName(row) == "blink";
}

std::string LedShows(const LedRow& row) {
    const std::string state(LedStateName(row));
    return IsLit(row) ? state + " " + std::string(LedColorName(row.m_color)) : state;
}

std::string_view LedColorName(int color) {
    if (color == LedNoColor) return "-";
    const auto* const found = std::ranges::find(Colors, color, &ColorName::m_color);
    return found != std::end(Colors) ? found->m_name : "unknown";
}

std::optional<int> LedColorNumber(std::string_view name) {
    const auto* const found = std::ranges::find(Colors, name, &ColorName::m_name);
    return found != std::end(Colors) ? std::optional(found->m_color) : std::nullopt;
}

std::optional<LedRow> ReadLed(Session& session, LedPlace place, int& result) {
    const LED_ROW_IDS& ids = IdsOf(place);
    const auto row = session.Row(ids.m_Group, LedKeys(place), result);
    if (result != Success || row == nullptr) return std::nullopt;
    return LedRowOf(*row, place.m_bay);
}

int WriteLed(Session& session, LedPlace place, const LedRow& row) {
    const LED_ROW_IDS& ids = IdsOf(place);
    CBMIParams values;
    // The row says whether the LED is overridden.
    values.Add(Integer(ids.m_LocalControl, row.m_local == 0 ? 1 : 0, false));
    values.Add(Integer(ids.m_OnTime, row.m_onTime, false));
    values.Add(Integer(ids.m_OffTime, row.m_offTime, false));
    values.Add(Integer(ids.m_Color, row.m_color, false));
    CBMIKeys keys = LedKeys(place);
    return session.WriteRow(ids.m_Group, keys, values);
}

std::string LedBayText(int bay) {
    if (bay == BaseboardBay) return "baseboard";
    return bay == RtmBay ? "RTM" : "AMC bay " + std::to_string(bay);
}

std::string LedText(int led) {
    return std::to_string(led) + " " + LedName(led);
}

std::string LedName(int led) {
    if (led < FirstLed || led > LastLed) return "LED " + std::to_string(led - 1);
    return Leds.at(static_cast<std::size_t>(led - FirstLed));
}

} // namespace bmhost
