// Groups and parameters by number and name.
#include "host/words/Names.h"

#include "common/veldo_common_protocol.h"
#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>

namespace {

using namespace bmhost;
using testing::EndsWith;

std::string Lower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char letter) { return std::tolower(letter); });
    return result;
}

TEST(Names, EveryGroupIsTakenByItsFullNameInAnyCase) {
    for (const auto& group : BM_ADAPTOR::g_GroupNames) {
        EXPECT_EQ(group.m_Group, GroupNumber(group.m_Name));
        EXPECT_EQ(group.m_Group, GroupNumber(Lower(group.m_Name)));
    }
}

TEST(Names, EveryParameterIsTakenByItsFullNameInAnyCase) {
    for (const auto& param : BM_ADAPTOR::g_ParameterNames) {
        EXPECT_EQ(param.m_Id, ParameterNumber(param.m_Name, 0));
        EXPECT_EQ(param.m_Id, ParameterNumber(Lower(param.m_Name), 0));
    }
}

struct NameCase {
    const char* m_text;
    unsigned m_number;
};

TEST(Names, GroupsAreTakenWithoutTheirPrefixes) {
    constexpr NameCase cases[] = {
        {"GROUP_HARDWARE_BOARD", 0x30000},  {"HARDWARE_BOARD", 0x30000}, {"board", 0x30000},
        {"BM_IPMI_BASEBOARD_LED", 0x30100}, {"baseboard_led", 0x30100},  {"AMC_FRU_TABLE", 0x300},
        {"Hardware_Rtm_Fru_Table", 0x400},  {"FIRMWARE_UPDATE", 0x600},  {"amc_table", 0x30200},
        {"AMC_SWITCHPORT_TABLE", 0x30e00},
    };
    for (const auto& [result, number] : cases)
        EXPECT_EQ(number, GroupNumber(result)) << result;
}

TEST(Names, ParametersAreTakenWithoutTheirPrefixes) {
    constexpr NameCase cases[] = {
        {"HW_AMC_BAY", 0x30201}, {"AMC_BAY", 0x30201},   {"amc_run_status", 0x30208},
        {"AMC_FRU_BAY", 0x303},  {"update_file", 0x605},
    };
    for (const auto& [result, number] : cases)
        EXPECT_EQ(number, ParameterNumber(result, 0)) << result;
}

TEST(Names, ParametersOfTheGroupAreTakenAsTheirColumnsAreShown) {
    int seen = 0;
    for (const auto& group : BM_ADAPTOR::g_GroupNames) {
        for (const auto& param : BM_ADAPTOR::g_ParameterNames) {
            if (!IsParameterOf(param.m_Id, group.m_Group)) continue;
            ++seen;
            std::string column = ColumnName(param.m_Id);
            std::replace(column.begin(), column.end(), ' ', '_');
            EXPECT_EQ(param.m_Id, ParameterNumber(column, group.m_Group)) << column;
        }
    }
    EXPECT_EQ(static_cast<int>(BM_ADAPTOR::g_ParameterNames.size()), seen) << "each parameter is one group's";
}

TEST(Names, NumbersPassWhetherKnownOrNot) {
    constexpr NameCase cases[] = {{"0x30200", 0x30200}, {"197120", 0x30200},        {"0", 0},
                                  {"0xabcd", 0xabcd},   {"4294967295", 0xFFFFFFFF}, {"0XFF", 0xFF}};
    for (const auto& [result, number] : cases) {
        EXPECT_EQ(number, GroupNumber(result)) << result;
        EXPECT_EQ(number, ParameterNumber(result, 0x300)) << result;
    }
}

TEST(Names, NumberOutOfRangeSaysTheRange) {
    for (const char* result : {"-1", "0x100000000", "99999999999999999999"}) {
        const std::string expected = std::string("'") + result + "': expected a number from 0 to 0xffffffff";
        EXPECT_EQ("group " + expected, UsageErrorOf([&] { GroupNumber(result); }));
        EXPECT_EQ("parameter " + expected, UsageErrorOf([&] { ParameterNumber(result, 0); }));
    }
}

TEST(Names, UnknownNameIsAnsweredWithTheNearestThatIsClose) {
    EXPECT_EQ("unknown group 'hardware_bord': expected a number or a name that `bmhost groups` lists; did you mean "
              "HARDWARE_BOARD?",
              UsageErrorOf([] { GroupNumber("hardware_bord"); }));
    EXPECT_THAT(UsageErrorOf([] { ParameterNumber("AMC_RUN_STAT", 0); }), EndsWith("; did you mean AMC_RUN_STATUS?"));
    EXPECT_THAT(UsageErrorOf([] { ParameterNumber("run_statu", 0x30200); }), EndsWith("; did you mean RUN_STATUS?"));
    EXPECT_EQ("unknown group 'nonsense': expected a number or a name that `bmhost groups` lists",
              UsageErrorOf([] { GroupNumber("nonsense"); }));
    EXPECT_EQ("unknown parameter '': expected a number or a name that `bmhost groups` lists",
              UsageErrorOf([] { ParameterNumber("", 0); }));
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
    EXPECT_EQ("firmware has stopped", ResultMeaning(0x30013));
    EXPECT_EQ("refused by the controller", ResultMeaning(0xC1));
    EXPECT_EQ("failed", ResultMeaning(-1));
    EXPECT_EQ("failed", ResultMeaning(0x100));
}

TEST(Names, EveryResultOfTheProtocolHasAMeaningOfItsOwn) {
    std::size_t named = 0;
    const auto check = [&named](const auto& results) {
        for (const BM_ADAPTOR::RESULT_NAME& result : results) {
            if (result.m_Result == BM_ADAPTOR::RESULT_NO_LED) continue; // it reads as any other failure
            EXPECT_NE("failed", ResultMeaning(result.m_Result)) << result.m_Name;
            ++named;
        }
    };
    check(BM_ADAPTOR::g_HandlerResultNames);
    check(BM_ADAPTOR::g_StartupResultNames);
    check(BM_ADAPTOR::g_MonitorResultNames);
    EXPECT_EQ(19U, named);
}

} // namespace
