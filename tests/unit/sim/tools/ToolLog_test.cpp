// How the tools were called: numbers, arguments as they are, beginnings and ends, what cannot be read.
#include "sim/tools/ToolLog.h"

#include "ToolTest.h"

#include <csignal>

using namespace BLADESIM;
using nlohmann::ordered_json;
using testing::StartsWith;

using ToolLog = ToolTest;

TEST_F(ToolLog, IsAnEmptyListAtFirst) {
    EXPECT_EQ(ReadToolLog(m_Folder), ordered_json::array());
}

TEST_F(ToolLog, NumbersRunsInTheOrderOfTheirBeginnings) {
    const TOOL_RUN l_First(m_Folder, "mavk_init", {"mavk_init", "-v"});
    const TOOL_RUN l_Second(m_Folder, "mavk_boot", {"mavk_boot"});
    l_Second.End(7, 0);
    l_First.End(0, 0);
    const ordered_json l_Runs = ReadToolLog(m_Folder);
    ASSERT_EQ(l_Runs.size(), 2U);
    EXPECT_EQ(l_Runs[0]["number"], 1);
    EXPECT_EQ(l_Runs[0]["tool"], "mavk_init");
    EXPECT_EQ(l_Runs[0]["argv"], ordered_json({"mavk_init", "-v"}));
    EXPECT_EQ(l_Runs[0]["exit"], 0);
    EXPECT_EQ(l_Runs[1]["number"], 2);
    EXPECT_EQ(l_Runs[1]["exit"], 7);
    EXPECT_EQ(l_Runs[1]["process"], ::getpid());
}

TEST_F(ToolLog, CountsTimesFromTheFirstBeginning) {
    const TOOL_RUN l_First(m_Folder, "mavk_init", {});
    l_First.End(0, 0);
    const TOOL_RUN l_Second(m_Folder, "mavk_init", {});
    const ordered_json l_Runs = ReadToolLog(m_Folder);
    EXPECT_EQ(l_Runs[0]["start_ms"], 0.0);
    EXPECT_GE(l_Runs[0]["end_ms"].get<double>(), 0.0);
    EXPECT_GE(l_Runs[1]["start_ms"].get<double>(), l_Runs[0]["end_ms"].get<double>());
}

TEST_F(ToolLog, TellsAnEndByASignalFromAStatus) {
    TOOL_RUN(m_Folder, "fwburn", {}).End(0, SIGKILL);
    const ordered_json l_Runs = ReadToolLog(m_Folder);
    EXPECT_EQ(l_Runs[0]["signal"], SIGKILL);
    EXPECT_TRUE(l_Runs[0]["exit"].is_null());
}

TEST_F(ToolLog, LeavesOpenHowARunEndedThatDidNot) {
    const TOOL_RUN l_Run(m_Folder, "fwburn", {});
    const ordered_json l_Runs = ReadToolLog(m_Folder);
    for (const char* l_Key : {"end_ms", "exit", "signal"})
        EXPECT_TRUE(l_Runs[0][l_Key].is_null()) << l_Key;
}

TEST_F(ToolLog, KeepsArgumentsByteByByte) {
    const TOOL_RUN l_Run(m_Folder, "fwburn",
                         {"", "a  b", "$(touch x);'\"\\", "line\nline", "\x01\x1B[31m", "\xC3\xFF"});
    EXPECT_EQ(ReadToolLog(m_Folder)[0]["argv"],
              ordered_json({"", "a  b", "$(touch x);'\"\\", "line\nline", "\x01\x1B[31m", "\u00C3\u00FF"}));
}

TEST_F(ToolLog, HasALineForEachBeginningAndEachEnd) {
    const TOOL_RUN l_Run(m_Folder, "fwburn", {"fwburn"});
    EXPECT_THAT(Read("tools.jsonl"), StartsWith(R"({"number":1,"tool":"fwburn","argv":["fwburn"],"process":)"));
    const std::string l_Before = Read("tools.jsonl");
    l_Run.End(3, 0);
    EXPECT_THAT(Read("tools.jsonl").substr(l_Before.size()), StartsWith(R"({"number":1,"process":)"));
}

TEST_F(ToolLog, CountsNoArgumentThatLooksLikeABeginning) {
    const TOOL_RUN l_Run(m_Folder, "mavk_init", {R"({"number":7,"tool":"x"})", "\"tool\":"});
    EXPECT_EQ(TOOL_RUN(m_Folder, "mavk_init", {}).Number(), 2U);
}

TEST_F(ToolLog, CountsFromOneAgainWhenItWasForgotten) {
    TOOL_RUN(m_Folder, "fwburn", {}).End(0, 0);
    ClearToolLog(m_Folder);
    EXPECT_EQ(TOOL_RUN(m_Folder, "mavk_init", {}).Number(), 1U);
    EXPECT_EQ(ReadToolLog(m_Folder).size(), 1U);
}

TEST_F(ToolLog, DoesNotTakeTheEndOfAForgottenRunForThatOfAnother) {
    Write("tools.jsonl", R"({"number":1,"process":-5,"exit":9,"signal":null,"clock_ms":1.5})"
                         "\n");
    const TOOL_RUN l_Run(m_Folder, "mavk_init", {});
    AppendLine(File("tools.jsonl"), R"({"number":1,"process":-5,"exit":9,"signal":null,"clock_ms":1.5})");
    const ordered_json l_Runs = ReadToolLog(m_Folder);
    ASSERT_EQ(l_Runs.size(), 1U);
    EXPECT_EQ(l_Runs[0]["start_ms"], 0.0);
    EXPECT_TRUE(l_Runs[0]["exit"].is_null());
}

TEST_F(ToolLog, NamesTheLineThatItCannotRead) {
    const TOOL_RUN l_Run(m_Folder, "mavk_init", {});
    AppendLine(File("tools.jsonl"), "rubbish");
    EXPECT_THAT(ErrorOf([&] { ReadToolLog(m_Folder); }), StartsWith("tools.jsonl:2: "));
}
