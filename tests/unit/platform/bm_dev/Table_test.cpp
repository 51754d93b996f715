// Tables for people.
#include "bm_dev/Table.h"

#include <gtest/gtest.h>

namespace {

using namespace bm_dev;

TEST(Table, ColumnsAreAsWideAsTheirWidestText) {
    EXPECT_EQ("bay      name\n"
              "1        a long name\n"
              "1000000  b\n",
              FormatTable({{{"bay"}, {"name"}}, {{"1"}, {"a long name"}}, {{"1000000"}, {"b"}}}, false));
}

TEST(Table, AWidthIsThatOfTheCharacters) {
    EXPECT_EQ("○ off  a\nx      b\n", FormatTable({{{"○ off"}, {"a"}}, {{"x"}, {"b"}}}, false));
}

TEST(Table, NoLineEndsInBlanks) {
    EXPECT_EQ("a    b\n1\n\nx y\n",
              FormatTable({{{"a"}, {"b"}}, {{"1"}, {""}}, {{""}, {""}}, {{"x y"}, {" "}}}, false));
}

TEST(Table, RowsMayHaveDifferentLengths) {
    EXPECT_EQ("a  b\n1\n", FormatTable({{{"a"}, {"b"}}, {{"1"}}}, false));
    EXPECT_EQ("1\na  b\n", FormatTable({{{"1"}}, {{"a"}, {"b"}}}, false));
    EXPECT_EQ("", FormatTable({}, false));
}

TEST(Table, EveryLineIsIndented) {
    EXPECT_EQ("  a  b\n  1\n", FormatTable({{{"a"}, {"b"}}, {{"1"}}}, false, "  "));
}

TEST(Table, HidesWhatSteersATerminalAndKeepsTheColumns) {
    EXPECT_EQ("a?[2J?b  c\nx        d\n", FormatTable({{{"a\033[2J\nb"}, {"c"}}, {{"x"}, {"d"}}}, false));
}

TEST(Table, ColoursAreUsedWhenWantedAndTakeNoWidth) {
    const TableRows rows = {{{"ab", "31"}, {"c"}}, {{"", "31"}, {"d", "38;5;208"}}};
    EXPECT_EQ("\033[31mab\033[0m  c\n    \033[38;5;208md\033[0m\n", FormatTable(rows, true));
    EXPECT_EQ("ab  c\n    d\n", FormatTable(rows, false));
}

} // namespace
