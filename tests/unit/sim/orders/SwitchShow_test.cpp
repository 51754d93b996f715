// What bladesim shows of the switch.
#include "sim/orders/SwitchShow.h"

#include <gtest/gtest.h>

using namespace bladesim;
using bm_dev::SwitchState;

namespace {

SwitchState Busy() {
    SwitchState state;
    state.m_ports = {{3, {true, true}}, {4, {true, false}}, {5, {false, true}}};
    state.m_learnt = {{{2, 0, 0x5E, 0x10, 0, 2}, {true, 0}}, {{2, 0, 0x5E, 0x10, 0, 3}, {false, 7}}};
    state.m_failures = {{{"mavkAmcSwitchPortEnable", std::nullopt}, 5}, {{"uPCIMemOpen", 3}, -2}};
    return state;
}

} // namespace

TEST(SwitchShow, AlignsPortsAddressesAndFailures) {
    EXPECT_EQ("PORT  STATE     CABLE  LINK\n"
              "3     enabled   up     up\n"
              "4     enabled   down   down\n"
              "5     disabled  up     down\n"
              "\n"
              "ADDRESS            BEHIND\n"
              "02:00:5E:10:00:02  DSP 0\n"
              "02:00:5E:10:00:03  port 7\n"
              "\n"
              "CALL                     ANSWERS  FOR\n"
              "mavkAmcSwitchPortEnable  5        all\n"
              "uPCIMemOpen              -2       3\n",
              FormatSwitch(Busy()));
}

TEST(SwitchShow, LeavesOutWhatThereIsNot) {
    SwitchState state;
    state.m_ports = {{3, {}}};
    EXPECT_EQ("PORT  STATE    CABLE  LINK\n"
              "3     enabled  up     up\n",
              FormatSwitch(state));
    EXPECT_EQ(R"({"ports":[{"port":3,"enabled":true,"cable":true,"link":true}],"learnt":[],"failures":[]})",
              JsonOfSwitch(state).dump());
}

TEST(SwitchShow, HasTheSameForPrograms) {
    EXPECT_EQ(
        R"({"ports":[{"port":3,"enabled":true,"cable":true,"link":true},)"
        R"({"port":4,"enabled":true,"cable":false,"link":false},)"
        R"({"port":5,"enabled":false,"cable":true,"link":false}],)"
        R"("learnt":[{"mac":"02:00:5E:10:00:02","dsp":0},{"mac":"02:00:5E:10:00:03","port":7}],)"
        R"("failures":[{"call":"mavkAmcSwitchPortEnable","code":5},{"call":"uPCIMemOpen","code":-2,"number":3}]})",
        JsonOfSwitch(Busy()).dump());
}
