// The resident host: its beginning, its end, and what becomes of a call that fails or throws.
#include "host/resident/ResidentTest.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace bmhost {

namespace {

using testing::Contains;

TEST_F(ResidentTest, BeginsWithInitAndStartAndEndsWithStopAndFin) {
    Begin();
    EXPECT_EQ(1, Host().Now()->m_host.m_start->m_result);
    EXPECT_TRUE(Host().End([] { return false; }));
    EXPECT_EQ("init start stop fin", m_adaptor.Made());
    EXPECT_EQ("init 1\nstart 1\nstop 1\nfin 1\n", Told());
    EXPECT_TRUE(Host().EndLanes(30s));
}

TEST_F(ResidentTest, InitOnlyWhereStartIsByOrder) {
    Begin(false);
    EXPECT_TRUE(Host().End([] { return false; }));
    EXPECT_EQ("init fin", m_adaptor.Made());
}

TEST_F(ResidentTest, GoesOnAfterAFailedInitAndSaysWhy) {
    m_adaptor.m_lifecycle = [this](Operation operation) {
        if (operation == Operation::Init && m_adaptor.Made() == "init") {
            bmiLog(BM_LOG_ERROR, "IPMI", "the cause");
            return 0;
        }
        return 1;
    };
    Begin();
    EXPECT_EQ("init", m_adaptor.Made());
    EXPECT_EQ(0, Host().Now()->m_host.m_init->m_result);
    EXPECT_THAT(Host().Now()->m_host.m_init->m_reasons, Contains("the cause"));
    EXPECT_FALSE(Host().Now()->m_host.m_start);
    EXPECT_FALSE(m_wantsToEnd.IsOpen());
    Waiting answer; // a start makes the init again, whose cause is gone
    Host().Ask(m_asker, Life(Operation::Start), answer.Taker());
    EXPECT_EQ(R"({"op":"start","result":1})", answer.Get().m_body.dump());
    EXPECT_EQ("init init start", m_adaptor.Made());
    EXPECT_TRUE(Host().End([] { return false; })) << "what failed at first has been made good";
}

TEST_F(ResidentTest, AStartThatFailedIsTriedAgainWithoutAnInit) {
    int result = 0x30011;
    m_adaptor.m_lifecycle = [&result](Operation operation) { return operation == Operation::Start ? result : 1; };
    Begin();
    EXPECT_EQ(0x30011, Host().Now()->m_host.m_start->m_result);
    result = 1;
    Waiting answer;
    Host().Ask(m_asker, Life(Operation::Start), answer.Taker());
    EXPECT_EQ(1, answer.Get().m_body["result"]);
    EXPECT_EQ("init start start", m_adaptor.Made());
    EXPECT_TRUE(Host().End([] { return false; }));
}

TEST_F(ResidentTest, AFailedStartIsNotStoppedAtTheEnd) {
    m_adaptor.m_lifecycle = [](Operation operation) { return operation == Operation::Start ? 0 : 1; };
    Begin();
    EXPECT_FALSE(Host().End([] { return false; }));
    EXPECT_EQ("init start fin", m_adaptor.Made());
}

TEST_F(ResidentTest, EndsItselfAfterAFailureWhereThatIsWanted) {
    m_settings.m_exitOnFault = true;
    m_adaptor.m_lifecycle = [](Operation operation) { return operation == Operation::Init ? 0 : 1; };
    Begin();
    EXPECT_TRUE(m_wantsToEnd.IsOpen());
}

TEST_F(ResidentTest, WhatTheAdaptorThrowsEndsItAndIsThrownAtTheEnd) {
    m_adaptor.m_lifecycle = [](Operation operation) -> int {
        if (operation == Operation::Init) throw std::runtime_error("no controller");
        return 1;
    };
    Host().Begin(true);
    m_wantsToEnd.Wait();
    EXPECT_THROW(Host().End([] { return false; }), std::runtime_error);
    EXPECT_EQ("init fin", m_adaptor.Made());
}

TEST_F(ResidentTest, WaitsAtItsEndForAnUpgradeUnlessItIsHurried) {
    Begin();
    Call call;
    call.m_operation = Operation::Write;
    call.m_group = BMI_GROUP_FIRMWARE_UPDATE;
    call.m_values = ::Row(Int(BMI_FW_UPDATE_TARGET, 1), Int(BMI_FW_UPDATE_BAY, 3), Text(BMI_FW_UPDATE_FILE, "/x"));
    Waiting answer;
    Host().Ask(m_asker, call, answer.Taker());
    EXPECT_EQ(1, answer.Get().m_body["result"]);
    Latch waiting;
    Latch ended;
    std::thread end([&] {
        Host().End([&] {
            waiting.Open();
            return false;
        });
        ended.Open();
    });
    waiting.Wait();
    EXPECT_EQ("init start", m_adaptor.Made());
    Waiting refused;
    Host().Ask(m_asker, Read(BMI_GROUP_HARDWARE_BOARD), refused.Taker());
    EXPECT_EQ(503U, refused.Get().m_status);
    Host().Take({BMI_GROUP_FIRMWARE_UPDATE, 5, ::Row<CBMIEvParams>(Int(BMI_FW_UPDATE_STATE, UPGRADE_DONE))});
    ended.Wait();
    end.join();
    EXPECT_EQ("init start stop fin", m_adaptor.Made());
}

TEST_F(ResidentTest, AnInitThatNeverReturnsDoesNotHoldUpTheEnd) {
    m_settings.m_endWait = 1ms;
    HeldCall held;
    m_adaptor.m_lifecycle = [&](Operation) { return held.Make(); };
    Host().Begin(true);
    held.AwaitBegin();
    EXPECT_FALSE(Host().End([] { return false; }));
    EXPECT_THAT(Host().Hung(), testing::MatchesRegex("`init` has not returned since 20.*Z"));
    EXPECT_FALSE(Host().EndLanes(1ms));
    held.LetGo();
    EXPECT_TRUE(Host().EndLanes(30s));
    EXPECT_EQ("init", m_adaptor.Made()) << "it has ended already";
    m_host.reset(); // it uses what stands here
}

TEST_F(ResidentTest, AHurriedEndDoesNotWaitForInit) {
    m_settings.m_endWait = 1h;
    HeldCall held;
    m_adaptor.m_lifecycle = [&](Operation) { return held.Make(); };
    Host().Begin(true);
    held.AwaitBegin();
    EXPECT_FALSE(Host().End([] { return true; }));
    EXPECT_NE("", Host().Hung());
    Host().EndLanes(0ms);
    held.LetGo();
    m_host.reset(); // it uses what stands here
}

class ResidentHung : public ResidentTest, public testing::WithParamInterface<Operation> {};

TEST_P(ResidentHung, DoesNotHoldUpTheEnd) {
    m_settings.m_endWait = 1ms;
    Latch go;
    m_adaptor.m_lifecycle = [&](Operation operation) {
        if (operation == GetParam()) go.Wait();
        return 1;
    };
    Host().Begin(true);
    EXPECT_TRUE(Comes([this] { return m_adaptor.Made() == "init start"; }));
    EXPECT_FALSE(Host().End([] { return true; }));
    EXPECT_THAT(Host().Hung(), testing::StartsWith("`" + std::string(OperationName(GetParam())) + "` has not"));
    Host().EndLanes(0ms);
    go.Open();
    m_host.reset(); // it uses what stands here
}

INSTANTIATE_TEST_SUITE_P(Calls, ResidentHung, testing::Values(Operation::Start, Operation::Stop, Operation::Fin));

TEST_F(ResidentTest, ACallThatReturnsInTimeIsWaitedForAndFinFollows) {
    HeldCall held;
    m_adaptor.m_lifecycle = [&](Operation operation) { return operation == Operation::Init ? held.Make() : 1; };
    Host().Begin(true);
    held.AwaitBegin();
    EXPECT_TRUE(Host().End([&] { // asked for while it waits
        held.LetGo();
        return false;
    }));
    EXPECT_EQ("", Host().Hung());
    EXPECT_EQ("init fin", m_adaptor.Made());
}

TEST_F(ResidentTest, ALaneWhoseCallNeverReturnsDoesNotHoldUpTheEnd) {
    HeldCall held;
    m_adaptor.m_led = [&](int, int) { return held.Make(); };
    Begin();
    held.AwaitBegin();
    EXPECT_TRUE(Host().End([] { return false; }));
    EXPECT_FALSE(Host().EndLanes(1ms));
    held.LetGo();
    EXPECT_TRUE(Host().EndLanes(30s));
    m_host.reset(); // it uses what stands here
}

} // namespace

} // namespace bmhost
