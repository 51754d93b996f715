// /metrics over HTTP.
#include "ServedRedfish.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::Not;

TEST(MetricsDoor, TellsOfBladeAndDoorWithoutAskingTheHost) {
    ServedRedfish door;
    Statistics counts;
    counts.m_restarts = 7;
    door.Blade().Count(counts);
    ASSERT_TRUE(door.Blade().Awaits("GET /v1/statistics ", 2));
    ASSERT_TRUE(Comes([&] { return door.Mirror().Counts() != nullptr; }));
    const auto pictures = door.Blade().Requests("GET /v1/blade ").size();
    const HttpAnswer answer = door.Ask("GET", "/metrics");
    EXPECT_EQ(answer.m_status, 200);
    EXPECT_EQ(answer.m_headers.at("content-type"), "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_EQ(answer.m_headers.at("cache-control"), "no-store");
    EXPECT_THAT(answer.m_body, HasSubstr("\nbmhost_web_certificate_expiry_timestamp_seconds 2000000000\n"));
    EXPECT_THAT(answer.m_body, HasSubstr("FB-7200 Carrier"));
    EXPECT_THAT(answer.m_body, HasSubstr("restarts_total 7\n"));
    EXPECT_EQ(door.Blade().Requests("GET /v1/blade ").size(), pictures);
}

TEST(MetricsDoor, TheFormatIsTheOneThatIsAskedFor) {
    ServedRedfish door;
    const HttpAnswer answer = door.Ask("GET", "/metrics", "Accept: application/openmetrics-text\r\n");
    EXPECT_EQ(answer.m_headers.at("content-type"), "application/openmetrics-text; version=1.0.0; charset=utf-8");
    EXPECT_THAT(answer.m_body, testing::EndsWith("# EOF\n"));
    EXPECT_EQ(answer.m_headers.at("vary"), "Accept");
}

TEST(MetricsDoor, AHostThatDoesNotAnswerIsToldOfAtOnce) {
    ServedRedfish door;
    door.Blade().BeIll(true);
    door.Blade().Tell("picture", "{}");
    ASSERT_TRUE(Comes([&] { return !door.Mirror().Now().m_reachable; }));
    const HttpAnswer answer = door.Ask("GET", "/metrics");
    EXPECT_EQ(answer.m_status, 200);
    EXPECT_THAT(answer.m_body, Not(HasSubstr("FB-7200 Carrier")));
}

TEST(MetricsDoor, ElsewhereItNeedsAnAccount) {
    ServedRedfish door;
    EXPECT_EQ(door.AskSecure("GET", "/metrics").m_status, 401);
    EXPECT_EQ(door.AskSecure("GET", "/metrics", door.TokenOf("reader")).m_status, 200);
    EXPECT_EQ(door.Ask("GET", "/metrics/x").m_status, 404);
    const HttpAnswer posted = door.Ask("POST", "/metrics", "", "{}");
    EXPECT_EQ(posted.m_status, 405);
    EXPECT_EQ(posted.m_headers.at("allow"), "GET, HEAD");
}

} // namespace
