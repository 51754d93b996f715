// What people read.
#include "host/output/TextOutput.h"

#include "host/HostParams.h"
#include "host/output/Output.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace BM_ADAPTOR;
using namespace BMHOST;
using LINES = std::vector<std::vector<std::string>>;

template <typename SHOWN>
std::string Shown(SHOWN a_Shown) {
    testing::internal::CaptureStdout();
    a_Shown(*MakeTextOutput(STDOUT_FILENO));
    return testing::internal::GetCapturedStdout();
}

TEST(ValueText, IsTheValue) {
    EXPECT_EQ("true", ValueText(Bool(1, true)));
    EXPECT_EQ("false", ValueText(Bool(1, false)));
    EXPECT_EQ("-5", ValueText(Int(1, -5)));
    EXPECT_EQ("Board 1 ", ValueText(Text(1, "Board 1 ")));
    EXPECT_EQ("", ValueText(Text(1, "")));
}

TEST(ValueText, NoByteOfItSteersATerminal) {
    for (int i = 0; i < 256; ++i) {
        const std::string l_Text = ValueText(Text(1, std::string(1, static_cast<char>(i))));
        const bool l_Printable = i >= ' ' && i < 0x7F;
        EXPECT_EQ(l_Printable ? std::string(1, static_cast<char>(i)) : "?", l_Text) << i;
    }
}

TEST(AlignedTable, ColumnsAreAsWideAsTheirWidestText) {
    const LINES l_Lines = {{"bay", "name"}, {"1", "a long name"}, {"1000000", "b"}};
    EXPECT_EQ("  bay      name\n"
              "  1        a long name\n"
              "  1000000  b\n",
              AlignedTable(l_Lines, false));
}

TEST(AlignedTable, NoLineEndsInBlanks) {
    EXPECT_EQ("  a    b\n  1\n\n  x y\n", AlignedTable({{"a", "b"}, {"1", ""}, {"", ""}, {"x y", " "}}, false));
}

TEST(AlignedTable, LinesMayBeShorterThanTheFirst) {
    EXPECT_EQ("  a  b\n  1\n", AlignedTable({{"a", "b"}, {"1"}}, false));
    EXPECT_EQ("", AlignedTable({}, false));
}

TEST(AlignedTable, HeaderIsBoldWhenColourIsWanted) {
    EXPECT_EQ("  \033[1ma\033[0m\n  1\n", AlignedTable({{"a"}, {"1"}}, true));
}

TEST(TableLines, ColumnsAreTheRowsIdsInOrderOfAppearance) {
    CBMITable l_Table;
    auto l_First = Row(Text(0x30202, "AMC"), Int(0x30201, 1, true));
    auto l_Second = Row(Int(0x30208, 3), Int(0x30201, 9, true));
    l_Table.AddRow(l_First);
    l_Table.AddRow(l_Second);
    EXPECT_EQ((LINES{{"product name", "bay", "run status"}, {"AMC", "1", "-"}, {"-", "9", "3"}}), TableLines(l_Table));
}

TEST(TableLines, OfAnEmptyTableAreAHeaderWithoutColumns) {
    EXPECT_EQ((LINES{{}}), TableLines(CBMITable()));
}

TEST(TextOutput, ResultsAreNumbersWithTheirMeaning) {
    EXPECT_EQ("init: 1 (success)\n", Shown([](OUTPUT& a_Output) { a_Output.Lifecycle("init", 1); }));
    EXPECT_EQ("stop: 0x30005 (media software not stopped)\n",
              Shown([](OUTPUT& a_Output) { a_Output.Lifecycle("stop", 0x30005); }));
    EXPECT_EQ("write 0x30e00 BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE: 23 (key or value missing)\n",
              Shown([](OUTPUT& a_Output) { a_Output.Write(0x30e00, 23); }));
    EXPECT_EQ("write 0x999: -1 (failed)\n", Shown([](OUTPUT& a_Output) { a_Output.Write(0x999, -1); }));
}

TEST(TextOutput, RowShowsIdKeyNameAndValue) {
    const auto l_Row = Row(Int(0x303, 3, true), Int(0x301, -1), Text(0x30206, ""), Text(0x999, "\x1B[31m"));
    EXPECT_EQ("read 0x300 BMI_GROUP_HARDWARE_AMC_FRU_TABLE: 1 (success)\n"
              "  0x303    key  bay         3\n"
              "  0x301         field a     -1\n"
              "  0x30206       fw version\n"
              "  0x999         0x999       ?[31m\n",
              Shown([&](OUTPUT& a_Output) { a_Output.Read(0x300, 1, &l_Row); }));
}

TEST(TextOutput, NoRowShowsTheResultAlone) {
    EXPECT_EQ("read 0x30d00: 0 (nothing done)\n", Shown([](OUTPUT& a_Output) { a_Output.Read(0x30d00, 0, nullptr); }));
}

TEST(TextOutput, TableShowsItsRowsUnderColumnNames) {
    CBMITable l_Table;
    auto l_Row = Row(Int(0x30201, 9, true), Text(0x30202, "RTM"));
    l_Table.AddRow(l_Row);
    EXPECT_EQ("table 0x30200 BMI_GROUP_HARDWARE_AMC_TABLE: 1 (success)\n"
              "  bay  product name\n"
              "  9    RTM\n",
              Shown([&](OUTPUT& a_Output) { a_Output.Table(0x30200, 1, &l_Table); }));
}

TEST(TextOutput, EmptyAndUntouchedTablesShowTheResultAlone) {
    const CBMITable l_Empty;
    EXPECT_EQ("table 0x30200 BMI_GROUP_HARDWARE_AMC_TABLE: 1 (success)\n",
              Shown([&](OUTPUT& a_Output) { a_Output.Table(0x30200, 1, &l_Empty); }));
    EXPECT_EQ("table 0x30d00: 0 (nothing done)\n",
              Shown([](OUTPUT& a_Output) { a_Output.Table(0x30d00, 0, nullptr); }));
}

TEST(TextOutput, EventsShowTheirParameters) {
    EXPECT_EQ("event 0x70402, number 5\n"
              "  0x30208       run status  3\n"
              "  0x30201  key  bay         1\n",
              Shown([](OUTPUT& a_Output) { a_Output.Event(0x70402, 5, Row(Int(0x30208, 3), Int(0x30201, 1, true))); }));
    EXPECT_EQ("wait-event: no event came\n", Shown([](OUTPUT& a_Output) { a_Output.NoEvent(); }));
}

class Color : public testing::Test {
protected:
    Color() { unsetenv("NO_COLOR"); }
    ~Color() override {
        unsetenv("NO_COLOR");
        close(m_Terminal);
    }

    const int m_Terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
};

TEST_F(Color, IsWantedByATerminalOnly) {
    ASSERT_GE(m_Terminal, 0);
    EXPECT_TRUE(ColorWanted(m_Terminal));
    const int l_File = open("/dev/null", O_WRONLY | O_CLOEXEC);
    EXPECT_FALSE(ColorWanted(l_File));
    close(l_File);
}

TEST_F(Color, IsNotWantedWhereTheUserSaysSo) {
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(ColorWanted(m_Terminal));
    setenv("NO_COLOR", "", 1);
    EXPECT_TRUE(ColorWanted(m_Terminal));
}

} // namespace
