// How the tools were called: numbers, arguments, beginnings and ends, and unreadable logs.
#include "sim/tools/ToolLog.h"

#include "ToolTest.h"

#include <csignal>

using namespace bladesim;
using nlohmann::ordered_json;
using testing::StartsWith;

using ToolLog = ToolTest;

TEST_F(ToolLog, IsAnEmptyListAtFirst) {
    EXPECT_EQ(ReadToolLog(m_folder), ordered_json::array());
}

TEST_F(ToolLog, NumbersRunsInTheOrderOfTheirBeginnings) {
    const ToolRun first(m_folder, "mavk_init", {"mavk_init", "-v"});
    const ToolRun second(m_folder, "mavk_boot", {"mavk_boot"});
    second.End(7, 0);
    first.End(0, 0);
    const ordered_json runs = ReadToolLog(m_folder);
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0]["number"], 1);
    EXPECT_EQ(runs[0]["tool"], "mavk_init");
    EXPECT_EQ(runs[0]["argv"], ordered_json({"mavk_init", "-v"}));
    EXPECT_EQ(runs[0]["exit"], 0);
    EXPECT_EQ(runs[1]["number"], 2);
    EXPECT_EQ(runs[1]["exit"], 7);
    EXPECT_EQ(runs[1]["process"], ::getpid());
}

TEST_F(ToolLog, CountsTimesFromTheFirstBeginning) {
    const ToolRun first(m_folder, "mavk_init", {});
    first.End(0, 0);
    const ToolRun second(m_folder, "mavk_init", {});
    const ordered_json runs = ReadToolLog(m_folder);
    EXPECT_EQ(runs[0]["start_ms"], 0.0);
    EXPECT_GE(runs[0]["end_ms"].get<double>(), 0.0);
    EXPECT_GE(runs[1]["start_ms"].get<double>(), runs[0]["end_ms"].get<double>());
}

TEST_F(ToolLog, TellsAnEndByASignalFromAStatus) {
    ToolRun(m_folder, "fwburn", {}).End(0, SIGKILL);
    const ordered_json runs = ReadToolLog(m_folder);
    EXPECT_EQ(runs[0]["signal"], SIGKILL);
    EXPECT_TRUE(runs[0]["exit"].is_null());
}

TEST_F(ToolLog, LeavesOpenHowARunEndedThatDidNot) {
    const ToolRun run(m_folder, "fwburn", {});
    const ordered_json runs = ReadToolLog(m_folder);
    for (const char* key : {"end_ms", "exit", "signal"})
        EXPECT_TRUE(runs[0][key].is_null()) << key;
}

TEST_F(ToolLog, KeepsArgumentsByteByByte) {
    const ToolRun run(m_folder, "fwburn", {"", "a  b", "$(touch x);'\"\\", "line\nline", "\x01\x1B[31m", "\xC3\xFF"});
    EXPECT_EQ(ReadToolLog(m_folder)[0]["argv"],
              ordered_json({"", "a  b", "$(touch x);'\"\\", "line\nline", "\x01\x1B[31m", "\u00C3\u00FF"}));
}

TEST_F(ToolLog, HasALineForEachBeginningAndEachEnd) {
    const ToolRun run(m_folder, "fwburn", {"fwburn"});
    EXPECT_THAT(Read("tools.jsonl"), StartsWith(R"({"number":1,"tool":"fwburn","argv":["fwburn"],"process":)"));
    const std::string before = Read("tools.jsonl");
    run.End(3, 0);
    EXPECT_THAT(Read("tools.jsonl").substr(before.size()), StartsWith(R"({"number":1,"process":)"));
}

TEST_F(ToolLog, CountsNoArgumentThatLooksLikeABeginning) {
    const ToolRun run(m_folder, "mavk_init", {R"({"number":7,"tool":"x"})", "\"tool\":"});
    EXPECT_EQ(ToolRun(m_folder, "mavk_init", {}).Number(), 2U);
}

TEST_F(ToolLog, CountsFromOneAgainWhenItWasForgotten) {
    ToolRun(m_folder, "fwburn", {}).End(0, 0);
    ClearToolLog(m_folder);
    EXPECT_EQ(ToolRun(m_folder, "mavk_init", {}).Number(), 1U);
    EXPECT_EQ(ReadToolLog(m_folder).size(), 1U);
}

TEST_F(ToolLog, DoesNotTakeTheEndOfAForgottenRunForThatOfAnother) {
    Write("tools.jsonl", R"({"number":1,"process":-5,"exit":9,"signal":null,"clock_ms":1.5})"
                         "\n");
    const ToolRun run(m_folder, "mavk_init", {});
    AppendLine(File("tools.jsonl"), R"({"number":1,"process":-5,"exit":9,"signal":null,"clock_ms":1.5})");
    const ordered_json runs = ReadToolLog(m_folder);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0]["start_ms"], 0.0);
    EXPECT_TRUE(runs[0]["exit"].is_null());
}

TEST_F(ToolLog, NamesTheLineThatItCannotRead) {
    const ToolRun run(m_folder, "mavk_init", {});
    AppendLine(File("tools.jsonl"), "rubbish");
    EXPECT_THAT(ErrorOf([&] { ReadToolLog(m_folder); }), StartsWith("tools.jsonl:2: "));
}
