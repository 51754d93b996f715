// The protocol's tables of names: what the adaptor and the host command look up in them must be unambiguous.
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

TEST(Numbers, OfTheRunStatusEventAreTheHostProtocols) {
    EXPECT_EQ(BMI_EVENT_AMC_RUN_STATUS, 0x70402U);
    EXPECT_EQ(BMI_EVENT_NUMBER, 5U);
    EXPECT_EQ(BMI_EVENT_CLASS, 5U);
}

} // namespace
