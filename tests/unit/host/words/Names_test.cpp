// Groups and parameters by number and name.
#include "host/words/Names.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace BMHOST;
using testing::HasSubstr;

std::string Lower(std::string_view a_Text) {
    std::string l_Text(a_Text);
    std::transform(l_Text.begin(), l_Text.end(), l_Text.begin(),
                   [](unsigned char a_Char) { return std::tolower(a_Char); });
    return l_Text;
}

TEST(Names, EveryGroupIsTakenByItsFullNameInAnyCase) {
    for (const auto& l_Group : BM_ADAPTOR::g_GroupNames) {
        EXPECT_EQ(l_Group.m_Group, GroupNumber(l_Group.m_Name));
        EXPECT_EQ(l_Group.m_Group, GroupNumber(Lower(l_Group.m_Name)));
    }
}

TEST(Names, EveryParameterIsTakenByItsFullNameInAnyCase) {
    for (const auto& l_Param : BM_ADAPTOR::g_ParameterNames) {
        EXPECT_EQ(l_Param.m_Id, ParameterNumber(l_Param.m_Name, 0));
        EXPECT_EQ(l_Param.m_Id, ParameterNumber(Lower(l_Param.m_Name), 0));
    }
}

struct NAME_CASE {
    const char* m_Text;
    unsigned m_Number;
};

TEST(Names, GroupsAreTakenWithoutTheirPrefixes) {
    constexpr NAME_CASE CASES[] = {
        {"GROUP_HARDWARE_BOARD", 0x30000},  {"HARDWARE_BOARD", 0x30000}, {"board", 0x30000},
        {"BM_IPMI_BASEBOARD_LED", 0x30100}, {"baseboard_led", 0x30100},  {"AMC_FRU_TABLE", 0x300},
        {"Hardware_Rtm_Fru_Table", 0x400},  {"FIRMWARE_UPDATE", 0x600},  {"amc_table", 0x30200},
        {"AMC_SWITCHPORT_TABLE", 0x30e00},
    };
    for (const auto& [l_Text, l_Number] : CASES)
        EXPECT_EQ(l_Number, GroupNumber(l_Text)) << l_Text;
}

TEST(Names, ParametersAreTakenWithoutTheirPrefixes) {
    constexpr NAME_CASE CASES[] = {
        {"HW_AMC_BAY", 0x30201}, {"AMC_BAY", 0x30201},   {"amc_run_status", 0x30208},
        {"AMC_FRU_BAY", 0x303},  {"update_file", 0x605},
    };
    for (const auto& [l_Text, l_Number] : CASES)
        EXPECT_EQ(l_Number, ParameterNumber(l_Text, 0)) << l_Text;
}

TEST(Names, ParametersOfTheGroupAreTakenAsTheirColumnsAreShown) {
    int l_Seen = 0;
    for (const auto& l_Group : BM_ADAPTOR::g_GroupNames) {
        for (const auto& l_Param : BM_ADAPTOR::g_ParameterNames) {
            if (!IsParameterOf(l_Param.m_Id, l_Group.m_Group)) continue;
            ++l_Seen;
            std::string l_Column = ColumnName(l_Param.m_Id);
            std::replace(l_Column.begin(), l_Column.end(), ' ', '_');
            EXPECT_EQ(l_Param.m_Id, ParameterNumber(l_Column, l_Group.m_Group)) << l_Column;
        }
    }
    EXPECT_EQ(static_cast<int>(BM_ADAPTOR::g_ParameterNames.size()), l_Seen) << "each parameter is one group's";
}

TEST(Names, NumbersPassWhetherKnownOrNot) {
    constexpr NAME_CASE CASES[] = {{"0x30200", 0x30200}, {"197120", 0x30200},        {"0", 0},
                                   {"0xabcd", 0xabcd},   {"4294967295", 0xFFFFFFFF}, {"0XFF", 0xFF}};
    for (const auto& [l_Text, l_Number] : CASES) {
        EXPECT_EQ(l_Number, GroupNumber(l_Text)) << l_Text;
        EXPECT_EQ(l_Number, ParameterNumber(l_Text, 0x300)) << l_Text;
    }
}

TEST(Names, NumberOutOfRangeSaysTheRange) {
    for (const char* l_Text : {"-1", "0x100000000", "99999999999999999999"}) {
        const std::string l_Expected = std::string("'") + l_Text + "': expected a number from 0 to 0xffffffff";
        EXPECT_EQ("group " + l_Expected, UsageErrorOf([&] { GroupNumber(l_Text); }));
        EXPECT_EQ("parameter " + l_Expected, UsageErrorOf([&] { ParameterNumber(l_Text, 0); }));
    }
}

TEST(Names, UnknownNameIsAnsweredWithTheNearest) {
    EXPECT_EQ(
        "unknown group 'hardware_bord': expected a number or a name, perhaps HARDWARE_BOARD (`bmhost groups` lists them)",
        UsageErrorOf([] { GroupNumber("hardware_bord"); }));
    EXPECT_THAT(UsageErrorOf([] { ParameterNumber("AMC_RUN_STAT", 0); }), HasSubstr("perhaps AMC_RUN_STATUS "));
    EXPECT_THAT(UsageErrorOf([] { ParameterNumber("run_statu", 0x30200); }), HasSubstr("perhaps RUN_STATUS "));
    EXPECT_THAT(UsageErrorOf([] { ParameterNumber("", 0); }), HasSubstr("unknown parameter ''"));
}

TEST(Names, NumbersAreGivenTheirNames) {
    EXPECT_EQ("BMI_GROUP_HARDWARE_BOARD", GroupName(0x30000));
    EXPECT_EQ("", GroupName(0x30d00));
    EXPECT_EQ("BMI_HW_AMC_BAY", ParameterName(0x30201));
    EXPECT_EQ("", ParameterName(0x30200));
}

TEST(Names, ColumnsAreNamesForPeople) {
    EXPECT_EQ("run status", ColumnName(0x30208));
    EXPECT_EQ("bay", ColumnName(0x303));
    EXPECT_EQ("product name", ColumnName(0x30001));
    EXPECT_EQ("0x999", ColumnName(0x999));
}

TEST(Names, EveryResultHasAMeaning) {
    EXPECT_EQ("success", ResultMeaning(1));
    EXPECT_EQ("nothing done", ResultMeaning(0));
    EXPECT_EQ("not found", ResultMeaning(12));
    EXPECT_EQ("failed", ResultMeaning(-1));
}

} // namespace
