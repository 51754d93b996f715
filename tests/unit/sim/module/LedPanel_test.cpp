// The LEDs of a FRU: which state shows, what is refused, and lamp tests that run out.
#include "sim/module/LedPanel.h"

#include "SampleCarrier.h"

#include <gtest/gtest.h>

using namespace bladesim;
using namespace std::chrono_literals;

namespace {

constexpr uint8_t Ok = 0;
constexpr uint8_t OutOfRange = 0xC9;
constexpr uint8_t InvalidField = 0xCC;
constexpr uint8_t SameColor = 0x0E;
constexpr uint8_t DefaultColor = 0x0F;
constexpr uint8_t Amber = 4;
constexpr uint8_t Red = 2;

class LedPanelTest : public testing::Test {
protected:
    uint8_t Set(uint8_t id, uint8_t function, uint8_t onDuration, uint8_t color) {
        return m_panel.Set(id, function, onDuration, color, m_now);
    }

    const LedState& State(uint8_t id) const { return m_panel.LEDs().at(id); }
    LedAction Shown(uint8_t id) const { return State(id).Shown(m_now); }

    LedPanel m_panel{{Blue, RedAmber, GreenNoLocal}};
    LedClock::time_point m_now{1h};
};

void ExpectAction(const LedAction& action, uint8_t function, uint8_t onDuration, LedColor color) {
    EXPECT_EQ(action.m_function, function);
    EXPECT_EQ(action.m_onDuration, onDuration);
    EXPECT_EQ(action.m_color, color);
}

} // namespace

TEST_F(LedPanelTest, BeginsWithEveryLEDOffInItsLocalColor) {
    ExpectAction(Shown(1), 0, 0, LedColor::Red);
    EXPECT_FALSE(State(1).m_override);
    EXPECT_FALSE(State(1).IsLampTest(m_now));
}

TEST_F(LedPanelTest, ShowsAnOverrideUntilLocalControlIsRestored) {
    EXPECT_EQ(Set(1, 0xFF, 0, Amber), Ok);
    ExpectAction(Shown(1), 0xFF, 0, LedColor::Amber);
    EXPECT_EQ(Set(1, 0xFC, 0, SameColor), Ok);
    ExpectAction(Shown(1), 0, 0, LedColor::Red);
    EXPECT_FALSE(State(1).m_override);
}

TEST_F(LedPanelTest, BlinksWithTheDurationsGiven) {
    EXPECT_EQ(Set(1, 50, 30, Red), Ok);
    ExpectAction(Shown(1), 50, 30, LedColor::Red);
    EXPECT_EQ(Set(1, 0xFA, 0xFA, Red), Ok);
    ExpectAction(Shown(1), 0xFA, 0xFA, LedColor::Red);
}

TEST_F(LedPanelTest, IgnoresTheOnDurationOfASteadyLED) {
    EXPECT_EQ(Set(1, 0xFF, 99, Red), Ok);
    ExpectAction(Shown(1), 0xFF, 0, LedColor::Red);
}

TEST_F(LedPanelTest, TakesTheDefaultOverrideColorOrTheOneBefore) {
    EXPECT_EQ(Set(1, 0xFF, 0, Red), Ok);
    EXPECT_EQ(Set(1, 0xFF, 0, SameColor), Ok);
    ExpectAction(Shown(1), 0xFF, 0, LedColor::Red);
    EXPECT_EQ(Set(1, 0xFF, 0, DefaultColor), Ok);
    ExpectAction(Shown(1), 0xFF, 0, LedColor::Amber);
}

TEST_F(LedPanelTest, KeepsTheOverrideColorOverLocalControl) {
    EXPECT_EQ(Set(1, 0xFF, 0, Red), Ok);
    EXPECT_EQ(Set(1, 0xFC, 0, SameColor), Ok);
    EXPECT_EQ(Set(1, 0xFF, 0, SameColor), Ok);
    ExpectAction(Shown(1), 0xFF, 0, LedColor::Red);
}

TEST_F(LedPanelTest, RestoresLocalControlWhateverColorTheRequestHas) {
    for (const uint8_t color : {uint8_t{0}, uint8_t{3}, Amber, SameColor, DefaultColor}) {
        EXPECT_EQ(Set(1, 0xFF, 0, Amber), Ok);
        EXPECT_EQ(Set(1, 0xFC, 0, color), Ok);
        ExpectAction(Shown(1), 0, 0, LedColor::Red);
    }
}

TEST_F(LedPanelTest, IgnoresTheReservedHalfOfTheColor) {
    EXPECT_EQ(Set(1, 0xFF, 0, 0xA0 | Amber), Ok);
    ExpectAction(Shown(1), 0xFF, 0, LedColor::Amber);
}

TEST_F(LedPanelTest, DoesNotAskForAColorThatItHasWhenItIsToBeOff) {
    EXPECT_EQ(Set(0, 0, 0, Red), Ok);
    ExpectAction(Shown(0), 0, 0, LedColor::Blue);
}

struct Refusal {
    const char* m_name;
    uint8_t m_id, m_function, m_onDuration, m_color, m_code;
};

class LedPanelRefusal : public LedPanelTest, public testing::WithParamInterface<Refusal> {};

TEST_P(LedPanelRefusal, ChangesNothing) {
    ASSERT_EQ(Set(1, 20, 10, Red), Ok);
    const Refusal& row = GetParam();
    EXPECT_EQ(Set(row.m_id, row.m_function, row.m_onDuration, row.m_color), row.m_code);
    ExpectAction(Shown(0), 0, 0, LedColor::Blue);
    ExpectAction(Shown(1), 20, 10, LedColor::Red);
    ExpectAction(State(1).m_local, 0, 0, LedColor::Red);
    ExpectAction(Shown(5), 0, 0, LedColor::Green);
}

INSTANTIATE_TEST_SUITE_P(Rows, LedPanelRefusal,
                         testing::Values(Refusal{"UnknownLED", 2, 0xFF, 0, Red, OutOfRange},
                                         Refusal{"UnknownLEDInALampTest", 2, 0xFB, 10, Red, OutOfRange},
                                         Refusal{"AllLEDsOutsideOfALampTest", 0xFF, 0xFF, 0, DefaultColor,
                                                 InvalidField},
                                         Refusal{"UnsupportedColor", 1, 0xFF, 0, 3, InvalidField},
                                         Refusal{"UnsupportedColorOfABlinkingLED", 1, 50, 50, 1, InvalidField},
                                         Refusal{"ColorZero", 1, 0xFF, 0, 0, InvalidField},
                                         Refusal{"ReservedColor", 1, 0xFF, 0, 0x0D, InvalidField},
                                         Refusal{"ReservedFunctionFD", 1, 0xFD, 0, Red, InvalidField},
                                         Refusal{"ReservedFunctionFE", 1, 0xFE, 0, Red, InvalidField},
                                         Refusal{"BlinkingWithoutOnDuration", 1, 50, 0, Red, OutOfRange},
                                         Refusal{"BlinkingWithTooLongAnOnDuration", 1, 50, 0xFB, Red, OutOfRange},
                                         Refusal{"LampTestTooLong", 1, 0xFB, 128, Red, OutOfRange},
                                         Refusal{"NoLocalControlToRestore", 5, 0xFC, 0, SameColor, InvalidField}),
                         [](const auto& testInfo) { return testInfo.param.m_name; });

TEST_F(LedPanelTest, LightsALampTestAndGoesBackToTheStateBelow) {
    ASSERT_EQ(Set(1, 20, 10, Red), Ok);
    EXPECT_EQ(Set(1, 0xFB, 20, DefaultColor), Ok);
    ExpectAction(Shown(1), 0xFF, 0, LedColor::Amber);
    m_now += 1999ms;
    EXPECT_TRUE(State(1).IsLampTest(m_now));
    m_now += 1ms;
    EXPECT_FALSE(State(1).IsLampTest(m_now));
    ExpectAction(Shown(1), 20, 10, LedColor::Red);
}

TEST_F(LedPanelTest, KeepsAnOverrideThatComesDuringALampTestForLater) {
    ASSERT_EQ(Set(1, 0xFB, 127, Red), Ok);
    EXPECT_EQ(Set(1, 50, 50, Amber), Ok);
    ExpectAction(Shown(1), 0xFF, 0, LedColor::Red);
    m_now += 12700ms;
    ExpectAction(Shown(1), 50, 50, LedColor::Amber);
}

TEST_F(LedPanelTest, EndsALampTestByOneOfNoDuration) {
    ASSERT_EQ(Set(1, 0xFB, 127, Red), Ok);
    EXPECT_EQ(Set(1, 0xFB, 0, Red), Ok);
    EXPECT_FALSE(State(1).IsLampTest(m_now));
}

TEST_F(LedPanelTest, TestsAllLampsEachInAColorThatItHas) {
    EXPECT_EQ(Set(0xFF, 0xFB, 10, Red), Ok);
    ExpectAction(Shown(0), 0xFF, 0, LedColor::Blue);
    ExpectAction(Shown(1), 0xFF, 0, LedColor::Red);
    ExpectAction(Shown(5), 0xFF, 0, LedColor::Green);
}

TEST_F(LedPanelTest, TestsOneLampAlone) {
    EXPECT_EQ(Set(1, 0xFB, 10, Red), Ok);
    EXPECT_FALSE(State(0).IsLampTest(m_now));
    EXPECT_FALSE(State(5).IsLampTest(m_now));
}

TEST(LedPanelWithoutLEDs, RefusesALampTestOfAll) {
    EXPECT_EQ(LedPanel({}).Set(0xFF, 0xFB, 10, 0x0F, LedClock::time_point()), OutOfRange);
}

TEST(LedPanelOfACapturedBlade, BeginsAsTheBladeSays) {
    Led led = RedAmber;
    led.m_local = LedAction{10, 20, LedColor::Amber};
    led.m_override = LedAction{LedOn, 0, LedColor::Red};
    LedPanel panel({led});
    ExpectAction(panel.LEDs().at(1).Shown(LedClock::time_point(1h)), LedOn, 0, LedColor::Red);
    EXPECT_EQ(panel.Set(1, LedLocalControl, 0, SameColor, LedClock::time_point(1h)), Ok);
    ExpectAction(panel.LEDs().at(1).Shown(LedClock::time_point(1h)), 10, 20, LedColor::Amber);
}
