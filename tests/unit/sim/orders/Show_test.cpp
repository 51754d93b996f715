// The tables that bladesim shows.
#include "sim/orders/Show.h"

#include <gtest/gtest.h>

using namespace bladesim;
using nlohmann::json;

TEST(Show, AlignsTheColumnsOfRequests) {
    EXPECT_EQ(FormatRequests(json::parse(R"([{"netfn": 6, "command": 1, "name": "Get Device ID", "count": 12},
                                             {"netfn": 50, "command": 255, "name": "", "count": 1}])")),
              "NETFN  CMD   COUNT  COMMAND\n"
              "0x06   0x01  12     Get Device ID\n"
              "0x32   0xff  1\n");
}

TEST(Show, TellsHowRequestsEnded) {
    EXPECT_EQ(FormatLog(json::parse(R"([{"number": 1, "opener": 1, "request": "06 01", "code": 0},
        {"number": 2, "opener": 1, "request": "0a 11 02", "code": null, "fault": "lost"},
        {"number": 3, "opener": 2, "request": "06 01", "code": 195, "ipmb": 130, "dropped": 1}])")),
              "NUMBER  OPENER  CODE             FAULT  IPMB  REQUEST\n"
              "1       1       0x00                          06 01\n"
              "2       1       no answer        lost         0a 11 02\n"
              "3       2       0xc3, dropped 1         0x82  06 01\n");
}

TEST(Show, TellsWhatFaultsDo) {
    EXPECT_EQ(FormatFaults(json::parse(R"([{"number": 1, "request": "06 01", "first": 1, "count": 0, "do": "late",
        "argument": 20, "seen": 2, "hits": 2}, {"number": 2, "request": "0a 11", "first": 3, "count": 1,
        "do": "completion-code", "argument": 193, "seen": 0, "hits": 0}, {"number": 3, "request": "0a 10", "first": 1,
        "count": 1, "do": "reply", "reply": "00 01", "seen": 0, "hits": 0}])")),
              "NUMBER  FIRST  COUNT  SEEN  HITS  DO                    REQUEST\n"
              "1       1      all    2     2     late 20               06 01\n"
              "2       3      1      0     0     completion-code 0xc1  0a 11\n"
              "3       1      1      0     0     reply 00 01           0a 10\n");
}

TEST(Show, ShowsLampsAsTheyLookAndInTheirColor) {
    const json leds = json::parse(R"([
        {"fru": 0, "led": 0, "site": "board", "number": 5, "mode": "local", "state": "off", "color": "blue"},
        {"fru": 2, "led": 1, "site": "amc", "number": 1, "mode": "lamp-test", "lamp_test_left_ms": 900, "state": "on",
         "color": "red"},
        {"fru": 2, "led": 2, "site": "amc", "number": 1, "mode": "override", "state": "blink", "on_ms": 100,
         "off_ms": 200, "color": "green"}])");
    EXPECT_EQ(FormatLeds(leds, false), "FRU  SITE     LED  COLOR  LAMP                MODE\n"
                                       "0    board 5  0    blue   ○ off               local\n"
                                       "2    amc 1    1    red    ● on                lamp-test, 900 ms left\n"
                                       "2    amc 1    2    green  ◐ blink 100/200 ms  override\n");
    EXPECT_NE(FormatLeds(leds, true).find("\033[91m● on\033[0m "), std::string::npos);
}

TEST(Show, HidesWhatSteersATerminalAndKeepsTheColumns) {
    const auto log = json::parse(R"([{"number":1,"opener":"a\u001b[2J\u009b\nb","code":0,"request":"\u20ac"}])");
    EXPECT_EQ("NUMBER  OPENER     CODE  FAULT  IPMB  REQUEST\n"
              "1       a?[2J???b  0x00               \u20ac\n",
              FormatLog(log));
}

TEST(Show, NamesTheOptionsOfFruControl) {
    EXPECT_EQ(
        FormatControls(json::parse(R"([{"fru": 2, "option": 0, "count": 1}, {"fru": 3, "option": 9, "count": 2}])")),
        "FRU  COUNT  OPTION\n"
        "2    1      0x00 cold reset\n"
        "3    2      0x09\n");
}
