// What the panel shows of an LED.
#include "host/views/LedPanel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::ElementsAre;

constexpr int Red = 2;
constexpr LedRow On = {1, 1, 0, 0, Red};
constexpr LedRow Off = {0, 0, 1, 0, Red};
constexpr LedRow Blinking = {0, 20, 125, 0, Red};
constexpr LedRow Tested = {0, 1, 0, 15, Red};

TEST(LedPanel, HasALineForAnLed) {
    EXPECT_THAT(LedLine({3, 2}, On), ElementsAre("AMC bay 3", "2 out of service", "red", "on", "", "local"));
    EXPECT_THAT(LedLine({0, 1}, Off), ElementsAre("baseboard", "1 hot swap", "red", "off", "", "override"));
}

TEST(LedPanel, ShowsTimesInMillisecondsAndOfALampTestInSeconds) {
    EXPECT_THAT(LedLine({9, 3}, Blinking),
                ElementsAre("RTM", "3 health", "red", "blink", "200 ms on, 1250 ms off", "override"));
    EXPECT_THAT(LedLine({9, 3}, Tested), ElementsAre("RTM", "3 health", "red", "lamp test", "1.5 s", "override"));
}

TEST(LedPanel, NamesTheColorOfALedThatIsLit) {
    EXPECT_EQ("on red", LedShows(On));
    EXPECT_EQ("off", LedShows(Off));
    EXPECT_EQ("blink red", LedShows(Blinking));
    EXPECT_EQ("lamp test", LedShows(Tested));
}

TEST(LedPanel, IsATableWithTheStateInTheLedsColor) {
    EXPECT_EQ("  place  LED       colour  state  times  control\n"
              "  RTM    3 health  red     on            local\n",
              LedTable({LedLine({9, 3}, On)}, false));
    EXPECT_THAT(LedTable({LedLine({9, 3}, On)}, true), testing::HasSubstr("\033[91mon\033[0m"));
}

} // namespace
