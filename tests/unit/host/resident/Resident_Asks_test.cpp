// The resident host: what it answers, and when.
#include "host/resident/ResidentTest.h"

#include "host/words/Error.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>

namespace bmhost {

namespace {

using testing::Contains;
using testing::HasSubstr;

TEST_F(ResidentTest, AnswersBeforeInitHasReturned) {
    HeldCall held;
    m_adaptor.m_lifecycle = [&](Operation) { return held.Make(); };
    Host().Begin(false);
    held.AwaitBegin();
    ASSERT_EQ(1U, Host().Now()->m_calls.size());
    EXPECT_EQ("init", Host().Now()->m_calls[0].m_operation);
    Waiting answer;
    Host().Ask(m_asker, Read(BMI_GROUP_HARDWARE_BOARD), answer.Taker());
    EXPECT_EQ(503U, answer.Get().m_status);
    EXPECT_THAT(answer.Get().m_body["error"]["reason"].get<std::string>(),
                HasSubstr("has not returned from init, since "));
    held.LetGo();
    Wait([](const Picture& picture) { return picture.m_calls.empty(); });
    Waiting later;
    Host().Ask(m_asker, Read(BMI_GROUP_HARDWARE_BOARD), later.Taker());
    EXPECT_EQ(R"({"op":"read","group":"0x30000","result":1,"row":[]})", later.Get().m_body.dump());
}

TEST_F(ResidentTest, InitAndFinAreItsOwn) {
    Begin(false);
    for (const Operation operation : {Operation::Init, Operation::Fin}) {
        Waiting answer;
        Host().Ask(m_asker, Life(operation), answer.Taker());
        EXPECT_EQ(409U, answer.Get().m_status);
    }
    Waiting answer;
    Host().Ask(m_asker, Life(Operation::WaitEvent), answer.Taker());
    EXPECT_EQ(400U, answer.Get().m_status);
    EXPECT_EQ("init", m_adaptor.Made());
}

TEST_F(ResidentTest, AReadThatDoesNotReturnMakesNothingElseWait) {
    HeldCall held;
    m_adaptor.m_led = [&](int, int) { return held.Make(); };
    Begin();
    held.AwaitBegin();
    Waiting other;
    Host().Ask(m_asker, Read(BMI_GROUP_FIRMWARE_UPDATE), other.Taker());
    EXPECT_EQ(200U, other.Get().m_status);
    Waiting start;
    Host().Ask(m_asker, Life(Operation::Start), start.Taker());
    EXPECT_EQ(200U, start.Get().m_status);
    Waiting led;
    Host().Ask(m_asker, Read(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL), led.Taker());
    EXPECT_FALSE(led.HasCome());
    held.LetGo();
    EXPECT_EQ(200U, led.Get().m_status);
    m_host.reset(); // it uses what stands here
}

TEST_F(ResidentTest, ACallThatWaitsStandsInThePictureWithWhatIsInFrontOfIt) {
    HeldCall held;
    m_adaptor.m_led = [&](int, int) { return held.Make(); };
    Begin();
    held.AwaitBegin();
    const WallTime asked = WallNow();
    Waiting led;
    Host().Ask(m_asker, Read(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL), led.Taker());
    ASSERT_EQ(1U, Host().Now()->m_calls.size());
    const CallInProgress waiting = Host().Now()->m_calls[0];
    EXPECT_EQ("read 0x100", waiting.m_operation);
    EXPECT_EQ("uid 7, process 4711", waiting.m_asker);
    EXPECT_TRUE(waiting.m_waiting);
    EXPECT_GE(waiting.m_since, asked);
    EXPECT_THAT(waiting.m_waitsFor, testing::StartsWith("reading LED 1 of baseboard since 20"));
    held.LetGo();
    EXPECT_EQ(200U, led.Get().m_status);
    EXPECT_TRUE(Host().Now()->m_calls.empty());
    m_host.reset(); // it uses what stands here
}

TEST_F(ResidentTest, AStopThatWaitsNamesTheStartInFrontOfIt) {
    HeldCall held;
    m_adaptor.m_lifecycle = [&](Operation operation) { return operation == Operation::Start ? held.Make() : 1; };
    Host().Begin(true);
    held.AwaitBegin();
    Waiting stop;
    Host().Ask(m_asker, Life(Operation::Stop), stop.Taker());
    const auto calls = Host().Now()->m_calls;
    ASSERT_EQ(2U, calls.size());
    EXPECT_EQ("stop", calls[1].m_operation);
    EXPECT_TRUE(calls[1].m_waiting);
    EXPECT_EQ("`start` since " + Rfc3339(calls[0].m_since), calls[1].m_waitsFor);
    held.LetGo();
    EXPECT_EQ(200U, stop.Get().m_status);
    m_host.reset(); // it uses what stands here
}

TEST_F(ResidentTest, WhatIsRefusedDoesNotStayInThePicture) {
    Begin();
    Latch go;
    m_adaptor.m_row = [&](unsigned) { go.Wait(); };
    for (int i = 0; i < 100; ++i)
        Host().Ask(m_asker, Read(BMI_GROUP_FIRMWARE_UPDATE), [](const Answer&) {});
    EXPECT_TRUE(Comes([&] {
        const auto calls = Host().Now()->m_calls;
        return std::count_if(calls.begin(), calls.end(), [](const auto& call) { return !call.m_waiting; }) == 3;
    }));
    EXPECT_LE(Host().Now()->m_calls.size(), 64U + 3);
    Host().EndLanes(0ms);
    EXPECT_EQ(3U, Host().Now()->m_calls.size());
    go.Open();
    m_host.reset(); // it uses what stands here
}

TEST_F(ResidentTest, AnOrderIsAnsweredWithItsOutcomeLoggedAndToldWithWhoAsked) {
    m_carry = [](const Order&, Session&, const Picture&) {
        OrderOutcome outcome{1, true, true, "done\n", {"remark"}, {}, "", nlohmann::ordered_json{{"led", 3}}};
        return outcome;
    };
    Begin();
    Waiting answer;
    Host().Ask(m_asker, Order{"led-set", {{"bay", 3}, {"led", 3}, {"action", "on"}, {"color", "green"}}},
               answer.Taker());
    EXPECT_EQ(R"({"order":"led-set","result":1,"good":true,"changed":true,"text":"done\n","remarks":["remark"],)"
              R"("reasons":[],"cure":"","led":3})",
              answer.Get().m_body.dump());
    EXPECT_THAT(News("call"), Contains(testing::AllOf(HasSubstr(R"("order":"led-set")"),
                                                      HasSubstr(R"("asker":"uid 7, process 4711")"))));
    std::string log;
    for (const auto& line : Host().LogLines(100))
        log += line["text"].get<std::string>() + "\n";
    EXPECT_THAT(log, HasSubstr("order led set, AMC bay 3, LED 3, on green, asked "
                               "by uid 7, process 4711\n"));
    EXPECT_THAT(log, HasSubstr("order led set, AMC bay 3, LED 3, on green: result 1\n"));
    EXPECT_TRUE(Host().Now()->m_calls.empty());
}

TEST_F(ResidentTest, AnOrderUnderWayStandsThereInWords) {
    const std::pair<Order, std::string> cases[] = {
        {{"led-set", {{"bay", 0}, {"led", 1}, {"action", "local"}}}, "led set, baseboard, LED 1, local"},
        {{"led-set", {{"bay", "3"}, {"action", 7}}}, "led set"},
        {{"led-set", 7}, "led set"},
        {{"dsp-set-ip", {{"dsp", 5}, {"address", "192.168.0.25"}, {"force", true}}}, "dsp set-ip, DSP 5, 192.168.0.25"},
        {{"switch-set", {{"port", 2}, {"enabled", true}}}, "switch enable, port 2"},
        {{"switch-set", {{"port", 2}, {"enabled", false}, {"simulated", true}}}, "switch disable, port 2"},
        {{"board-reset", nlohmann::json::object()}, "reset board"},
        {{"firmware-update", {{"target", "amc"}, {"bay", 3}, {"name", "a\nb"}, {"path", "/c"}}},
         "firmware update, AMC bay 3, a?b"},
        {{"firmware-update", {{"target", "rtm"}, {"name", "b"}}}, "firmware update, RTM, b"},
        {{"firmware-update", {{"target", "board"}, {"name", "b"}}}, "firmware update, baseboard, b"},
    };
    std::string shown;
    m_carry = [&shown, this](const Order&, Session&, const Picture&) {
        shown = Host().Now()->m_calls.front().m_operation;
        return Good();
    };
    Begin();
    for (const auto& [order, name] : cases) {
        Waiting answer;
        Host().Ask(m_asker, order, answer.Taker());
        answer.Get();
        EXPECT_EQ(name, shown);
    }
}

TEST_F(ResidentTest, NewsOfAnOrderSayWhatItIsAbout) {
    using nlohmann::ordered_json;
    const std::pair<ordered_json, std::string> cases[] = {
        {{{"place", "AMC bay 3"}, {"bay", 3}, {"led", 3}, {"led_name", "health"}}, "AMC bay 3, LED health"},
        {{{"place", "RTM"}, {"bay", 9}, {"file", "a.bin"}}, "RTM"},
        {{{"dsp", 5}, {"address", "192.168.0.25"}}, "DSP 5"},
        {{{"port", 2}, {"enabled", true}}, "port 2"},
        {{{"port", "2"}}, ""},
        {ordered_json(), ""},
    };
    Begin();
    for (const auto& [values, place] : cases) {
        m_carry = [&values = values](const Order&, Session&, const Picture&) {
            OrderOutcome outcome = Good();
            outcome.m_values = values;
            return outcome;
        };
        Waiting answer;
        Host().Ask(m_asker, Order{"any", {}}, answer.Taker());
        answer.Get();
        EXPECT_EQ(place, ordered_json::parse(News("call").back())["place"]) << values;
    }
}

TEST_F(ResidentTest, WhatCannotBeMeantIsRefusedAndWhatThrowsIsTold) {
    Begin();
    m_carry = [](const Order&, Session&, const Picture&) -> OrderOutcome { throw UsageError("no such LED"); };
    Waiting refused;
    Host().Ask(m_asker, Order{"led-set", nlohmann::json::object()}, refused.Taker());
    EXPECT_EQ(400U, refused.Get().m_status);
    EXPECT_EQ("no such LED", refused.Get().m_body["error"]["reason"]);
    m_adaptor.m_row = [](unsigned) { throw std::runtime_error("out of `read`"); };
    Waiting thrown;
    Host().Ask(m_asker, Read(BMI_GROUP_FIRMWARE_UPDATE), thrown.Taker());
    EXPECT_EQ(500U, thrown.Get().m_status);
}

TEST_F(ResidentTest, ACallThatFailsIsAnsweredWithItsReasonsAndNotToldHere) {
    Begin();
    m_adaptor.m_write = [](unsigned) {
        bmiLog(BM_LOG_ERROR, "IPMI", "the cause");
        return 0;
    };
    Call call;
    call.m_operation = Operation::Write;
    call.m_group = BMI_GROUP_HARDWARE_BOARD;
    Waiting failed;
    testing::internal::CaptureStderr();
    Host().Ask(m_asker, call, failed.Taker());
    EXPECT_EQ(R"({"op":"write","group":"0x30000","result":0,"reasons":["the cause"]})", failed.Get().m_body.dump());
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    m_adaptor.m_write = [](unsigned) {
        bmiLog(BM_LOG_ERROR, "IPMI", "no matter");
        return 1;
    };
    Waiting made;
    Host().Ask(m_asker, call, made.Taker());
    EXPECT_EQ(R"({"op":"write","group":"0x30000","result":1})", made.Get().m_body.dump());
}

TEST_F(ResidentTest, TooMuchIsRefusedWithAReason) {
    Begin();
    Latch go;
    m_adaptor.m_row = [&](unsigned) { go.Wait(); };
    std::atomic<int> refused = 0;
    std::atomic<int> answered = 0;
    for (int i = 0; i < 100; ++i) {
        Host().Ask(m_asker, Read(BMI_GROUP_FIRMWARE_UPDATE), [&](const Answer& answer) {
            ++answered;
            if (answer.m_status == 503) ++refused;
        });
    }
    EXPECT_TRUE(Comes([&] { return refused >= 100 - 64 - 3; }));
    go.Open();
    EXPECT_TRUE(Comes([&] { return answered == 100; }));
    EXPECT_LE(refused, 100 - 64);
}

} // namespace

} // namespace bmhost
