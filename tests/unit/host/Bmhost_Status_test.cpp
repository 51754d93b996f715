// `bmhost status` on an adaptor that has LEDs only.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::StartsWith;

TEST(BmhostStatus, IsNotGoodWhenTablesCannotBeRead) {
    const Ended ended = RunStub("leds", {"--simulated", "status"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("  place  product name  run status  out of service LED  health LED\n"
              "\n"
              "health: not monitored\n"
              "controller: none, the inventory is simulated\n"
              "firmware upgrade: no upgrade yet\n",
              ended.m_out);
}

TEST(BmhostStatus, IsOneLineInJson) {
    const Ended ended = RunStub("leds", {"--json", "--simulated", "status"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.m_out, StartsWith(R"({"op":"status","good":false,"modules":[],"upgrade":null,"health":{)"));
    EXPECT_EQ(ended.m_out.size() - 1, ended.m_out.find('\n'));
}

TEST(BmhostStatus, TakesNoWords) {
    EXPECT_EQ(2, RunStub("leds", {"status", "1"}).m_status);
}

} // namespace
