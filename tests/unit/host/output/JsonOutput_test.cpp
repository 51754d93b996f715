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
using BMHOST::MakeJsonOutput;

class JsonOutput : public testing::Test {
protected:
    ~JsonOutput() override { close(m_File); }

    // What was written since the last time.
    std::string Written() {
        std::array<char, 4096> l_Bytes{};
        const ssize_t l_Count = pread(m_File, l_Bytes.data(), l_Bytes.size(), m_Read);
        m_Read += l_Count;
        return {l_Bytes.data(), static_cast<std::size_t>(l_Count)};
    }

    // How a text stands in a row.
    std::string WrittenText(const std::string& a_Text) {
        const auto l_Row = Row(Text(1, a_Text));
        m_Output->Read(1, 1, &l_Row);
        std::string l_Line = Written();
        const std::string l_Before =
            R"({"op":"read","group":"0x1","result":1,"row":[{"id":"0x1","type":4,"key":false,"value":)";
        const std::string l_After = "}]}\n";
        EXPECT_TRUE(l_Line.starts_with(l_Before) && l_Line.ends_with(l_After)) << l_Line;
        return l_Line.substr(l_Before.size(), l_Line.size() - l_Before.size() - l_After.size());
    }

    int m_File = memfd_create("json", MFD_CLOEXEC);
    off_t m_Read = 0;
    std::unique_ptr<BMHOST::OUTPUT> m_Output = MakeJsonOutput(m_File);
};

TEST_F(JsonOutput, LifecycleCalls) {
    for (const char* l_Operation : {"init", "start", "stop", "fin"}) {
        m_Output->Lifecycle(l_Operation, 1);
        EXPECT_EQ(std::string(R"({"op":")") + l_Operation + R"(","result":1})" + "\n", Written());
    }
    m_Output->Lifecycle("stop", 0x30005);
    EXPECT_EQ("{\"op\":\"stop\",\"result\":196613}\n", Written());
}

TEST_F(JsonOutput, ReadWithARow) {
    CBMIParam l_Uint(BMI_PARAM_UINT, 0x602, false);
    l_Uint.SetInt(2);
    const auto l_Row =
        Row(Int(0x303, 3, true), Int(0x301, -1), l_Uint, Bool(0x106, true), Bool(0x107, false), Text(0x30206, "1.2"));
    m_Output->Read(0x300, 1, &l_Row);
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

TEST_F(JsonOutput, ReadWithoutARowAndWithAnEmptyOne) {
    m_Output->Read(0x30e10, 0, nullptr);
    EXPECT_EQ("{\"op\":\"read\",\"group\":\"0x30e10\",\"result\":0,\"row\":null}\n", Written());
    const CBMIParams l_Empty;
    m_Output->Read(0x300, 12, &l_Empty);
    EXPECT_EQ("{\"op\":\"read\",\"group\":\"0x300\",\"result\":12,\"row\":[]}\n", Written());
}

TEST_F(JsonOutput, TableWithRows) {
    CBMITable l_Table;
    auto l_First = Row(Int(0x30201, 1, true));
    CBMIParams l_Second;
    auto l_Third = Row(Int(0x30201, 9, true), Text(0x30202, "RTM"));
    for (CBMIParams* l_Row : {&l_First, &l_Second, &l_Third})
        l_Table.AddRow(l_Row);
    m_Output->Table(0x30200, 1, &l_Table);
    EXPECT_EQ(
        R"({"op":"table","group":"0x30200","result":1,"rows":[)"
        R"([{"id":"0x30201","type":1,"key":true,"value":1}],[],)"
        R"([{"id":"0x30201","type":1,"key":true,"value":9},{"id":"0x30202","type":4,"key":false,"value":"RTM"}]]})"
        "\n",
        Written());
}

TEST_F(JsonOutput, TableUntouchedAndEmpty) {
    m_Output->Table(0x30e10, 0, nullptr);
    EXPECT_EQ("{\"op\":\"table\",\"group\":\"0x30e10\",\"result\":0,\"rows\":null}\n", Written());
    const CBMITable l_Empty;
    m_Output->Table(0x30200, 1, &l_Empty);
    EXPECT_EQ("{\"op\":\"table\",\"group\":\"0x30200\",\"result\":1,\"rows\":[]}\n", Written());
}

TEST_F(JsonOutput, Write) {
    m_Output->Write(0x30e00, 23);
    EXPECT_EQ("{\"op\":\"write\",\"group\":\"0x30e00\",\"result\":23}\n", Written());
}

TEST_F(JsonOutput, EventAndNoEvent) {
    m_Output->Event(0x70402, 5, Row(Int(0x30208, 3), Int(0x30201, 1, true)));
    EXPECT_EQ(R"({"op":"event","event":"0x70402","number":5,"params":[{"id":"0x30208","type":1,"key":false,"value":3},)"
              R"({"id":"0x30201","type":1,"key":true,"value":1}]})"
              "\n",
              Written());
    m_Output->Event(1, 4294967295, {});
    EXPECT_EQ("{\"op\":\"event\",\"event\":\"0x1\",\"number\":4294967295,\"params\":[]}\n", Written());
    m_Output->NoEvent();
    EXPECT_EQ("{\"op\":\"wait-event\",\"result\":0}\n", Written());
}

TEST_F(JsonOutput, IntegersOfEverySize) {
    const auto l_Row = Row(Int(1, std::numeric_limits<int32_t>::min()), Int(2, std::numeric_limits<int32_t>::max()));
    m_Output->Read(1, -5, &l_Row);
    EXPECT_EQ(R"({"op":"read","group":"0x1","result":-5,"row":[{"id":"0x1","type":1,"key":false,"value":-2147483648},)"
              R"({"id":"0x2","type":1,"key":false,"value":2147483647}]})"
              "\n",
              Written());
}

TEST_F(JsonOutput, QuotesBackslashesAndControlBytesAreEscaped) {
    EXPECT_EQ(R"("say \"yes\" \\ / ")", WrittenText("say \"yes\" \\ / "));
    EXPECT_EQ(R"("\n\t\r\b\f\u0001\u001b\u0000\u001f")", WrittenText(std::string("\n\t\r\b\f\x01\x1B\0\x1F", 9)));
}

TEST_F(JsonOutput, BytesAboveSevenBitsAreTheCodePointsOfTheirNumbers) {
    EXPECT_EQ("\"\xC2\xA0\"", WrittenText("\xA0"));
    EXPECT_EQ("\"\xC2\xBF\"", WrittenText("\xBF"));
    EXPECT_EQ("\"\xC3\x80\"", WrittenText("\xC0"));
    EXPECT_EQ("\"\xC3\xBF\"", WrittenText("\xFF"));
    EXPECT_EQ("\"\xC3\x83\xC2\xA9\"", WrittenText("\xC3\xA9")) << "two bytes of the hardware, not one letter";
}

TEST_F(JsonOutput, WhatSteersATerminalIsEscaped) {
    EXPECT_EQ(R"("\u007f\u0080\u009b31m\u009f")", WrittenText("\x7F\x80\x9B"
                                                              "31m\x9F"));
    EXPECT_EQ("\"\u00E2\\u0080\u00A8\"", WrittenText("\u2028")) << "three bytes of the hardware";
}

TEST_F(JsonOutput, LongTextIsWrittenWhole) {
    const std::string l_Text(3000, 'x');
    EXPECT_EQ("\"" + l_Text + "\"", WrittenText(l_Text));
}

TEST(JsonOutputError, NamesStandardOutputAndReason) {
    try {
        MakeJsonOutput(-1)->NoEvent();
        FAIL() << "wrote to no descriptor";
    } catch (const std::system_error& l_Error) {
        EXPECT_STREQ("standard output: Bad file descriptor", l_Error.what());
    }
}

} // namespace
