// The blade's LEDs as the adaptor's LED groups show them: where they are, what they do.
#include "host/views/Led.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/session/Rows.h"
#include "host/session/Session.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace BMHOST {

using namespace BM_ADAPTOR;

namespace {

/// The ids of one LED group's keys and values.
struct LED_GROUP {
    unsigned m_Group;
    unsigned m_LED;
    unsigned m_Bay; ///< 0: the group has no such key
    unsigned m_Local;
    unsigned m_OnTime;
    unsigned m_OffTime;
    unsigned m_LampTest;
    unsigned m_Color;
};

constexpr LED_GROUP BASEBOARD_LEDS = {BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL,
                                      BMI_HW_BB_LED_ID,
                                      0,
                                      BMI_HW_BB_LED_LOCAL_CONTROL,
                                      BMI_HW_BB_LED_ON_TIME,
                                      BMI_HW_BB_LED_OFF_TIME,
                                      BMI_HW_BB_LED_LAMP_TEST,
                                      BMI_HW_BB_LED_COLOR};
constexpr LED_GROUP MODULE_LEDS = {BMI_GROUP_HARDWARE_AMC_LED_INTERNAL,
                                   BMI_HW_AMC_LED_ID,
                                   BMI_HW_AMC_LED_BAY,
                                   BMI_HW_AMC_LED_LOCAL_CONTROL,
                                   BMI_HW_AMC_LED_ON_TIME,
                                   BMI_HW_AMC_LED_OFF_TIME,
                                   BMI_HW_AMC_LED_LAMP_TEST,
                                   BMI_HW_AMC_LED_COLOR};

// By number: OpenIPMI's light colours.
constexpr std::array<std::string_view, 7> COLORS = {"-", "white", "red", "green", "blue", "amber", "orange"};
constexpr std::array<const char*, LAST_LED> LEDS = {"hot swap", "out of service", "health", "LED 3"};

const LED_GROUP& GroupOf(LED_PLACE a_Place) {
    return a_Place.m_Bay == BASEBOARD_BAY ? BASEBOARD_LEDS : MODULE_LEDS;
}

CBMIKeys KeysOf(LED_PLACE a_Place) {
    const LED_GROUP& l_Group = GroupOf(a_Place);
    CBMIKeys l_Keys;
    l_Keys.Add(Integer(l_Group.m_LED, a_Place.m_LED, true));
    if (l_Group.m_Bay != 0) l_Keys.Add(Integer(l_Group.m_Bay, a_Place.m_Bay, true));
    return l_Keys;
}

} // namespace

std::string_view LedColorName(int a_Color) {
    if (a_Color < 0 || a_Color >= static_cast<int>(COLORS.size())) return "unknown";
    return COLORS[static_cast<std::size_t>(a_Color)];
}

std::optional<int> LedColorNumber(std::string_view a_Name) {
    const auto* const l_Found = std::find(std::next(COLORS.begin()), COLORS.end(), a_Name);
    if (l_Found == COLORS.end()) return std::nullopt;
    return static_cast<int>(l_Found - COLORS.begin());
}

std::optional<LED_ROW> ReadLed(SESSION& a_Session, LED_PLACE a_Place, int& a_Result) {
    const LED_GROUP& l_Group = GroupOf(a_Place);
    const auto l_Row = a_Session.Row(l_Group.m_Group, KeysOf(a_Place), a_Result);
    if (a_Result != SUCCESS || l_Row == nullptr) return std::nullopt;
    const auto l_Value = [&](unsigned a_Id) { return IntegerOf(*l_Row, a_Id); };
    return LED_ROW{l_Value(l_Group.m_Local), l_Value(l_Group.m_OnTime), l_Value(l_Group.m_OffTime),
                   l_Value(l_Group.m_LampTest), l_Value(l_Group.m_Color)};
}

int WriteLed(SESSION& a_Session, LED_PLACE a_Place, const LED_ROW& a_Row) {
    const LED_GROUP& l_Group = GroupOf(a_Place);
    CBMIParams l_Values;
    // The row says whether the LED is overridden.
    l_Values.Add(Integer(l_Group.m_Local, a_Row.m_Local == 0 ? 1 : 0, false));
    l_Values.Add(Integer(l_Group.m_OnTime, a_Row.m_OnTime, false));
    l_Values.Add(Integer(l_Group.m_OffTime, a_Row.m_OffTime, false));
    l_Values.Add(Integer(l_Group.m_Color, a_Row.m_Color, false));
    CBMIKeys l_Keys = KeysOf(a_Place);
    return a_Session.WriteRow(l_Group.m_Group, l_Keys, l_Values);
}

std::string LedBayText(int a_Bay) {
    if (a_Bay == BASEBOARD_BAY) return "baseboard";
    return a_Bay == RTM_BAY ? "RTM" : "AMC bay " + std::to_string(a_Bay);
}

std::string LedText(int a_LED) {
    return std::to_string(a_LED) + " " + LEDS.at(static_cast<std::size_t>(a_LED - FIRST_LED));
}

} // namespace BMHOST
