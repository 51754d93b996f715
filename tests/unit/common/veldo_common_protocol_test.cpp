// The protocol's tables of names, in which a look-up must be unambiguous, and its numbers and texts.
#include "common/veldo_common_protocol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string_view>

using namespace BM_ADAPTOR;
using testing::Each;
using testing::Field;
using testing::StartsWith;

namespace {

/// The group whose range holds a parameter: groups are numbered ahead of their parameters.
uint32_t GroupOf(uint32_t a_Id) {
    const auto l_Next = std::ranges::upper_bound(g_GroupNames, a_Id, {}, &GROUP_NAME::m_Group);
    return l_Next == g_GroupNames.begin() ? 0 : std::prev(l_Next)->m_Group;
}

TEST(GroupNames, AreTheTwelveServedGroups) {
    const std::set<uint32_t> l_Served = {0x100,   0x200,   0x300,   0x400,   0x600,   0x1200,
                                         0x30000, 0x30100, 0x30200, 0x30300, 0x30d10, 0x30e00};
    std::set<uint32_t> l_Groups;
    for (const GROUP_NAME& l_Name : g_GroupNames)
        l_Groups.insert(l_Name.m_Group);
    EXPECT_EQ(l_Groups, l_Served);
    EXPECT_EQ(g_GroupNames.size(), l_Served.size());
}

TEST(GroupNames, AscendByNumber) {
    EXPECT_EQ(std::ranges::adjacent_find(g_GroupNames, std::greater_equal(), &GROUP_NAME::m_Group), g_GroupNames.end());
}

TEST(ParameterNames, AscendByNumber) {
    EXPECT_EQ(std::ranges::adjacent_find(g_ParameterNames, std::greater_equal(), &PARAMETER_NAME::m_Id),
              g_ParameterNames.end());
}

TEST(Names, AreUniqueAcrossGroupsAndParameters) {
    std::set<std::string_view> l_Names;
    for (const GROUP_NAME& l_Name : g_GroupNames)
        EXPECT_TRUE(l_Names.insert(l_Name.m_Name).second) << l_Name.m_Name;
    for (const PARAMETER_NAME& l_Name : g_ParameterNames)
        EXPECT_TRUE(l_Names.insert(l_Name.m_Name).second) << l_Name.m_Name;
}

TEST(Names, BeginWithTheProtocolsPrefix) {
    EXPECT_THAT(g_GroupNames, Each(Field(&GROUP_NAME::m_Name, StartsWith("BMI_GROUP_"))));
    EXPECT_THAT(g_ParameterNames, Each(Field(&PARAMETER_NAME::m_Name, StartsWith("BMI_"))));
}

TEST(ParameterNames, LieWithin255OfTheirGroup) {
    for (const PARAMETER_NAME& l_Name : g_ParameterNames) {
        const uint32_t l_Group = GroupOf(l_Name.m_Id);
        EXPECT_NE(l_Group, 0U) << l_Name.m_Name;
        EXPECT_GT(l_Name.m_Id, l_Group) << l_Name.m_Name;
        EXPECT_LE(l_Name.m_Id - l_Group, 0xFFU) << l_Name.m_Name;
    }
}

TEST(ParameterNames, GiveEveryGroupAParameter) {
    std::set<uint32_t> l_Groups;
    for (const PARAMETER_NAME& l_Name : g_ParameterNames)
        l_Groups.insert(GroupOf(l_Name.m_Id));
    EXPECT_EQ(l_Groups.size(), g_GroupNames.size());
}

TEST(ParameterNames, OfFirmwareUpdatesAreNoKeysAndNoSignedIntegers) {
    for (const PARAMETER_NAME& l_Name : g_ParameterNames) {
        if (GroupOf(l_Name.m_Id) != BMI_GROUP_FIRMWARE_UPDATE) continue;
        EXPECT_FALSE(l_Name.m_Key) << l_Name.m_Name;
        EXPECT_NE(l_Name.m_Type, BMI_PARAM_INT) << l_Name.m_Name;
    }
}

struct NUMBER_CASE {
    const char* m_Name;
    int64_t m_Number;
    int64_t m_Protocol;
};

#define NUMBER(name, number)                                                                                           \
    NUMBER_CASE {                                                                                                      \
#name, (name), (number)                                                                                        \
    }

/// The numbers once more, as hosts were built with them.
constexpr NUMBER_CASE g_Numbers[] = {
    NUMBER(BMI_GROUP_UNSERVED_30D00, 0x30d00),
    NUMBER(BMI_GROUP_UNSERVED_30E10, 0x30e10),
    NUMBER(BMI_EVENT_CLASS, 5),
    NUMBER(BMI_EVENT_NUMBER, 5),
    NUMBER(BMI_EVENT_AMC_RUN_STATUS, 0x70402),
    NUMBER(BMI_EVENT_FIRMWARE_UPDATE, 0x600),
    NUMBER(HOST_MODE_DRIVE, 1),
    NUMBER(HOST_MODE_LOOK_ONLY, 2),
    NUMBER(HOST_MODE_DRIVE_TOO, 3),
    NUMBER(RESULT_NO_LED, -1),
    NUMBER(RESULT_REFUSED_FIRST, 128),
    NUMBER(RESULT_REFUSED_LAST, 255),
    NUMBER(RESULT_NOTHING_DONE, 0),
    NUMBER(RESULT_OK, 1),
    NUMBER(RESULT_NO_ARGUMENT, 2),
    NUMBER(RESULT_NO_ROW, 4),
    NUMBER(RESULT_NOT_FOUND, 12),
    NUMBER(RESULT_NO_STATUS, 16),
    NUMBER(RESULT_NOT_OBTAINED, 21),
    NUMBER(RESULT_NO_VALUE, 23),
    NUMBER(STARTUP_MEDIA_START_FAILED, 0x30004),
    NUMBER(STARTUP_MEDIA_STOP_FAILED, 0x30005),
    NUMBER(STARTUP_FAILED, 0x30011),
    NUMBER(STARTUP_DSP_FAILED, 0x30012),
    NUMBER(MONITOR_LIVE, 1),
    NUMBER(MONITOR_FIRMWARE_FAILED, 0x30013),
    NUMBER(MONITOR_RTM_FAILED, 0x30014),
    NUMBER(MONITOR_AMC_FAILED, 0x30015),
    NUMBER(MONITOR_NOT_RUN, 0x30016),
    NUMBER(MONITOR_PROCESSOR_FAULT, 0x30017),
    NUMBER(MONITOR_NO_EXCHANGE, 0x30019),
    NUMBER(RUN_STATUS_UNWRITTEN, 1),
    NUMBER(RUN_STATUS_STARTING, 2),
    NUMBER(RUN_STATUS_INITIALISING, 3),
    NUMBER(RUN_STATUS_RUNNING, 4),
    NUMBER(RUN_STATUS_FAILED, 5),
    NUMBER(UPGRADETARGET_BASEBOARD, 0),
    NUMBER(UPGRADETARGET_MODULE, 1),
    NUMBER(UPGRADE_REQUESTED, 0),
    NUMBER(UPGRADE_DONE, 2),
    NUMBER(UPGRADE_FAILED, 3),
    NUMBER(AMC_BAY_FIRST, 1),
    NUMBER(AMC_BAY_LAST, 8),
    NUMBER(RTM_BAY, 9),
    NUMBER(HOST_LED_HOT_SWAP, 1),
    NUMBER(HOST_LED_OUT_OF_SERVICE, 2),
    NUMBER(HOST_LED_HEALTH, 3),
    NUMBER(HOST_LED_FOURTH, 4),
    NUMBER(HOST_LED_BLUE, 1),
    NUMBER(HOST_LED_RED, 2),
    NUMBER(HOST_LED_GREEN, 3),
    NUMBER(HOST_LED_AMBER, 4),
    NUMBER(HOST_LED_WHITE, 6),
    NUMBER(HOST_LED_OFF, 7),
    NUMBER(INTERNAL_LED_NO_COLOR, 0),
    NUMBER(INTERNAL_LED_WHITE, 1),
    NUMBER(INTERNAL_LED_RED, 2),
    NUMBER(INTERNAL_LED_GREEN, 3),
    NUMBER(INTERNAL_LED_BLUE, 4),
    NUMBER(INTERNAL_LED_AMBER, 5),
    NUMBER(INTERNAL_LED_ORANGE, 6),
    NUMBER(HOST_LED_STEADY, 1),
    NUMBER(HOST_LED_BLINKS, 2),
    NUMBER(HOST_LED_BLINKS_SLOWLY, 3),
    NUMBER(TELQ_EXT_IF_FABRIC, 2),
    NUMBER(TELQ_EXT_IF_RTM, 3),
    NUMBER(PORT_DISABLED, 0),
    NUMBER(PORT_ENABLED, 1),
    NUMBER(PORT_LINK_DOWN, 0),
    NUMBER(PORT_LINK_UP, 1),
    NUMBER(PORT_LINK_UNKNOWN, 2),
};

TEST(Numbers, AreThoseThatHostsWereBuiltWith) {
    for (const NUMBER_CASE& l_Case : g_Numbers)
        EXPECT_EQ(l_Case.m_Protocol, l_Case.m_Number) << l_Case.m_Name;
}

TEST(EventNames, AreTheTwoEvents) {
    ASSERT_EQ(g_EventNames.size(), 2U);
    EXPECT_EQ(g_EventNames[0].m_Name, "BMI_EVENT_FIRMWARE_UPDATE");
    EXPECT_EQ(g_EventNames[0].m_Event, BMI_GROUP_FIRMWARE_UPDATE); // the event has the number of its group
    EXPECT_EQ(g_EventNames[1].m_Name, "BMI_EVENT_AMC_RUN_STATUS");
    EXPECT_EQ(g_EventNames[1].m_Event, BMI_EVENT_AMC_RUN_STATUS);
}

template <typename Names>
std::set<int> ResultsOf(const Names& a_Names, std::string_view a_Prefix) {
    std::set<int> l_Results;
    for (const RESULT_NAME& l_Name : a_Names) {
        EXPECT_TRUE(l_Results.insert(l_Name.m_Result).second) << l_Name.m_Name;
        EXPECT_TRUE(l_Name.m_Name.starts_with(a_Prefix)) << l_Name.m_Name;
    }
    return l_Results;
}

TEST(ResultNames, AreThoseOfEveryResult) {
    using Results = std::set<int>;
    EXPECT_EQ(ResultsOf(g_HandlerResultNames, "RESULT_"), (Results{-1, 0, 1, 2, 4, 12, 16, 21, 23}));
    EXPECT_EQ(ResultsOf(g_StartupResultNames, "STARTUP_"), (Results{0x30004, 0x30005, 0x30011, 0x30012}));
    EXPECT_EQ(ResultsOf(g_MonitorResultNames, "MONITOR_"),
              (Results{1, 0x30013, 0x30014, 0x30015, 0x30016, 0x30017, 0x30019}));
}

TEST(Texts, AreThoseThatHostsLookFor) {
    EXPECT_STREQ("IPMI Adaptor", COMPONENT_IPMI_ADAPTOR);
    EXPECT_STREQ("IPMI", COMPONENT_IPMI);
    EXPECT_STREQ("Media Adaptor", COMPONENT_MEDIA_ADAPTOR);
    EXPECT_STREQ("Monitor Thread", COMPONENT_MONITOR_THREAD);
    EXPECT_STREQ("Monitor Thread started", MONITOR_STARTED_TEXT);
    EXPECT_STREQ("Monitor Thread stopped", MONITOR_STOPPED_TEXT);
}

} // namespace
