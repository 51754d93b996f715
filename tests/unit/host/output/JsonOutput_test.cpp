// The JSON of every call, byte for byte.
#include "host/HostParams.h"
#include "host/output/Output.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace {

using namespace BM_ADAPTOR;
using bmhost::MakeJsonOutput;

class JsonOutputTest : public testing::Test {
protected:
    ~JsonOutputTest() override { close(m_file); }

    // What was written since the last time.
    std::string Written() {
        std::array<char, 4096> bytes{};
        const ssize_t count = pread(m_file, bytes.data(), bytes.size(), m_read);
        m_read += count;
        return {bytes.data(), static_cast<std::size_t>(count)};
    }

    // How a text stands in a row.
    std::string WrittenText(const std::string& text) {
        const auto row = Row(Text(1, text));
        m_output->Read(1, 1, &row);
        std::string line = Written();
        const std::string before =
            R"({"op":"read","group":"0x1","result":1,"row":[{"id":"0x1","type":4,"key":false,"value":)";
        const std::string after = "}]}\n";
        EXPECT_TRUE(line.starts_with(before) && line.ends_with(after)) << line;
        return line.substr(before.size(), line.size() - before.size() - after.size());
    }

    int m_file = memfd_create("json", MFD_CLOEXEC);
    off_t m_read = 0;
    std::unique_ptr<bmhost::Output> m_output = MakeJsonOutput(m_file);
};

TEST_F(JsonOutputTest, LifecycleCalls) {
    for (const char* operation : {"init", "start", "stop", "fin"}) {
        m_output->Lifecycle(operation, 1);
        EXPECT_EQ(std::string(R"({"op":")") + operation + R"(","result":1})" + "\n", Written());
    }
    m_output->Lifecycle("stop", 0x30005);
    EXPECT_EQ("{\"op\":\"stop\",\"result\":196613}\n", Written());
}

TEST_F(JsonOutputTest, ReadWithARow) {
    CBMIParam uint(BMI_PARAM_UINT, 0x602, false);
    uint.SetInt(2);
    const auto row =
        Row(Int(0x303, 3, true), Int(0x301, -1), uint, Bool(0x106, true), Bool(0x107, false), Text(0x30206, "1.2"));
    m_output->Read(0x300, 1, &row);
    EXPECT_EQ(R"({"op":"read","group":"0x300","result":1,"row":[)"
              R"({"id":"0x303","type":1,"key":true,"value":3},)"
              R"({"id":"0x301","type":1,"key":false,"value":-1},)"
              R"({"id":"0x602","type":2,"key":false,"value":2},)"
              R"({"id":"0x106","type":0,"key":false,"value":true},)"
              R"({"id":"0x107","type":0,"key":false,"value":false},)"
              R"({"id":"0x30206","type":4,"key":false,"value":"1.2"}]})"
              "\n",
              Written());
}

TEST_F(JsonOutputTest, ReadWithoutARowAndWithAnEmptyOne) {
    m_output->Read(0x30e10, 0, nullptr);
    EXPECT_EQ("{\"op\":\"read\",\"group\":\"0x30e10\",\"result\":0,\"row\":null}\n", Written());
    const CBMIParams empty;
    m_output->Read(0x300, 12, &empty);
    EXPECT_EQ("{\"op\":\"read\",\"group\":\"0x300\",\"result\":12,\"row\":[]}\n", Written());
}

TEST_F(JsonOutputTest, TableWithRows) {
    CBMITable table;
    auto first = Row(Int(0x30201, 1, true));
    CBMIParams second;
    auto third = Row(Int(0x30201, 9, true), Text(0x30202, "RTM"));
    for (CBMIParams* row : {&first, &second, &third})
        table.AddRow(row);
    m_output->Table(0x30200, 1, &table);
    EXPECT_EQ(
        R"({"op":"table","group":"0x30200","result":1,"rows":[)"
        R"([{"id":"0x30201","type":1,"key":true,"value":1}],[],)"
        R"([{"id":"0x30201","type":1,"key":true,"value":9},{"id":"0x30202","type":4,"key":false,"value":"RTM"}]]})"
        "\n",
        Written());
}

TEST_F(JsonOutputTest, TableUntouchedAndEmpty) {
    m_output->Table(0x30e10, 0, nullptr);
    EXPECT_EQ("{\"op\":\"table\",\"group\":\"0x30e10\",\"result\":0,\"rows\":null}\n", Written());
    const CBMITable empty;
    m_output->Table(0x30200, 1, &empty);
    EXPECT_EQ("{\"op\":\"table\",\"group\":\"0x30200\",\"result\":1,\"rows\":[]}\n", Written());
}

TEST_F(JsonOutputTest, Write) {
    m_output->Write(0x30e00, 23);
    EXPECT_EQ("{\"op\":\"write\",\"group\":\"0x30e00\",\"result\":23}\n", Written());
}

TEST_F(JsonOutputTest, EventAndNoEvent) {
    m_output->Event(0x70402, 5, Row(Int(0x30208, 3), Int(0x30201, 1, true)));
    EXPECT_EQ(R"({"op":"event","event":"0x70402","number":5,"params":[{"id":"0x30208","type":1,"key":false,"value":3},)"
              R"({"id":"0x30201","type":1,"key":true,"value":1}]})"
              "\n",
              Written());
    m_output->Event(1, 4294967295, {});
    EXPECT_EQ("{\"op\":\"event\",\"event\":\"0x1\",\"number\":4294967295,\"params\":[]}\n", Written());
    m_output->NoEvent();
    EXPECT_EQ("{\"op\":\"wait-event\",\"result\":0}\n", Written());
}

TEST_F(JsonOutputTest, IntegersOfEverySize) {
    const auto row = Row(Int(1, std::numeric_limits<int32_t>::min()), Int(2, std::numeric_limits<int32_t>::max()));
    m_output->Read(1, -5, &row);
    EXPECT_EQ(R"({"op":"read","group":"0x1","result":-5,"row":[{"id":"0x1","type":1,"key":false,"value":-2147483648},)"
              R"({"id":"0x2","type":1,"key":false,"value":2147483647}]})"
              "\n",
              Written());
}

TEST_F(JsonOutputTest, QuotesBackslashesAndControlBytesAreEscaped) {
    EXPECT_EQ(R"("say \"yes\" \\ / ")", WrittenText("say \"yes\" \\ / "));
    EXPECT_EQ(R"("\n\t\r\b\f\u0001\u001b\u0000\u001f")", WrittenText(std::string("\n\t\r\b\f\x01\x1B\0\x1F", 9)));
}

TEST_F(JsonOutputTest, BytesAboveSevenBitsAreTheCodePointsOfTheirNumbers) {
    EXPECT_EQ("\"\xC2\xA0\"", WrittenText("\xA0"));
    EXPECT_EQ("\"\xC2\xBF\"", WrittenText("\xBF"));
    EXPECT_EQ("\"\xC3\x80\"", WrittenText("\xC0"));
    EXPECT_EQ("\"\xC3\xBF\"", WrittenText("\xFF"));
    EXPECT_EQ("\"\xC3\x83\xC2\xA9\"", WrittenText("\xC3\xA9")) << "two bytes of the hardware, not one letter";
}

TEST_F(JsonOutputTest, WhatSteersATerminalIsEscaped) {
    EXPECT_EQ(R"("\u007f\u0080\u009b31m\u009f")", WrittenText("\x7F\x80\x9B"
                                                              "31m\x9F"));
    EXPECT_EQ("\"\u00E2\\u0080\u00A8\"", WrittenText("\u2028")) << "three bytes of the hardware";
}

TEST_F(JsonOutputTest, LongTextIsWrittenWhole) {
    const std::string text(3000, 'x');
    EXPECT_EQ("\"" + text + "\"", WrittenText(text));
}

TEST(JsonOutputError, NamesStandardOutputAndReason) {
    try {
        MakeJsonOutput(-1)->NoEvent();
        FAIL() << "wrote to no descriptor";
    } catch (const std::system_error& error) {
        EXPECT_STREQ("standard output: Bad file descriptor", error.what());
    }
}

} // namespace
