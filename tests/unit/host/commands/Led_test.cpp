// What `led set` takes, and what it refuses before anything is sent.
#include "host/commands/Led.h"

#include "host/UsageError.h"
#include "host/context/FakeContext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

using Words = std::vector<std::string>;

struct OrderCase {
    LedWords m_words;
    LedOrder m_order;
};

class LedOrderTest : public testing::TestWithParam<OrderCase> {};

TEST_P(LedOrderTest, IsMadeOfItsWords) {
    const LedOrder order = LedOrderOf(GetParam().m_words);
    const LedOrder& wanted = GetParam().m_order;
    EXPECT_EQ(wanted.m_place.m_bay, order.m_place.m_bay);
    EXPECT_EQ(wanted.m_place.m_led, order.m_place.m_led);
    EXPECT_EQ(wanted.m_action, order.m_action);
    EXPECT_EQ(wanted.m_color, order.m_color);
    EXPECT_EQ(wanted.m_onTime, order.m_onTime);
    EXPECT_EQ(wanted.m_offTime, order.m_offTime);
}

INSTANTIATE_TEST_SUITE_P(
    Words, LedOrderTest,
    testing::Values(OrderCase{{"board", "1", "on", {}, {}, {}}, {{0, 1}, LedAction::On, 0, 500, 500}},
                    OrderCase{{"8", "4", "off", {}, {}, {}}, {{8, 4}, LedAction::Off, 0, 500, 500}},
                    OrderCase{{"rtm", "hot-swap", "local", {}, {}, {}}, {{9, 1}, LedAction::Local, 0, 500, 500}},
                    OrderCase{{"9", "blue", "local", {}, {}, {}}, {{9, 1}, LedAction::Local, 0, 500, 500}},
                    OrderCase{{"1", "out-of-service", "blink", {}, {}, {}}, {{1, 2}, LedAction::Blink, 0, 500, 500}},
                    OrderCase{{"1", "health", "on", "white", {}, {}}, {{1, 3}, LedAction::On, 1, 500, 500}},
                    OrderCase{{"1", "2", "on", "orange", {}, {}}, {{1, 2}, LedAction::On, 6, 500, 500}},
                    OrderCase{{"1", "2", "blink", "amber", 1, 60000}, {{1, 2}, LedAction::Blink, 5, 1, 60000}}));

struct LedRefusalCase {
    Words m_words;
    const char* m_reason;
};

class LedOrderRefusalTest : public testing::TestWithParam<LedRefusalCase> {};

TEST_P(LedOrderRefusalTest, SaysWhatWasExpected) {
    FakeContext context;
    EXPECT_THAT(UsageErrorOf([&] { RunWords(context, GetParam().m_words); }), testing::HasSubstr(GetParam().m_reason));
    EXPECT_EQ(0, context.m_sessions);
}

INSTANTIATE_TEST_SUITE_P(
    Words, LedOrderRefusalTest,
    testing::Values(
        LedRefusalCase{{"led"}, "expected led set BAY LED"},
        LedRefusalCase{{"led", "get", "1", "1", "on"}, "unknown command 'led get': expected led set"},
        LedRefusalCase{{"led", "set", "1", "1"}, "expected led set"},
        LedRefusalCase{{"led", "set", "1", "1", "on", "on"}, "expected led set"},
        LedRefusalCase{{"led", "set", "0", "1", "on"}, "BAY '0': expected board, rtm, or a bay from 1 to 9"},
        LedRefusalCase{{"led", "set", "10", "1", "on"}, "BAY '10'"},
        LedRefusalCase{{"led", "set", "1", "5", "on"}, "LED '5': expected hot-swap"},
        LedRefusalCase{{"led", "set", "1", "0", "on"}, "LED '0'"},
        LedRefusalCase{{"led", "set", "1", "1", "flash"}, "'flash': expected on, off, blink or local"},
        LedRefusalCase{{"led", "set", "1", "1", "on", "--color", "black"}, "'black': expected white, red"},
        LedRefusalCase{{"led", "set", "1", "1", "on", "--color", "-"}, "'-': expected white, red"},
        LedRefusalCase{{"led", "set", "1", "1", "off", "--color", "red"}, "--color goes with on and blink"},
        LedRefusalCase{{"led", "set", "1", "1", "local", "--color", "red"}, "--color goes with on and blink"},
        LedRefusalCase{{"led", "set", "1", "1", "on", "--on", "5", "--off", "5"}, "are the times of blink"},
        LedRefusalCase{{"led", "set", "1", "1", "blink", "--on", "5"}, "expected --on and --off together"},
        LedRefusalCase{{"led", "set", "1", "1", "blink", "--on", "0", "--off", "5"}, "--on"},
        LedRefusalCase{{"led", "set", "1", "1", "blink", "--on", "5", "--off", "60001"}, "--off"},
        LedRefusalCase{{"led", "set", "1", "1", "blink", "--on", "x", "--off", "1"}, "--on"},
        LedRefusalCase{{"led", "set", "1", "1", "on", "--colour", "red"}, "did you mean --color?"},
        LedRefusalCase{{"led", "set", "baord", "1", "on"}, "; did you mean board?"},
        LedRefusalCase{{"led", "set", "1", "helth", "on"}, "; did you mean health?"},
        LedRefusalCase{{"led", "set", "1", "1", "blnik"}, "; did you mean blink?"},
        LedRefusalCase{{"led", "set", "1", "1", "on", "--color", "gren"}, "; did you mean green?"}));

TEST(LedSet, WritesWhatItWasTold) {
    FakeContext context;
    RunWords(context, {"led", "set", "board", "health", "blink", "--color", "amber", "--on", "200", "--off", "800"});
    EXPECT_THAT(context.m_session.m_written,
                testing::ElementsAre("0x100 0x101=3 -> 0x105=1 0x102=200 0x103=800 0x10c=5"));
}

} // namespace
