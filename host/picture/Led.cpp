// The blade's LEDs as the adaptor's LED groups show them: where they are, what they do.
#include "host/picture/Led.h"

#include "host/session/Rows.h"
#include "host/session/Session.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace bmhost {

using namespace BM_ADAPTOR;

namespace {

/// The ids of one LED group's keys and values.
struct LedGroup {
    unsigned m_group;
    unsigned m_led;
    unsigned m_bay; ///< 0: the group has no such key
    unsigned m_local;
    unsigned m_onTime;
    unsigned m_offTime;
    unsigned m_lampTest;
    unsigned m_color;
    /// White, orange, amber, green, red, blue.
    std::array<unsigned, 6> m_supports;
};

constexpr LedGroup BaseboardLeds = {BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL,
                                    BMI_HW_BB_LED_ID,
                                    0,
                                    BMI_HW_BB_LED_LOCAL_CONTROL,
                                    BMI_HW_BB_LED_ON_TIME,
                                    BMI_HW_BB_LED_OFF_TIME,
                                    BMI_HW_BB_LED_LAMP_TEST,
                                    BMI_HW_BB_LED_COLOR,
                                    {BMI_HW_BB_LED_SUPPORTS_WHITE, BMI_HW_BB_LED_SUPPORTS_ORANGE,
                                     BMI_HW_BB_LED_SUPPORTS_AMBER, BMI_HW_BB_LED_SUPPORTS_GREEN,
                                     BMI_HW_BB_LED_SUPPORTS_RED, BMI_HW_BB_LED_SUPPORTS_BLUE}};
constexpr LedGroup ModuleLeds = {BMI_GROUP_HARDWARE_AMC_LED_INTERNAL,
                                 BMI_HW_AMC_LED_ID,
                                 BMI_HW_AMC_LED_BAY,
                                 BMI_HW_AMC_LED_LOCAL_CONTROL,
                                 BMI_HW_AMC_LED_ON_TIME,
                                 BMI_HW_AMC_LED_OFF_TIME,
                                 BMI_HW_AMC_LED_LAMP_TEST,
                                 BMI_HW_AMC_LED_COLOR,
                                 {BMI_HW_AMC_LED_SUPPORTS_WHITE, BMI_HW_AMC_LED_SUPPORTS_ORANGE,
                                  BMI_HW_AMC_LED_SUPPORTS_AMBER, BMI_HW_AMC_LED_SUPPORTS_GREEN,
                                  BMI_HW_AMC_LED_SUPPORTS_RED, BMI_HW_AMC_LED_SUPPORTS_BLUE}};
constexpr std::array SupportsColors = {INTERNAL_LED_WHITE, INTERNAL_LED_ORANGE, INTERNAL_LED_AMBER,
                                       INTERNAL_LED_GREEN, INTERNAL_LED_RED,    INTERNAL_LED_BLUE};

struct ColorName {
    int m_color;
    std::string_view m_name;
};

constexpr ColorName Colors[] = {
    {INTERNAL_LED_WHITE, "white"}, {INTERNAL_LED_RED, "red"},     {INTERNAL_LED_GREEN, "green"},
    {INTERNAL_LED_BLUE, "blue"},   {INTERNAL_LED_AMBER, "amber"}, {INTERNAL_LED_ORANGE, "orange"},
};
constexpr std::array<const char*, LastLed> Leds = {"hot swap", "out of service", "health", "LED 3"};

const LedGroup& GroupOf(LedPlace place) {
    return place.m_bay == BaseboardBay ? BaseboardLeds : ModuleLeds;
}

} // namespace

CBMIKeys LedKeys(LedPlace place) {
    const LedGroup& group = GroupOf(place);
    CBMIKeys keys;
    keys.Add(Integer(group.m_led, place.m_led, true));
    if (group.m_bay != 0) keys.Add(Integer(group.m_bay, place.m_bay, true));
    return keys;
}

unsigned LedGroupOf(LedPlace place) {
    return GroupOf(place).m_group;
}

LedRow LedRowOf(const CBMIParams& row, int bay) {
    const LedGroup& group = GroupOf({bay, FirstLed});
    const auto value = [&](unsigned id) { return IntegerOf(row, id); };
    LedRow led{value(group.m_local),    value(group.m_onTime), value(group.m_offTime),
               value(group.m_lampTest), value(group.m_color),  {}};
    for (std::size_t i = 0; i < SupportsColors.size(); ++i) {
        const CBMIParam* const supports = row.GetParamById(group.m_supports[i]);
        if (supports != nullptr && supports->GetBool()) led.m_colors.push_back(SupportsColors[i]);
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
    const LedGroup& group = GroupOf(place);
    const auto row = session.Row(group.m_group, LedKeys(place), result);
    if (result != Success || row == nullptr) return std::nullopt;
    return LedRowOf(*row, place.m_bay);
}

int WriteLed(Session& session, LedPlace place, const LedRow& row) {
    const LedGroup& group = GroupOf(place);
    CBMIParams values;
    // The row says whether the LED is overridden.
    values.Add(Integer(group.m_local, row.m_local == 0 ? 1 : 0, false));
    values.Add(Integer(group.m_onTime, row.m_onTime, false));
    values.Add(Integer(group.m_offTime, row.m_offTime, false));
    values.Add(Integer(group.m_color, row.m_color, false));
    CBMIKeys keys = LedKeys(place);
    return session.WriteRow(group.m_group, keys, values);
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
