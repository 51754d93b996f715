// The resident host: what it answers, when, and what its picture says meanwhile.
#include "host/resident/Resident.h"

#include "host/resident/FakeAdaptor.h"
#include "host/resident/Latch.h"
#include "host/resident/TestFolder.h"
#include "host/words/Error.h"

#include "bm/Log.h"
#include "bm_dev/HostLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace BM_ADAPTOR;
using namespace bmhost;
using namespace std::chrono_literals;
using testing::Contains;
using testing::HasSubstr;

/// An answer that somebody waits for.
class Waiting {
public:
    Answered Taker() {
        return [this](Answer answer) {
            m_answer = std::move(answer);
            m_came.Open();
        };
    }
    const Answer& Get() {
        m_came.Wait();
        return m_answer;
    }
    bool HasCome() { return m_came.IsOpen(); }

private:
    Latch m_came;
    Answer m_answer;
};

OrderOutcome Good() {
    OrderOutcome outcome;
    outcome.m_result = 1;
    outcome.m_good = outcome.m_changed = true;
    return outcome;
}

class ResidentTest : public testing::Test {
protected:
    ResidentTest() { bm_dev::LogToConsole(false); }
    ~ResidentTest() override { bm_dev::LogToConsole(true); }

    Resident& Host() {
        if (!m_host) {
            ResidentListeners listeners;
            listeners.m_lifecycle = [this](Operation operation, int result) {
                const std::lock_guard lock(m_guard);
                m_told += std::string(OperationName(operation)) + " " + std::to_string(result) + "\n";
            };
            listeners.m_event = [](const AdaptorEvent&) {};
            listeners.m_health = [](const HealthChange&) {};
            listeners.m_wantsToEnd = [this] { m_wantsToEnd.Open(); };
            m_host = std::make_unique<Resident>(m_adaptor, HostFacts{}, m_folder.Path(), m_settings, listeners,
                                                [this](const Order& order, Session& session, const Picture& picture) {
                                                    return m_carry(order, session, picture);
                                                });
        }
        return *m_host;
    }
    void Begin(bool start = true) {
        Host().Begin(start);
        Wait([](const Picture& picture) { return picture.m_host.m_init && picture.m_calls.empty(); });
    }
    template <typename Condition>
    void Wait(const Condition& condition) {
        EXPECT_TRUE(Comes([&] {
            Host().Tick();
            return condition(*Host().Now());
        }));
    }
    static Call Read(unsigned group) {
        Call call;
        call.m_operation = Operation::Read;
        call.m_group = group;
        if (group == BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL) call.m_keys.Add(Int(BMI_HW_BB_LED_ID, 1, true));
        return call;
    }
    static Call Life(Operation operation) {
        Call call;
        call.m_operation = operation;
        return call;
    }
    std::string Told() {
        const std::lock_guard lock(m_guard);
        return m_told;
    }
    std::vector<std::string> News(const std::string& kind) {
        std::vector<std::string> found;
        for (const bmhost::News& news : Host().NewsAfter(0)) {
            if (news.m_kind == kind) found.push_back(news.m_data);
        }
        return found;
    }

    const Asker m_asker{4711, 7, 8, ""};
    TestFolder m_folder;
    FakeAdaptor m_adaptor;
    ResidentSettings m_settings{};
    Latch m_wantsToEnd;
    OrderCarrier m_carry = [](const Order&, Session&, const Picture&) { return Good(); };
    std::mutex m_guard;
    std::string m_told;
    std::unique_ptr<Resident> m_host;
};

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

TEST_F(ResidentTest, AnswersBeforeInitHasReturned) {
    Latch begun;
    Latch go;
    m_adaptor.m_lifecycle = [&](Operation) {
        begun.Open();
        go.Wait();
        return 1;
    };
    Host().Begin(false);
    begun.Wait();
    ASSERT_EQ(1U, Host().Now()->m_calls.size());
    EXPECT_EQ("init", Host().Now()->m_calls[0].m_operation);
    Waiting answer;
    Host().Ask(m_asker, Read(BMI_GROUP_HARDWARE_BOARD), answer.Taker());
    EXPECT_EQ(503U, answer.Get().m_status);
    EXPECT_THAT(answer.Get().m_body["error"]["reason"].get<std::string>(),
                HasSubstr("has not returned from init, since "));
    go.Open();
    Wait([](const Picture& picture) { return picture.m_calls.empty(); });
    Waiting later;
    Host().Ask(m_asker, Read(BMI_GROUP_HARDWARE_BOARD), later.Taker());
    EXPECT_EQ(R"({"op":"read","group":"0x30000","result":1,"row":[]})", later.Get().m_body.dump());
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

TEST_F(ResidentTest, SweepsTheLedsThatThereAre) {
    Begin();
    Wait([](const Picture& picture) { return picture.m_leds.size() == 4; });
    EXPECT_TRUE(Comes([&] { return m_adaptor.m_ledReads == 8; })) << "those of the other bays are not asked for";
    EXPECT_EQ(Controller::State::Answers, Host().Now()->m_controller.m_state);
    EXPECT_EQ(3, Host().Now()->m_leds.back().m_bay);
    EXPECT_TRUE(Host().Now()->m_leds.back().m_state);
}

TEST_F(ResidentTest, AReadThatDoesNotReturnMakesNothingElseWait) {
    Latch begun;
    Latch go;
    m_adaptor.m_led = [&](int, int) {
        begun.Open();
        go.Wait();
        return 1;
    };
    Begin();
    begun.Wait();
    Waiting other;
    Host().Ask(m_asker, Read(BMI_GROUP_FIRMWARE_UPDATE), other.Taker());
    EXPECT_EQ(200U, other.Get().m_status);
    Waiting start;
    Host().Ask(m_asker, Life(Operation::Start), start.Taker());
    EXPECT_EQ(200U, start.Get().m_status);
    Waiting led;
    Host().Ask(m_asker, Read(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL), led.Taker());
    EXPECT_FALSE(led.HasCome());
    go.Open();
    EXPECT_EQ(200U, led.Get().m_status);
    m_host.reset(); // it uses what stands here
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
    Latch begun;
    Latch go;
    m_settings.m_sweep = 1ms;
    m_carry = [&](const Order&, Session&, const Picture&) {
        begun.Open();
        go.Wait();
        return Good();
    };
    Begin();
    Wait([](const Picture& picture) { return picture.m_leds.size() == 4; });
    Waiting answer;
    Host().Ask(m_asker, Order{"switch-set", nlohmann::json::object()}, answer.Taker());
    begun.Wait();
    // One may have begun just before.
    Waiting raw;
    Host().Ask(m_asker, Read(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL), raw.Taker());
    raw.Get();
    const int reads = m_adaptor.m_ledReads;
    Waiting again;
    Host().Ask(m_asker, Read(BMI_GROUP_BM_IPMI_BASEBOARD_LED_INTERNAL), again.Taker());
    again.Get();
    EXPECT_EQ(reads + 1, m_adaptor.m_ledReads);
    go.Open();
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

TEST_F(ResidentTest, AnOrderIsAnsweredWithItsOutcomeLoggedAndToldWithWhoAsked) {
    m_carry = [](const Order&, Session&, const Picture&) {
        OrderOutcome outcome{1, true, true, "done\n", {"remark"}, {}, "", nlohmann::ordered_json{{"led", 3}}};
        return outcome;
    };
    Begin();
    Waiting answer;
    Host().Ask(m_asker, Order{"led-set", {{"bay", 3}}}, answer.Taker());
    EXPECT_EQ(R"({"order":"led-set","result":1,"good":true,"changed":true,"text":"done\n","remarks":["remark"],)"
              R"("reasons":[],"cure":"","led":3})",
              answer.Get().m_body.dump());
    EXPECT_THAT(News("call"), Contains(testing::AllOf(HasSubstr(R"("order":"led-set")"),
                                                      HasSubstr(R"("asker":"uid 7, process 4711")"))));
    std::string log;
    for (const auto& line : Host().LogLines(100))
        log += line["text"].get<std::string>() + "\n";
    EXPECT_THAT(log, HasSubstr("order led-set {\"bay\":3}, asked by uid 7, process 4711\n"));
    EXPECT_TRUE(Host().Now()->m_calls.empty());
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

TEST_F(ResidentTest, AnEventIsInThePictureAndTold) {
    Begin();
    Host().Take(
        {BMI_EVENT_AMC_RUN_STATUS, 5, ::Row<CBMIEvParams>(Int(BMI_HW_AMC_RUN_STATUS, 4), Int(BMI_HW_AMC_BAY, 3))});
    EXPECT_EQ(4, Host().Now()->m_inventory.m_modules[0].GetParamById(BMI_HW_AMC_RUN_STATUS)->GetInt());
    ASSERT_EQ(1U, News("event").size());
    EXPECT_THAT(News("event")[0], HasSubstr(R"({"op":"event","event":"0x70402","number":5,"params":[)"));
    EXPECT_THAT(News("event")[0], HasSubstr("\"text\":\"run status of AMC bay 3: running (4)\""));
}

TEST_F(ResidentTest, HealthComesFromTheLogWithItsReasonAndItsEnd) {
    Begin();
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STARTED_TEXT);
    EXPECT_EQ(HealthState::Monitored, Host().Now()->m_health.m_state);
    bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "AMC failed");
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STOPPED_TEXT);
    EXPECT_EQ(HealthState::Fault, Host().Now()->m_health.m_state);
    EXPECT_THAT(Host().Now()->m_health.m_reasons, testing::ElementsAre("AMC failed"));
    EXPECT_THAT(News("health").back(),
                HasSubstr(R"({"op":"health","state":"fault","reasons":["AMC failed"],"time":")"));
    Host().Tick();
    EXPECT_EQ("init start", m_adaptor.Made()) << "only an order starts it again";
    EXPECT_FALSE(m_wantsToEnd.IsOpen());
    EXPECT_FALSE(Host().End([] { return false; }));
}

TEST_F(ResidentTest, RestartsAfterAFaultWhereThatIsWanted) {
    m_settings.m_restartOnFault = true;
    Begin();
    bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "qDrvSetInterface() failed in InitDriver()");
    EXPECT_TRUE(Comes([&] {
        Host().Tick();
        return m_adaptor.Made() == "init start stop start";
    }));
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

TEST_F(ResidentTest, ALaneWhoseCallNeverReturnsDoesNotHoldUpTheEnd) {
    Latch begun;
    Latch go;
    m_adaptor.m_led = [&](int, int) {
        begun.Open();
        go.Wait();
        return 1;
    };
    Begin();
    begun.Wait();
    EXPECT_TRUE(Host().End([] { return false; }));
    EXPECT_FALSE(Host().EndLanes(1ms));
    go.Open();
    EXPECT_TRUE(Host().EndLanes(30s));
    m_host.reset(); // it uses what stands here
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
