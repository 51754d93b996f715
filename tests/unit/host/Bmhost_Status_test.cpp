// `bmhost status` on an adaptor that has LEDs only.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

TEST(BmhostStatus, IsNotGoodWhenTablesCannotBeRead) {
    const Ended ended = RunStub("leds", {"status"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("  place  product name  run status  out of service LED  health LED\n"
              "\n"
              "last firmware upgrade: baseboard, done\n",
              ended.m_out);
}

TEST(BmhostStatus, IsOneLineInJson) {
    const Ended ended = RunStub("leds", {"--json", "status"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ(
        R"({"op":"status","good":false,"modules":[],"upgrade":{"place":"baseboard","state":2,"state_name":"done"}})"
        "\n",
        ended.m_out);
}

TEST(BmhostStatus, TakesNoWords) {
    EXPECT_EQ(2, RunStub("leds", {"status", "1"}).m_status);
}

} // namespace
