// What the shell completes.
#include "host/shell/ShellLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

TEST(ShellCompletions, OfTheFirstWordAreCalls) {
    EXPECT_THAT(ShellCompletions("re"), ElementsAre("read"));
    EXPECT_THAT(ShellCompletions("le"), ElementsAre("led", "leds"));
    EXPECT_THAT(ShellCompletions("q"), ElementsAre("quit"));
    EXPECT_THAT(ShellCompletions("zz"), IsEmpty());
    EXPECT_THAT(ShellCompletions(""), AllOf(Contains("wait-event"), Contains("sleep"), Contains("status"),
                                            Not(Contains("shell")), Not(Contains("run"))));
}

TEST(ShellCompletions, OfACallsGroupAreItsShortestNames) {
    EXPECT_THAT(ShellCompletions("table bo"), ElementsAre("board"));
    EXPECT_THAT(ShellCompletions("read firm"), ElementsAre("firmware_update"));
    EXPECT_THAT(ShellCompletions("write  baseboard_led"), ElementsAre("baseboard_led", "baseboard_led_internal"));
}

TEST(ShellCompletions, OfParametersAreTheGroupsOwn) {
    EXPECT_THAT(ShellCompletions("read amc_table b"), ElementsAre("bay="));
    EXPECT_THAT(ShellCompletions("write 0x30200 bay=3 -- run"), ElementsAre("run_status="));
    EXPECT_THAT(ShellCompletions("read nonsense b"), IsEmpty());
    EXPECT_THAT(ShellCompletions("table board b"), IsEmpty());
}

TEST(ShellCompletions, OfOtherCommandsAreTheirWords) {
    EXPECT_THAT(ShellCompletions("firmware up"), ElementsAre("update"));
    EXPECT_THAT(ShellCompletions("led s"), ElementsAre("set"));
    EXPECT_THAT(ShellCompletions("help inv"), ElementsAre("inventory"));
    EXPECT_THAT(ShellCompletions("inventory "), IsEmpty());
}

} // namespace
