// The list of what can be asked.
#include "host/views/Inventory.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/words/Names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(Groups, AreListedWithTheirParameters) {
    EXPECT_THAT(BMHOST::ListGroups(), HasSubstr("0x300 BMI_GROUP_HARDWARE_AMC_FRU_TABLE\n"
                                                "  id     type     key  name\n"
                                                "  0x301  integer       BMI_HW_AMC_FRU_FIELD_A\n"
                                                "  0x302  integer       BMI_HW_AMC_FRU_FIELD_B\n"
                                                "  0x303  integer  key  BMI_HW_AMC_FRU_BAY\n"
                                                "\n"));
    EXPECT_THAT(BMHOST::ListGroups(), StartsWith("0x100 BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL\n"));
}

TEST(Groups, ListHasEveryGroupAndParameterOnce) {
    const std::string l_List = BMHOST::ListGroups();
    const auto l_Count = [&](std::string_view a_Name) {
        const std::string l_Line = " " + std::string(a_Name) + "\n";
        int l_Times = 0;
        for (auto l_At = l_List.find(l_Line); l_At != std::string::npos; l_At = l_List.find(l_Line, l_At + 1))
            ++l_Times;
        return l_Times;
    };
    for (const auto& l_Group : BM_ADAPTOR::g_GroupNames)
        EXPECT_EQ(1, l_Count(l_Group.m_Name)) << l_Group.m_Name;
    for (const auto& l_Param : BM_ADAPTOR::g_ParameterNames)
        EXPECT_EQ(1, l_Count(l_Param.m_Name)) << l_Param.m_Name;
}

} // namespace
