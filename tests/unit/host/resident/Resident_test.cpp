// The resident host: what the adaptor tells by itself, and new settings.
#include "host/resident/ResidentTest.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace bmhost {

namespace {

using testing::HasSubstr;

TEST_F(ResidentTest, AnEventIsInThePictureAndTold) {
    Begin();
    Host().Take(
        {BMI_EVENT_AMC_RUN_STATUS, 5, ::Row<CBMIEvParams>(Int(BMI_HW_AMC_RUN_STATUS, 4), Int(BMI_HW_AMC_BAY, 3))});
    EXPECT_EQ(4, Host().Now()->m_inventory.m_modules[0].GetParamById(BMI_HW_AMC_RUN_STATUS)->GetInt());
    ASSERT_EQ(1U, News("event").size());
    EXPECT_THAT(News("event")[0], HasSubstr(R"({"op":"event","event":"0x70402","number":5,"params":[)"));
    EXPECT_THAT(News("event")[0], HasSubstr("\"text\":\"run status of AMC bay 3: running (4)\""));
}

TEST_F(ResidentTest, WhatWasLoggedBeforeItsConstructionIsInTheLog) {
    bmiLog(BM_LOG_ERROR, "IPMI", "while loading");
    ASSERT_EQ(1U, Host().LogLines(100).size());
    EXPECT_EQ("while loading", Host().LogLines(100)[0]["text"]);
}

TEST_F(ResidentTest, TheEndOfAnUpgradeIsToldWithWhatItWasAndWhoOrderedIt) {
    Begin();
    Call upgrade;
    upgrade.m_operation = Operation::Write;
    upgrade.m_group = BMI_GROUP_FIRMWARE_UPDATE;
    upgrade.m_values = ::Row(Int(BMI_FW_UPDATE_TARGET, UPGRADETARGET_MODULE), Int(BMI_FW_UPDATE_BAY, 3),
                             Text(BMI_FW_UPDATE_FILE, "/image"));
    Waiting begun;
    Host().Ask(m_asker, upgrade, begun.Taker());
    EXPECT_EQ(200U, begun.Get().m_status);
    const auto event = [](int state) {
        return AdaptorEvent{BMI_EVENT_FIRMWARE_UPDATE, 5,
                            ::Row<CBMIEvParams>(Int(BMI_FW_UPDATE_TARGET, UPGRADETARGET_MODULE),
                                                Int(BMI_FW_UPDATE_BAY, 3), Int(BMI_FW_UPDATE_STATE, state))};
    };
    Host().Take(event(UPGRADE_REQUESTED));
    EXPECT_TRUE(m_ended.empty());
    Host().Take(event(UPGRADE_DONE));
    ASSERT_EQ(1U, m_ended.size());
    EXPECT_EQ(3, m_ended[0].m_bay);
    EXPECT_EQ(UPGRADE_DONE, m_ended[0].m_state);
    EXPECT_EQ("/image", m_ended[0].m_file);
    EXPECT_EQ("uid 7, process 4711", m_ended[0].m_asker);
}

TEST_F(ResidentTest, TakesNewSettings) {
    Begin();
    Wait([](const Picture& picture) { return picture.m_leds.size() == 4; });
    EXPECT_TRUE(Comes([&] { return m_adaptor.m_ledReads == 8; }));
    m_settings.m_sweep = 1ms;
    Host().Set(m_settings);
    EXPECT_TRUE(Comes([&] { return m_adaptor.m_ledReads > 40; }));
}

} // namespace

} // namespace bmhost
