// The resident host: what it reads, and when it does not.
#include "host/resident/ResidentTest.h"

#include <gtest/gtest.h>

#include <atomic>

namespace bmhost {

namespace {

TEST_F(ResidentTest, SweepsTheLedsThatThereAre) {
    Begin();
    Wait([](const Picture& picture) { return picture.m_leds.size() == 4; });
    EXPECT_TRUE(Comes([&] { return m_adaptor.m_ledReads == 8; })) << "those of the other bays are not asked for";
    EXPECT_EQ(Controller::State::Answers, Host().Now()->m_controller.m_state);
    EXPECT_EQ(3, Host().Now()->m_leds.back().m_bay);
    EXPECT_TRUE(Host().Now()->m_leds.back().m_state);
}

TEST_F(ResidentTest, SaysThatTheControllerIsLostAndKeepsTheReadings) {
    m_settings.m_sweep = 10ms;
    Latch go;
    std::atomic<bool> lost = false;
    m_adaptor.m_led = [&](int, int led) {
        if (led <= 2 && lost) go.Wait();
        return led > 2 ? NotFound : lost ? 0 : 1;
    };
    Begin();
    Wait([](const Picture& picture) { return picture.m_leds.size() == 4; });
    lost = true;
    Wait([](const Picture& picture) { return picture.m_controller.m_state == Controller::State::Lost; });
    const auto before = Host().Now();
    EXPECT_EQ(4U, before->m_leds.size());
    go.Open();
    Wait([](const Picture& picture) { return picture.m_leds[0].m_result == 0; });
    EXPECT_LE(Host().Now()->m_leds[0].m_read, before->m_controller.m_since);
    EXPECT_TRUE(Host().Now()->m_leds[0].m_state);
    lost = false;
    Wait([](const Picture& picture) { return picture.m_controller.m_state == Controller::State::Answers; });
    m_host.reset(); // it uses what stands here
}

TEST_F(ResidentTest, ReadsNoLedWhileAnOrderIsUnderWay) {
    HeldCall held;
    m_settings.m_sweep = 1ms;
    m_carry = [&](const Order&, Session&, const Picture&) {
        held.Make();
        return Good();
    };
    Begin();
    Wait([](const Picture& picture) { return picture.m_leds.size() == 4; });
    Waiting answer;
    Host().Ask(m_asker, Order{"switch-set", nlohmann::json::object()}, answer.Taker());
    held.AwaitBegin();
    // One may have begun just before.
    Waiting raw;
    Host().Ask(m_asker, Read(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL), raw.Taker());
    raw.Get();
    const int reads = m_adaptor.m_ledReads;
    Waiting again;
    Host().Ask(m_asker, Read(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL), again.Taker());
    again.Get();
    EXPECT_EQ(reads + 1, m_adaptor.m_ledReads);
    held.LetGo();
    answer.Get();
    EXPECT_TRUE(Comes([&] { return m_adaptor.m_ledReads > reads + 20; }));
}

TEST_F(ResidentTest, OnlyALedThatLooksOtherwiseIsNews) {
    m_settings.m_sweep = 1ms;
    Begin();
    EXPECT_TRUE(Comes([&] { return m_adaptor.m_ledReads > 40; }));
    const auto ledNews = [&] {
        std::size_t count = 0;
        for (const std::string& data : News("picture"))
            count += data.find("leds") != std::string::npos ? 1 : 0;
        return count;
    };
    EXPECT_EQ(4U, ledNews());
    m_adaptor.m_onTime = 1;
    EXPECT_TRUE(Comes([&] { return ledNews() == 8; }));
}

TEST_F(ResidentTest, TheSweepsReadingsOrdersAndEventsAreCounted) {
    m_settings.m_sweep = 1ms;
    Begin();
    EXPECT_TRUE(Comes([&] { return Host().Counts().m_reads.m_good > 40; }));
    Waiting answer;
    Host().Ask(m_asker, Order{"switch-set", nlohmann::json::object()}, answer.Taker());
    answer.Get();
    AdaptorEvent event;
    event.m_event = BMI_EVENT_AMC_RUN_STATUS;
    Host().Take(event);
    const Statistics counts = Host().Counts();
    ASSERT_EQ(1U, counts.m_orders.size());
    EXPECT_EQ("switch-set", counts.m_orders.front().m_order);
    EXPECT_EQ((std::map<uint32_t, uint64_t>{{BMI_EVENT_AMC_RUN_STATUS, 1}}), counts.m_events);
}

} // namespace

} // namespace bmhost
