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

TEST(Table, ThatIsTooWideHasItsLongestColumnsCut) {
    const TableRows rows = {{{"bay"}, {"name"}, {"maker"}}, {{"1"}, {"a very long name"}, {"a long maker"}}};
    EXPECT_EQ("bay  name       maker\n1    a very l…  a long m…\n", FormatTable(rows, false, {}, {25}));
    EXPECT_EQ("  bay  name     maker\n  1    a very…  a long…\n", FormatTable(rows, false, "  ", {23}));
    EXPECT_EQ("bay  name     maker\n1    a ve...  a lon...\n", FormatTable(rows, false, {}, {22, "..."}));
}

TEST(Table, ThatIsTooWideKeepsItsFirstColumnWhileTheOthersCanLose) {
    const TableRows rows = {{{"place"}, {"LED"}}, {{"AMC bay 3"}, {"2 service"}}, {{"AMC bay 6"}, {"2 service"}}};
    EXPECT_EQ("place      LED\nAMC bay 3  2 serv…\nAMC bay 6  2 serv…\n", FormatTable(rows, false, {}, {18}));
    EXPECT_EQ("place    LED\nAMC ba…  2 ser…\nAMC ba…  2 ser…\n", FormatTable(rows, false, {}, {15}));
}

TEST(Table, ThatFitsIsNotCut) {
    const TableRows rows = {{{"bay"}, {"name"}}, {{"1"}, {"a long name"}}};
    EXPECT_EQ(FormatTable(rows, false), FormatTable(rows, false, {}, {16}));
    EXPECT_NE(FormatTable(rows, false), FormatTable(rows, false, {}, {15}));
}

TEST(Table, KeepsItsNarrowColumnsHoweverNarrowTheTerminalIs) {
    EXPECT_EQ("abcdef  abcde…\n", FormatTable({{{"abcdef"}, {"abcdefg"}}}, false, {}, {1}));
}

TEST(Table, IsCutBetweenCharactersAndNotWithinOne) {
    EXPECT_EQ("äöüäö…\n", FormatTable({{{"äöüäöüäöü"}}}, false, {}, {6}));
    EXPECT_EQ("äöüäöüäöü\n", FormatTable({{{"äöüäöüäöü"}}}, false, {}, {9}));
    EXPECT_EQ("\033[31mabcde…\033[0m\n", FormatTable({{{"abcdefghi", "31"}}}, true, {}, {6}));
}

} // namespace
