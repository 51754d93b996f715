// The LEDs of a FRU: which state is on top, what is refused, and lamp tests that run out.
#include "sim/module/LedPanel.h"

#include "SampleCarrier.h"

#include <gtest/gtest.h>

using namespace BLADESIM;
using namespace std::chrono_literals;

namespace {

constexpr uint8_t g_Ok = 0;
constexpr uint8_t g_OutOfRange = 0xC9;
constexpr uint8_t g_InvalidField = 0xCC;
constexpr uint8_t g_SameColor = 0x0E;
constexpr uint8_t g_DefaultColor = 0x0F;
constexpr uint8_t g_Amber = 4;
constexpr uint8_t g_Red = 2;

class LedPanel : public testing::Test {
protected:
    uint8_t Set(uint8_t a_Id, uint8_t a_Function, uint8_t a_OnDuration, uint8_t a_Color) {
        return m_Panel.Set(a_Id, a_Function, a_OnDuration, a_Color, m_Now);
    }

    const LED_STATE& State(uint8_t a_Id) const { return m_Panel.LEDs().at(a_Id); }
    LED_ACTION Shown(uint8_t a_Id) const { return State(a_Id).Shown(m_Now); }

    LED_PANEL m_Panel{{g_Blue, g_RedAmber, g_GreenNoLocal}};
    LED_CLOCK::time_point m_Now{1h};
};

void ExpectAction(const LED_ACTION& a_Action, uint8_t a_Function, uint8_t a_OnDuration, LED_COLOR a_Color) {
    EXPECT_EQ(a_Action.m_Function, a_Function);
    EXPECT_EQ(a_Action.m_OnDuration, a_OnDuration);
    EXPECT_EQ(a_Action.m_Color, a_Color);
}

} // namespace

TEST_F(LedPanel, BeginsWithEveryLEDOffInItsLocalColor) {
    ExpectAction(Shown(1), 0, 0, LED_COLOR::RED);
    EXPECT_FALSE(State(1).m_Override);
    EXPECT_FALSE(State(1).IsLampTest(m_Now));
}

TEST_F(LedPanel, ShowsAnOverrideUntilLocalControlIsRestored) {
    EXPECT_EQ(Set(1, 0xFF, 0, g_Amber), g_Ok);
    ExpectAction(Shown(1), 0xFF, 0, LED_COLOR::AMBER);
    EXPECT_EQ(Set(1, 0xFC, 0, g_SameColor), g_Ok);
    ExpectAction(Shown(1), 0, 0, LED_COLOR::RED);
    EXPECT_FALSE(State(1).m_Override);
}

TEST_F(LedPanel, BlinksWithTheDurationsGiven) {
    EXPECT_EQ(Set(1, 50, 30, g_Red), g_Ok);
    ExpectAction(Shown(1), 50, 30, LED_COLOR::RED);
    EXPECT_EQ(Set(1, 0xFA, 0xFA, g_Red), g_Ok);
    ExpectAction(Shown(1), 0xFA, 0xFA, LED_COLOR::RED);
}

TEST_F(LedPanel, IgnoresTheOnDurationOfASteadyLED) {
    EXPECT_EQ(Set(1, 0xFF, 99, g_Red), g_Ok);
    ExpectAction(Shown(1), 0xFF, 0, LED_COLOR::RED);
}

TEST_F(LedPanel, TakesTheDefaultOverrideColorOrTheOneBefore) {
    EXPECT_EQ(Set(1, 0xFF, 0, g_Red), g_Ok);
    EXPECT_EQ(Set(1, 0xFF, 0, g_SameColor), g_Ok);
    ExpectAction(Shown(1), 0xFF, 0, LED_COLOR::RED);
    EXPECT_EQ(Set(1, 0xFF, 0, g_DefaultColor), g_Ok);
    ExpectAction(Shown(1), 0xFF, 0, LED_COLOR::AMBER);
}

TEST_F(LedPanel, KeepsTheOverrideColorOverLocalControl) {
    EXPECT_EQ(Set(1, 0xFF, 0, g_Red), g_Ok);
    EXPECT_EQ(Set(1, 0xFC, 0, g_SameColor), g_Ok);
    EXPECT_EQ(Set(1, 0xFF, 0, g_SameColor), g_Ok);
    ExpectAction(Shown(1), 0xFF, 0, LED_COLOR::RED);
}

TEST_F(LedPanel, RestoresLocalControlWhateverColorTheRequestHas) {
    for (const uint8_t l_Color : {uint8_t{0}, uint8_t{3}, g_Amber, g_SameColor, g_DefaultColor}) {
        EXPECT_EQ(Set(1, 0xFF, 0, g_Amber), g_Ok);
        EXPECT_EQ(Set(1, 0xFC, 0, l_Color), g_Ok);
        ExpectAction(Shown(1), 0, 0, LED_COLOR::RED);
    }
}

TEST_F(LedPanel, IgnoresTheReservedHalfOfTheColor) {
    EXPECT_EQ(Set(1, 0xFF, 0, 0xA0 | g_Amber), g_Ok);
    ExpectAction(Shown(1), 0xFF, 0, LED_COLOR::AMBER);
}

TEST_F(LedPanel, DoesNotAskForAColorThatItHasWhenItIsToBeOff) {
    EXPECT_EQ(Set(0, 0, 0, g_Red), g_Ok);
    ExpectAction(Shown(0), 0, 0, LED_COLOR::BLUE);
}

struct REFUSAL {
    const char* m_Name;
    uint8_t m_Id, m_Function, m_OnDuration, m_Color, m_Code;
};

class LedPanelRefusal : public LedPanel, public testing::WithParamInterface<REFUSAL> {};

TEST_P(LedPanelRefusal, ChangesNothing) {
    ASSERT_EQ(Set(1, 20, 10, g_Red), g_Ok);
    const REFUSAL& l_Row = GetParam();
    EXPECT_EQ(Set(l_Row.m_Id, l_Row.m_Function, l_Row.m_OnDuration, l_Row.m_Color), l_Row.m_Code);
    ExpectAction(Shown(0), 0, 0, LED_COLOR::BLUE);
    ExpectAction(Shown(1), 20, 10, LED_COLOR::RED);
    ExpectAction(State(1).m_Local, 0, 0, LED_COLOR::RED);
    ExpectAction(Shown(5), 0, 0, LED_COLOR::GREEN);
}

INSTANTIATE_TEST_SUITE_P(Rows, LedPanelRefusal,
                         testing::Values(REFUSAL{"UnknownLED", 2, 0xFF, 0, g_Red, g_OutOfRange},
                                         REFUSAL{"UnknownLEDInALampTest", 2, 0xFB, 10, g_Red, g_OutOfRange},
                                         REFUSAL{"AllLEDsOutsideOfALampTest", 0xFF, 0xFF, 0, g_DefaultColor,
                                                 g_InvalidField},
                                         REFUSAL{"UnsupportedColor", 1, 0xFF, 0, 3, g_InvalidField},
                                         REFUSAL{"UnsupportedColorOfABlinkingLED", 1, 50, 50, 1, g_InvalidField},
                                         REFUSAL{"ColorZero", 1, 0xFF, 0, 0, g_InvalidField},
                                         REFUSAL{"ReservedColor", 1, 0xFF, 0, 0x0D, g_InvalidField},
                                         REFUSAL{"ReservedFunctionFD", 1, 0xFD, 0, g_Red, g_InvalidField},
                                         REFUSAL{"ReservedFunctionFE", 1, 0xFE, 0, g_Red, g_InvalidField},
                                         REFUSAL{"BlinkingWithoutOnDuration", 1, 50, 0, g_Red, g_OutOfRange},
                                         REFUSAL{"BlinkingWithTooLongAnOnDuration", 1, 50, 0xFB, g_Red, g_OutOfRange},
                                         REFUSAL{"LampTestTooLong", 1, 0xFB, 128, g_Red, g_OutOfRange},
                                         REFUSAL{"NoLocalControlToRestore", 5, 0xFC, 0, g_SameColor, g_InvalidField}),
                         [](const auto& a_Info) { return a_Info.param.m_Name; });

TEST_F(LedPanel, LightsALampTestAndGoesBackToTheStateBelow) {
    ASSERT_EQ(Set(1, 20, 10, g_Red), g_Ok);
    EXPECT_EQ(Set(1, 0xFB, 20, g_DefaultColor), g_Ok);
    ExpectAction(Shown(1), 0xFF, 0, LED_COLOR::AMBER);
    m_Now += 1999ms;
    EXPECT_TRUE(State(1).IsLampTest(m_Now));
    m_Now += 1ms;
    EXPECT_FALSE(State(1).IsLampTest(m_Now));
    ExpectAction(Shown(1), 20, 10, LED_COLOR::RED);
}

TEST_F(LedPanel, KeepsAnOverrideThatComesDuringALampTestForLater) {
    ASSERT_EQ(Set(1, 0xFB, 127, g_Red), g_Ok);
    EXPECT_EQ(Set(1, 50, 50, g_Amber), g_Ok);
    ExpectAction(Shown(1), 0xFF, 0, LED_COLOR::RED);
    m_Now += 12700ms;
    ExpectAction(Shown(1), 50, 50, LED_COLOR::AMBER);
}

TEST_F(LedPanel, EndsALampTestByOneOfNoDuration) {
    ASSERT_EQ(Set(1, 0xFB, 127, g_Red), g_Ok);
    EXPECT_EQ(Set(1, 0xFB, 0, g_Red), g_Ok);
    EXPECT_FALSE(State(1).IsLampTest(m_Now));
}

TEST_F(LedPanel, TestsAllLampsEachInAColorThatItHas) {
    EXPECT_EQ(Set(0xFF, 0xFB, 10, g_Red), g_Ok);
    ExpectAction(Shown(0), 0xFF, 0, LED_COLOR::BLUE);
    ExpectAction(Shown(1), 0xFF, 0, LED_COLOR::RED);
    ExpectAction(Shown(5), 0xFF, 0, LED_COLOR::GREEN);
}

TEST_F(LedPanel, TestsOneLampAlone) {
    EXPECT_EQ(Set(1, 0xFB, 10, g_Red), g_Ok);
    EXPECT_FALSE(State(0).IsLampTest(m_Now));
    EXPECT_FALSE(State(5).IsLampTest(m_Now));
}

TEST(LedPanelWithoutLEDs, RefusesALampTestOfAll) {
    EXPECT_EQ(LED_PANEL({}).Set(0xFF, 0xFB, 10, 0x0F, LED_CLOCK::time_point()), g_OutOfRange);
}
