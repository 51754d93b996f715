// What is passed on to the resident host: for whom, what comes of errors, and that waiting costs nobody else.
#include "host/web/Forwarder.h"

#include "ScriptedBlade.h"

#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using testing::HasSubstr;

HostAnswer AnswerOf(Forwarder& forwarder, const std::string& account, Forwarder::Work work) {
    auto answer = std::make_shared<std::promise<HostAnswer>>();
    auto future = answer->get_future();
    if (!forwarder.Give(account, std::move(work), [answer](HostAnswer given) { answer->set_value(std::move(given)); }))
        return {0, "not taken"};
    if (future.wait_for(30s) != std::future_status::ready) return {0, "no answer"};
    return future.get();
}

std::string ReasonOf(const HostAnswer& answer) {
    return answer.m_body.at("error").at("reason").get<std::string>();
}

TEST(Forwarder, AnOrderGoesWithItsAccountAndTheNextOneWithItsOwn) {
    ScriptedBlade blade;
    blade.AnswerWith([](const std::string&) { return JsonAnswer(200, R"({"good":true})"); });
    Forwarder forwarder(blade.Place(), {1, 8, 30s});
    const auto start = [](HostClient& host) { return host.Post("/v1/orders/start", {{"a", 1}}); };
    EXPECT_EQ(AnswerOf(forwarder, "anna (192.0.2.7)", start).m_body.dump(), R"({"good":true})");
    EXPECT_EQ(AnswerOf(forwarder, "", start).m_status, 200U);
    const auto requests = blade.Requests("POST /v1/orders/start ");
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_THAT(requests[0], HasSubstr("\r\nBmhost-Account: anna (192.0.2.7)\r\n"));
    EXPECT_THAT(requests[0], HasSubstr(R"({"a":1})"));
    EXPECT_THAT(requests[1], testing::Not(HasSubstr("Bmhost-Account")));
}

TEST(Forwarder, EachAnswerIsToldOfBeforeItIsUsed) {
    const HostRunFolder folder;
    Forwarder forwarder({folder.Path()});
    std::string told; // the answer comes after it
    forwarder.Tell([&](const std::string& account, const HostAnswer& answer) {
        told = account + " " + std::to_string(answer.m_status);
    });
    AnswerOf(forwarder, "anna (192.0.2.7)", [](HostClient& host) { return host.Post("/v1/orders/start", {}); });
    EXPECT_EQ("anna (192.0.2.7) 503", told);
}

TEST(Forwarder, WithoutAHostTheAnswerSaysSo) {
    const HostRunFolder folder;
    Forwarder forwarder({folder.Path()});
    const HostAnswer answer = AnswerOf(forwarder, "", [](HostClient& host) { return host.Get("/v1/log"); });
    EXPECT_EQ(answer.m_status, 503U);
    EXPECT_EQ(ReasonOf(answer), "no resident host has the blade");
}

TEST(Forwarder, AHostThatTakesTooLongIsToldOf) {
    ScriptedBlade blade;
    blade.AnswerWith([](const std::string&) { return std::string(); });
    Forwarder forwarder(blade.Place(), {1, 8, 50ms});
    const HostAnswer answer = AnswerOf(forwarder, "", [](HostClient& host) { return host.Get("/v1/log"); });
    EXPECT_EQ(answer.m_status, 504U);
    EXPECT_THAT(ReasonOf(answer), HasSubstr("within 0.05 s"));
}

TEST(Forwarder, AHostThatAnswersNonsenseIsToldOf) {
    ScriptedBlade blade;
    blade.AnswerWith([](const std::string&) { return std::string("nonsense\r\n\r\n"); });
    Forwarder forwarder(blade.Place());
    EXPECT_EQ(AnswerOf(forwarder, "", [](HostClient& host) { return host.Get("/v1/log"); }).m_status, 502U);
}

TEST(Forwarder, WhenAllWaitNothingMoreIsTaken) {
    std::promise<void> end;
    const std::shared_future<void> ended = end.get_future().share();
    ScriptedBlade blade;
    blade.AnswerWith([ended](const std::string&) {
        ended.wait();
        return JsonAnswer(200, "{}");
    });
    Forwarder forwarder(blade.Place(), {2, 1, 30s});
    const auto work = [](HostClient& host) { return host.Get("/v1/log"); };
    std::atomic<int> answers{0};
    const auto count = [&answers](const HostAnswer& answer) { answers += answer.m_status == 200 ? 1 : 100; };
    EXPECT_TRUE(forwarder.Give("", work, count));
    EXPECT_TRUE(blade.Awaits("GET /v1/log ", 1));
    EXPECT_TRUE(forwarder.Give("", work, count));
    EXPECT_TRUE(blade.Awaits("GET /v1/log ", 2));
    EXPECT_TRUE(forwarder.Give("", work, count)) << "one may wait";
    EXPECT_FALSE(forwarder.Give("", work, count));
    EXPECT_FALSE(forwarder.End(1ms)) << "the host has not answered";
    end.set_value();
    EXPECT_TRUE(forwarder.End(30s));
    EXPECT_EQ(answers, 2) << "what waited is dropped";
}

} // namespace
