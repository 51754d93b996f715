// What `led set` takes, and what it refuses before anything is sent.
#include "host/commands/LedSet.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace BMHOST;

using WORDS = std::vector<std::string>;

struct ORDER_CASE {
    WORDS m_Words;
    LED_ORDER m_Order;
};

class LedOrder : public testing::TestWithParam<ORDER_CASE> {};

TEST_P(LedOrder, IsParsed) {
    WORDS l_Words = {"led", "set"};
    l_Words.insert(l_Words.end(), GetParam().m_Words.begin(), GetParam().m_Words.end());
    const LED_ORDER l_Order = ParseLedOrder(l_Words);
    const LED_ORDER& l_Wanted = GetParam().m_Order;
    EXPECT_EQ(l_Wanted.m_Place.m_Bay, l_Order.m_Place.m_Bay);
    EXPECT_EQ(l_Wanted.m_Place.m_LED, l_Order.m_Place.m_LED);
    EXPECT_EQ(l_Wanted.m_Action, l_Order.m_Action);
    EXPECT_EQ(l_Wanted.m_Color, l_Order.m_Color);
    EXPECT_EQ(l_Wanted.m_OnTime, l_Order.m_OnTime);
    EXPECT_EQ(l_Wanted.m_OffTime, l_Order.m_OffTime);
}

INSTANTIATE_TEST_SUITE_P(
    Words, LedOrder,
    testing::Values(ORDER_CASE{{"board", "1", "on"}, {{0, 1}, LED_ACTION::On, 0, 500, 500}},
                    ORDER_CASE{{"8", "4", "off"}, {{8, 4}, LED_ACTION::Off, 0, 500, 500}},
                    ORDER_CASE{{"rtm", "hot-swap", "local"}, {{9, 1}, LED_ACTION::Local, 0, 500, 500}},
                    ORDER_CASE{{"9", "blue", "local"}, {{9, 1}, LED_ACTION::Local, 0, 500, 500}},
                    ORDER_CASE{{"1", "out-of-service", "blink"}, {{1, 2}, LED_ACTION::Blink, 0, 500, 500}},
                    ORDER_CASE{{"1", "health", "on", "--color", "white"}, {{1, 3}, LED_ACTION::On, 1, 500, 500}},
                    ORDER_CASE{{"1", "2", "on", "--color", "orange"}, {{1, 2}, LED_ACTION::On, 6, 500, 500}},
                    ORDER_CASE{{"1", "2", "blink", "--on", "1", "--off", "60000", "--color", "amber"},
                               {{1, 2}, LED_ACTION::Blink, 5, 1, 60000}}));

struct LED_REFUSAL_CASE {
    WORDS m_Words;
    const char* m_Reason;
};

class LedOrderRefusal : public testing::TestWithParam<LED_REFUSAL_CASE> {};

TEST_P(LedOrderRefusal, SaysWhatWasExpected) {
    EXPECT_THAT(UsageErrorOf([] { ParseLedOrder(GetParam().m_Words); }), testing::HasSubstr(GetParam().m_Reason));
}

INSTANTIATE_TEST_SUITE_P(
    Words, LedOrderRefusal,
    testing::Values(
        LED_REFUSAL_CASE{{"led"}, "expected led set BAY LED"},
        LED_REFUSAL_CASE{{"led", "get", "1", "1", "on"}, "expected led set"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1"}, "expected led set"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "on", "on"}, "expected led set"},
        LED_REFUSAL_CASE{{"led", "set", "0", "1", "on"}, "BAY '0': expected board, rtm, or a bay from 1 to 9"},
        LED_REFUSAL_CASE{{"led", "set", "10", "1", "on"}, "BAY '10'"},
        LED_REFUSAL_CASE{{"led", "set", "1", "5", "on"}, "LED '5': expected hot-swap"},
        LED_REFUSAL_CASE{{"led", "set", "1", "0", "on"}, "LED '0'"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "flash"}, "'flash': expected on, off, blink or local"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "on", "--color", "black"}, "'black': expected white, red"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "on", "--color", "-"}, "'-': expected white, red"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "off", "--color", "red"}, "--color goes with on and blink"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "local", "--color", "red"}, "--color goes with on and blink"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "on", "--on", "5", "--off", "5"}, "are the times of blink"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "blink", "--on", "5"}, "expected --on and --off together"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "blink", "--on", "0", "--off", "5"}, "--on"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "blink", "--on", "5", "--off", "60001"}, "--off"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "blink", "--on", "x", "--off", "1"}, "--on"},
        LED_REFUSAL_CASE{{"led", "set", "1", "1", "on", "--colour", "red"}, "--colour"}));

} // namespace
