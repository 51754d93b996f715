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
using namespace bmhost;
using Lines = std::vector<std::vector<std::string>>;

template <typename Work>
std::string Shown(Work shown) {
    testing::internal::CaptureStdout();
    shown(*MakeTextOutput(STDOUT_FILENO));
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
        const std::string text = ValueText(Text(1, std::string(1, static_cast<char>(i))));
        const bool printable = i >= ' ' && i < 0x7F;
        EXPECT_EQ(printable ? std::string(1, static_cast<char>(i)) : "?", text) << i;
    }
}

TEST(AlignedTable, IsIndented) {
    EXPECT_EQ("  bay  name\n"
              "  1    a long name\n",
              AlignedTable({{"bay", "name"}, {"1", "a long name"}}, false));
    EXPECT_EQ("", AlignedTable({}, false));
}

TEST(AlignedTable, WhenColourIsWantedTheHeadingIsBoldAndThePainterColoursTheOtherCells) {
    const auto painter = [](std::size_t line, std::size_t column) { return line == 1 && column == 1 ? "31" : nullptr; };
    EXPECT_EQ("  \033[1ma\033[0m  \033[1mb\033[0m\n"
              "  1  \033[31m2\033[0m\n",
              AlignedTable({{"a", "b"}, {"1", "2"}}, true, painter));
    EXPECT_EQ("  a  b\n  1  2\n", AlignedTable({{"a", "b"}, {"1", "2"}}, false, painter));
}

TEST(TableLines, ColumnsAreTheRowsIdsInOrderOfAppearance) {
    CBMITable table;
    auto first = Row(Text(0x30202, "AMC"), Int(0x30201, 1, true));
    auto second = Row(Int(0x30208, 3), Int(0x30201, 9, true));
    table.AddRow(first);
    table.AddRow(second);
    EXPECT_EQ((Lines{{"product name", "bay", "run status"}, {"AMC", "1", "-"}, {"-", "9", "3"}}), TableLines(table));
}

TEST(TableLines, OfAnEmptyTableAreAHeaderWithoutColumns) {
    EXPECT_EQ((Lines{{}}), TableLines(CBMITable()));
}

TEST(TextOutput, ResultsAreNumbersWithTheirMeaning) {
    EXPECT_EQ("init: 1 (success)\n", Shown([](Output& output) { output.Lifecycle("init", 1); }));
    EXPECT_EQ("stop: 0x30005 (media software not stopped)\n",
              Shown([](Output& output) { output.Lifecycle("stop", 0x30005); }));
    EXPECT_EQ("write 0x30e00 BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE: 23 (key or value missing)\n",
              Shown([](Output& output) { output.Write(0x30e00, 23); }));
    EXPECT_EQ("write 0x999: -1 (failed)\n", Shown([](Output& output) { output.Write(0x999, -1); }));
}

TEST(TextOutput, RowShowsIdKeyNameAndValue) {
    const auto row = Row(Int(0x303, 3, true), Int(0x301, -1), Text(0x30206, ""), Text(0x999, "\x1B[31m"));
    EXPECT_EQ("read 0x300 BMI_GROUP_HARDWARE_AMC_FRU_TABLE: 1 (success)\n"
              "  0x303    key  bay         3\n"
              "  0x301         field a     -1\n"
              "  0x30206       fw version\n"
              "  0x999         0x999       ?[31m\n",
              Shown([&](Output& output) { output.Read(0x300, 1, &row); }));
}

TEST(TextOutput, NoRowShowsTheResultAlone) {
    EXPECT_EQ("read 0x30d00: 0 (nothing done)\n", Shown([](Output& output) { output.Read(0x30d00, 0, nullptr); }));
}

TEST(TextOutput, TableShowsItsRowsUnderColumnNames) {
    CBMITable table;
    auto row = Row(Int(0x30201, 9, true), Text(0x30202, "RTM"));
    table.AddRow(row);
    EXPECT_EQ("table 0x30200 BMI_GROUP_HARDWARE_AMC_TABLE: 1 (success)\n"
              "  bay  product name\n"
              "  9    RTM\n",
              Shown([&](Output& output) { output.Table(0x30200, 1, &table); }));
}

TEST(TextOutput, EmptyAndUntouchedTablesShowTheResultAlone) {
    const CBMITable empty;
    EXPECT_EQ("table 0x30200 BMI_GROUP_HARDWARE_AMC_TABLE: 1 (success)\n",
              Shown([&](Output& output) { output.Table(0x30200, 1, &empty); }));
    EXPECT_EQ("table 0x30d00: 0 (nothing done)\n", Shown([](Output& output) { output.Table(0x30d00, 0, nullptr); }));
}

TEST(TextOutput, EventsShowTheirParameters) {
    EXPECT_EQ("event 0x70402, number 5\n"
              "  0x30208       run status  3\n"
              "  0x30201  key  bay         1\n",
              Shown([](Output& output) { output.Event(0x70402, 5, Row(Int(0x30208, 3), Int(0x30201, 1, true))); }));
    EXPECT_EQ("wait-event: no event came\n", Shown([](Output& output) { output.NoEvent(); }));
}

} // namespace
