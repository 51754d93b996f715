// Tables for people.
#include "sim/orders/Table.h"

#include <gtest/gtest.h>

using namespace bladesim;

TEST(Table, HasColumnsAsWideAsTheirWidestTextAndNoBlanksAtTheEndOfALine) {
    EXPECT_EQ(FormatTable({{{"A"}, {"B"}}, {{"long"}, {""}}, {{"x"}, {"y z"}}}, false), "A     B\n"
                                                                                        "long\n"
                                                                                        "x     y z\n");
}

TEST(Table, CountsCharactersAndNotBytes) {
    EXPECT_EQ(FormatTable({{{"●"}, {"1"}}, {{"ab"}, {"2"}}}, false), "●   1\nab  2\n");
}

TEST(Table, MayHaveRowsOfDifferentLength) {
    EXPECT_EQ(FormatTable({{{"a"}}, {{"b"}, {"c"}}}, false), "a\nb  c\n");
    EXPECT_EQ(FormatTable({}, false), "");
}

TEST(Table, ColorsACellAndNotTheBlanksAfterIt) {
    EXPECT_EQ(FormatTable({{{"on", "31"}, {"x"}}, {{"blink"}, {"y"}}}, true), "\033[31mon\033[0m     x\nblink  y\n");
    EXPECT_EQ(FormatTable({{{"on", "31"}, {"x"}}}, false), "on  x\n");
}

TEST(Table, ShowsWhatSteersATerminalAsQuestionMarks) {
    EXPECT_EQ(FormatTable({{{"a\033[2J"}, {"b\nc"}}}, false), "a?[2J  b?c\n");
}
