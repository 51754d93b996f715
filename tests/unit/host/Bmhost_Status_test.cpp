// `bmhost status` on an adaptor that has LEDs only.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

TEST(BmhostStatus, IsNotGoodWhenTablesCannotBeRead) {
    const ENDED l_Ended = RunStub("leds", {"status"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("  place  product name  run status  out of service LED  health LED\n"
              "\n"
              "last firmware upgrade: baseboard, done\n",
              l_Ended.m_Out);
}

TEST(BmhostStatus, IsOneLineInJson) {
    const ENDED l_Ended = RunStub("leds", {"--json", "status"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ(
        R"({"op":"status","good":false,"modules":[],"upgrade":{"place":"baseboard","state":2,"state_name":"done"}})"
        "\n",
        l_Ended.m_Out);
}

TEST(BmhostStatus, TakesNoWords) {
    EXPECT_EQ(2, RunStub("leds", {"status", "1"}).m_Status);
}

} // namespace
