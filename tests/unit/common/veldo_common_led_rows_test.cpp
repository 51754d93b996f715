// The parameters of the internal LED groups' rows.
#include "common/veldo_common_led_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace BM_ADAPTOR {

namespace {

// In the order of the structure.
std::vector<BMIParamId_e> AllIds(const LED_ROW_IDS& a_Ids) {
    std::vector<BMIParamId_e> l_All = {a_Ids.m_LED};
    if (a_Ids.m_Bay) l_All.push_back(*a_Ids.m_Bay);
    l_All.insert(l_All.end(), {a_Ids.m_LocalControl, a_Ids.m_OnTime, a_Ids.m_OffTime, a_Ids.m_LampTest, a_Ids.m_Color});
    l_All.insert(l_All.end(), a_Ids.m_Supports.begin(), a_Ids.m_Supports.end());
    return l_All;
}

std::vector<std::string> NamesOf(const LED_ROW_IDS& a_Ids, std::string_view a_Prefix) {
    std::vector<std::string> l_Names;
    for (const BMIParamId_e l_Id : AllIds(a_Ids)) {
        const auto* const l_Found =
            std::ranges::find(g_ParameterNames, static_cast<uint32_t>(l_Id), &PARAMETER_NAME::m_Id);
        const bool l_Known = l_Found != g_ParameterNames.end() && l_Found->m_Name.starts_with(a_Prefix);
        l_Names.emplace_back(l_Known ? l_Found->m_Name.substr(a_Prefix.size()) : "?");
    }
    return l_Names;
}

TEST(LEDRowIds, OfBothGroupsHaveTheSameNamesInOneOrder) {
    std::vector<std::string> l_Names = {"ID",
                                        "BAY",
                                        "LOCAL_CONTROL",
                                        "ON_TIME",
                                        "OFF_TIME",
                                        "LAMP_TEST",
                                        "COLOR",
                                        "SUPPORTS_WHITE",
                                        "SUPPORTS_ORANGE",
                                        "SUPPORTS_AMBER",
                                        "SUPPORTS_GREEN",
                                        "SUPPORTS_RED",
                                        "SUPPORTS_BLUE"};
    EXPECT_EQ(l_Names, NamesOf(g_AMCLEDIds, "BMI_HW_AMC_LED_"));
    l_Names.erase(l_Names.begin() + 1);
    EXPECT_EQ(l_Names, NamesOf(g_BaseboardLEDIds, "BMI_HW_BB_LED_"));
}

TEST(LEDRowIds, AreNumberedAmongTheirGroups) {
    for (const LED_ROW_IDS& l_Ids : {g_BaseboardLEDIds, g_AMCLEDIds}) {
        for (const BMIParamId_e l_Id : AllIds(l_Ids))
            EXPECT_EQ(static_cast<uint32_t>(l_Ids.m_Group), static_cast<uint32_t>(l_Id) & ~0xFFU) << l_Id;
    }
}

TEST(LEDRowIds, TellTheColoursInTheirOrder) {
    const std::vector l_Colors = {INTERNAL_LED_WHITE, INTERNAL_LED_ORANGE, INTERNAL_LED_AMBER,
                                  INTERNAL_LED_GREEN, INTERNAL_LED_RED,    INTERNAL_LED_BLUE};
    EXPECT_TRUE(std::ranges::equal(l_Colors, g_LEDColors));
}

} // namespace

} // namespace BM_ADAPTOR
