// The list of groups and parameters.
#include "host/views/Groups.h"

#include "common/veldo_common_protocol.h"
#include "host/words/Names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(Groups, AreListedWithTheirParameters) {
    EXPECT_THAT(bmhost::ListGroups(), HasSubstr("0x300 BMI_GROUP_HARDWARE_AMC_FRU_TABLE\n"
                                                "  id     type     key  name\n"
                                                "  0x301  integer       BMI_HW_AMC_FRU_FIELD_A\n"
                                                "  0x302  integer       BMI_HW_AMC_FRU_FIELD_B\n"
                                                "  0x303  integer  key  BMI_HW_AMC_FRU_BAY\n"
                                                "\n"));
    EXPECT_THAT(bmhost::ListGroups(), StartsWith("0x100 BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL\n"));
}

TEST(Groups, ListHasEveryGroupAndParameterOnce) {
    const std::string list = bmhost::ListGroups();
    const auto count = [&](std::string_view name) {
        const std::string line = " " + std::string(name) + "\n";
        int times = 0;
        for (auto at = list.find(line); at != std::string::npos; at = list.find(line, at + 1))
            ++times;
        return times;
    };
    for (const auto& group : BM_ADAPTOR::g_GroupNames)
        EXPECT_EQ(1, count(group.m_Name)) << group.m_Name;
    for (const auto& param : BM_ADAPTOR::g_ParameterNames)
        EXPECT_EQ(1, count(param.m_Name)) << param.m_Name;
}

TEST(Groups, AreOneObjectInJson) {
    const auto list = nlohmann::json::parse(bmhost::GroupsJson());
    EXPECT_EQ("groups", list["op"]);
    ASSERT_EQ(BM_ADAPTOR::g_GroupNames.size(), list["groups"].size());
    EXPECT_EQ("BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL", list["groups"][0]["name"]);
    EXPECT_EQ(nlohmann::json::parse(
                  R"({"id": "0x101", "name": "BMI_HW_BB_LED_ID", "type": 1, "type_name": "integer", "key": true})"),
              list["groups"][0]["parameters"][0]);
}

} // namespace
