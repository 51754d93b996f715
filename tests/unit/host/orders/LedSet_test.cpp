// An LED set: which one, in which colour, and what is told.
#include "host/orders/Order.h"

#include "host/UsageError.h"
#include "host/orders/ScriptedSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int White = 1;
constexpr int Red = 2;
constexpr int Green = 3;
constexpr int Blue = 4;
constexpr int Amber = 5;

class LedSetOrder : public testing::Test {
protected:
    LedSetOrder() {
        m_blade.m_leds[{0, 1}].m_colors = {Blue};
        m_blade.m_leds[{0, 2}].m_colors = {Amber, White};
        m_blade.m_leds[{3, 1}].m_colors = {Blue};
        m_blade.m_leds[{3, 3}].m_colors = {Green, Red, Amber};
        m_blade.m_leds[{6, 1}].m_colors = {Blue};
    }

    OrderOutcome Set(json values) { return CarryOut({"led-set", std::move(values)}, m_blade, {}); }

    ScriptedSession m_blade;
};

TEST_F(LedSetOrder, TellsWhatTheLedShowsAndThatItChanged) {
    const OrderOutcome outcome = Set({{"bay", 3}, {"led", 3}, {"action", "on"}, {"color", "red"}});
    EXPECT_TRUE(outcome.m_good);
    EXPECT_TRUE(outcome.m_changed);
    EXPECT_EQ(0, outcome.m_result);
    EXPECT_THAT(outcome.m_text, HasSubstr("  AMC bay 3  3 health  red     on            override\n"));
    EXPECT_EQ("off", outcome.m_values["before"]);
    EXPECT_EQ("on red", outcome.m_values["after"]);
    EXPECT_FALSE(Set({{"bay", 3}, {"led", 3}, {"action", "on"}, {"color", "red"}}).m_changed) << "it was on and red";
}

TEST_F(LedSetOrder, RefusesABayThatTheAdaptorCannotSetAndWritesNothing) {
    EXPECT_EQ(
        "led set: AMC bay 6: the adaptor sets LEDs of the baseboard and of the first AMC only, which is AMC bay 3; "
        "with --first-amc that one gets it",
        UsageErrorOf([&] {
            Set({{"bay", 6}, {"led", 1}, {"action", "on"}});
        }));
    EXPECT_THAT(UsageErrorOf([&] { Set({{"bay", 9}, {"led", 1}, {"action", "off"}}); }), HasSubstr("led set: RTM: "));
    EXPECT_EQ(0, m_blade.m_writes);
    const OrderOutcome outcome = Set({{"bay", 6}, {"led", 1}, {"action", "on"}, {"first_amc", true}});
    EXPECT_TRUE(outcome.m_good);
    EXPECT_EQ(3, outcome.m_values["bay"]);
    EXPECT_THAT(outcome.m_remarks,
                ElementsAre("the adaptor sets LEDs of the first AMC only: not AMC bay 6 but AMC bay 3 "
                            "gets it"));
    EXPECT_EQ(1, m_blade.m_leds[(std::pair{3, 1})].m_row.m_onTime);
}

TEST_F(LedSetOrder, WithoutAColorTakesTheUsualOneAndTheNextWhenTheControllerRefusesIt) {
    EXPECT_EQ("blue", Set({{"bay", 0}, {"led", 1}, {"action", "blink"}}).m_values["color"]);
    EXPECT_THAT(m_blade.m_writtenColors, ElementsAre(Blue));
    m_blade.m_writtenColors.clear();
    EXPECT_EQ("amber", Set({{"bay", 0}, {"led", 2}, {"action", "on"}}).m_values["color"]);
    EXPECT_THAT(m_blade.m_writtenColors, ElementsAre(Red, Amber));
    m_blade.m_writtenColors.clear();
    EXPECT_TRUE(Set({{"bay", 0}, {"led", 2}, {"action", "off"}}).m_good);
    EXPECT_THAT(m_blade.m_writtenColors, ElementsAre(Red)) << "any will do";
}

TEST_F(LedSetOrder, AsksForNoColorThatTheRowRulesOut) {
    m_blade.m_rowsNameColors = true;
    EXPECT_EQ("amber", Set({{"bay", 0}, {"led", 2}, {"action", "on"}}).m_values["color"]);
    EXPECT_THAT(m_blade.m_writtenColors, ElementsAre(Amber));
}

TEST_F(LedSetOrder, AnswersARefusedColorWithTheSupportedOnesAndLeavesTheLedAsItWas) {
    Set({{"bay", 3}, {"led", 3}, {"action", "blink"}, {"color", "green"}, {"on", 200}, {"off", 800}});
    const OrderOutcome outcome = Set({{"bay", 3}, {"led", 3}, {"action", "on"}, {"color", "blue"}});
    EXPECT_FALSE(outcome.m_good);
    EXPECT_FALSE(outcome.m_changed);
    EXPECT_EQ(0xCC, outcome.m_result);
    EXPECT_THAT(
        outcome.m_remarks,
        ElementsAre("LED 3 of AMC bay 3: the controller refused it with completion code 0xcc (invalid data field "
                    "in the request)",
                    "LED 3 of AMC bay 3 can be red, green, amber"));
    EXPECT_EQ((json{"red", "green", "amber"}), json(outcome.m_values["supported_colors"]));
    const LedRow& row = m_blade.m_leds[(std::pair{3, 3})].m_row;
    EXPECT_EQ(20, row.m_onTime);
    EXPECT_EQ(80, row.m_offTime);
    EXPECT_EQ(Green, row.m_color);
}

TEST_F(LedSetOrder, GivesALedUnderLocalControlBackAfterTheSearchForItsColors) {
    Set({{"bay", 0}, {"led", 2}, {"action", "on"}, {"color", "green"}});
    EXPECT_EQ(1, m_blade.m_leds[(std::pair{0, 2})].m_row.m_local);
}

TEST_F(LedSetOrder, SearchesNothingWhereTheRowNamesTheColors) {
    m_blade.m_rowsNameColors = true;
    EXPECT_EQ("LED 1 of baseboard can be blue",
              Set({{"bay", 0}, {"led", 1}, {"action", "on"}, {"color", "white"}}).m_remarks.at(1));
    EXPECT_EQ(1, m_blade.m_writes);
}

TEST_F(LedSetOrder, TellsWhatTheAdaptorLoggedOnlyWhenItFailed) {
    m_blade.m_logged = "why";
    EXPECT_THAT(Set({{"bay", 0}, {"led", 1}, {"action", "on"}}).m_reasons, IsEmpty());
    m_blade.m_result = 0xD5;
    const OrderOutcome outcome = Set({{"bay", 0}, {"led", 1}, {"action", "on"}});
    EXPECT_THAT(outcome.m_reasons, ElementsAre("why"));
    EXPECT_THAT(outcome.m_remarks, ElementsAre(HasSubstr("completion code 0xd5")));
}

TEST_F(LedSetOrder, SaysThatASimulatedLedWasNotSet) {
    Picture picture;
    picture.m_source.m_kind = Source::Kind::Missing;
    const json values = {{"bay", 0}, {"led", 1}, {"action", "on"}, {"simulated", true}};
    EXPECT_THAT(CarryOut({"led-set", values}, m_blade, picture).m_remarks,
                ElementsAre("the inventory is simulated: no LED was set"));
}

TEST_F(LedSetOrder, RefusesValuesThatMakeNoOrder) {
    struct ValuesCase {
        json m_values;
        const char* m_reason;
    };
    const ValuesCase cases[] = {
        {{{"led", 1}, {"action", "on"}}, "led-set: \"bay\": expected a number from 0 to 9"},
        {{{"bay", 10}, {"led", 1}, {"action", "on"}}, "\"bay\": expected"},
        {{{"bay", 4294967297U}, {"led", 1}, {"action", "on"}}, "\"bay\": expected"},
        {{{"bay", "3"}, {"led", 1}, {"action", "on"}}, "\"bay\": expected"},
        {{{"bay", 3}, {"led", 5}, {"action", "on"}}, "\"led\": expected a number from 1 to 4"},
        {{{"bay", 3}, {"led", 1}, {"action", "flash"}}, "\"action\": expected on, off, blink, local"},
        {{{"bay", 3}, {"led", 1}, {"action", "on"}, {"color", "black"}}, "\"color\": expected white, red"},
        {{{"bay", 3}, {"led", 1}, {"action", "on"}, {"colour", "red"}}, "\"colour\": it has no such value"},
        {{{"bay", 3}, {"led", 1}, {"action", "off"}, {"color", "red"}}, "--color goes with on and blink"},
        {{{"bay", 3}, {"led", 1}, {"action", "blink"}, {"on", 5}}, "--on and --off together"},
        {{{"bay", 3}, {"led", 1}, {"action", "on"}, {"on", 5}, {"off", 5}}, "the times of blink"},
        {{{"bay", 3}, {"led", 1}, {"action", "on"}, {"first_amc", 1}}, "expected true or false"},
        {json::array(), "led-set: expected its values as an object"},
    };
    for (const ValuesCase& each : cases)
        EXPECT_THAT(UsageErrorOf([&] { CheckOrder({"led-set", each.m_values}); }), HasSubstr(each.m_reason));
}

} // namespace
