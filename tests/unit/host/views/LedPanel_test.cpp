// What the panel shows of an LED, and of all.
#include "host/views/LedPanel.h"

#include "host/HostParams.h"
#include "host/views/Views.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::ElementsAre;

constexpr int RedLight = 2;
constexpr LedRow LitLed = {1, 1, 0, 0, RedLight};
constexpr LedRow DarkLed = {0, 0, 1, 0, RedLight};
constexpr LedRow BlinkingLed = {0, 20, 125, 0, RedLight};
constexpr LedRow TestedLed = {0, 1, 0, 15, RedLight};

TEST(LedPanel, HasALineForAnLed) {
    EXPECT_THAT(LedLine({3, 2}, LitLed), ElementsAre("AMC bay 3", "2 out of service", "red", "on", "", "local"));
    EXPECT_THAT(LedLine({0, 1}, DarkLed), ElementsAre("baseboard", "1 hot swap", "red", "off", "", "override"));
}

TEST(LedPanel, ShowsTimesInMillisecondsAndOfALampTestInSeconds) {
    EXPECT_THAT(LedLine({9, 3}, BlinkingLed),
                ElementsAre("RTM", "3 health", "red", "blink", "200 ms on, 1250 ms off", "override"));
    EXPECT_THAT(LedLine({9, 3}, TestedLed), ElementsAre("RTM", "3 health", "red", "lamp test", "1.5 s", "override"));
}

TEST(LedPanel, IsATableWithTheStateInTheLedsColor) {
    EXPECT_EQ("  place  LED       colour  state  times  control\n"
              "  RTM    3 health  red     on            local\n",
              LedTable({LedLine({9, 3}, LitLed)}, false));
    EXPECT_THAT(LedTable({LedLine({9, 3}, LitLed)}, true), testing::HasSubstr("\033[91mon\033[0m"));
}

LedReading Read(int bay, int led, int64_t at, int result = 1) {
    return {bay, led, result, Row(Int(0x202, 1), Int(0x203, 0), Int(0x205, 1), Int(0x20c, RedLight)),
            WallTime(std::chrono::milliseconds(at))};
}

TEST(LedPanel, ShowsWhatCouldNotBeReadAsSuch) {
    Picture picture;
    picture.m_leds = {Read(3, 1, 0), {3, 2, -1, std::nullopt, {}}};
    EXPECT_EQ("  place      LED               colour  state                         times  control\n"
              "  AMC bay 3  1 hot swap        red     on                                   local\n"
              "  AMC bay 3  2 out of service  ?       not read, result -1 (failed)\n",
              LedsText(picture, {}));
    EXPECT_FALSE(LedsAreGood(picture));
    picture.m_leds.pop_back();
    EXPECT_TRUE(LedsAreGood(picture));
    EXPECT_EQ("no LED\n", LedsText(Picture(), {}));
    EXPECT_FALSE(LedsAreGood(Picture()));
}

TEST(LedPanel, ShowsTheAgeOfAReadingOfAResidentHost) {
    Picture picture;
    picture.m_host.m_resident = true;
    picture.m_time = WallTime(std::chrono::milliseconds(100000));
    picture.m_leds = {Read(3, 1, 99500), Read(3, 2, 58000, 0)};
    EXPECT_EQ(
        "  place      LED               colour  state  times  control  read\n"
        "  AMC bay 3  1 hot swap        red     on            local    now\n"
        "  AMC bay 3  2 out of service  red     on            local    42 s ago, not since: result 0 (nothing done)\n",
        LedsText(picture, {}));
    EXPECT_FALSE(LedsAreGood(picture));
}

TEST(LedPanel, RoundsAnAgeDownToAWholeUnit) {
    EXPECT_EQ("now", AgeText(999));
    EXPECT_EQ("1 s", AgeText(1000));
    EXPECT_EQ("59 s", AgeText(59999));
    EXPECT_EQ("59 min", AgeText(3599999));
    EXPECT_EQ("25 h", AgeText(90000000));
}

} // namespace
