// Standard output: the adaptor's prints, and an output that accepts nothing.
#include "host/HostProcess.h"
#include "tests/SizeLimit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(BmhostOutput, HasJsonAloneInJsonMode) {
    const Ended ended = RunStub("prints", {"--json", "init"});
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", ended.m_out);
    EXPECT_THAT(ended.m_err, HasSubstr("printed with stdio"));
    EXPECT_THAT(ended.m_err, HasSubstr("an unfinished line"));
}

TEST(BmhostOutput, HasTheAdaptorsPrintsInTheirOrderInTextMode) {
    const Ended ended = RunStub("prints", {"script", "-"}, "stop\ninit\n");
    EXPECT_EQ("stop: 1 (success)\nprinted with stdio \x1B[31m\nan unfinished lineinit: 1 (success)\n", ended.m_out);
}

TEST(BmhostOutput, OfACallAloneAndOfInventoryHasNoPrintsOfTheAdaptor) {
    EXPECT_EQ("table 0x12: 12 (not found)\n", RunStub("prints", {"table", "0x12"}).m_out);
    EXPECT_EQ("read 0x12: 12 (not found)\n", RunStub("prints", {"read", "0x12"}).m_out);
    EXPECT_EQ("write 0x10: 1 (success)\n", RunStub("prints", {"write", "0x10", "--"}).m_out);
    const Ended ended = RunStub("prints", {"inventory"});
    EXPECT_THAT(ended.m_out, StartsWith("Baseboard\n"));
    EXPECT_THAT(ended.m_out + ended.m_err, Not(HasSubstr("printed with stdio")));
}

TEST(BmhostOutput, ThatTakesNothingIsOneLineAndStatusOne) {
    struct OutCase {
        Out m_out;
        const char* m_reason;
    };
    constexpr OutCase cases[] = {
        {Out::Closed, "Bad file descriptor"}, {Out::BrokenPipe, "Broken pipe"}, {Out::Full, "No space left on device"}};
    const std::vector<std::vector<std::string>> commands = {
        {"--json", "init"}, {"init"},  {"--json", "table", "0x10"}, {"table", "0x10"}, {"inventory"},
        {"groups"},         {"--help"}};
    for (const auto& [out, reason] : cases) {
        for (const auto& words : commands) {
            const Ended ended = RunStub("good", words, "", out);
            EXPECT_EQ(1, ended.m_status) << testing::PrintToString(words) << ended.m_err;
            EXPECT_THAT(ended.ErrorLines(), ElementsAre(std::string("bmhost: standard output: ") + reason));
        }
    }
}

TEST(BmhostOutput, ThatTakesNothingDoesNotKeepACallAloneFromItsFin) {
    EXPECT_EQ("Init Table Fin Destroy", RunStub("good", {"--json", "table", "0x10"}, "", Out::BrokenPipe).StubCalls());
    EXPECT_EQ("Init Read Fin Destroy", RunStub("good", {"read", "0x10"}, "", Out::BrokenPipe).StubCalls());
}

TEST(BmhostOutput, ThatIsClosedIsNotTakenForTheLogFile) {
    const std::string file = testing::TempDir() + "bmhost-closed-" + std::to_string(getpid());
    RunStub("good", {"--log", file, "--json", "init"}, "", Out::Closed);
    std::ifstream stream(file);
    const std::string text((std::istreambuf_iterator<char>(stream)), {});
    std::remove(file.c_str());
    EXPECT_THAT(text, HasSubstr("[stub] Init"));
    EXPECT_THAT(text, Not(HasSubstr("\"op\"")));
}

TEST(BmhostOutput, OfALogThatMayNotGrowAnyMoreIsToldOnceAndDoesNotEndTheHost) {
    const std::string file = testing::TempDir() + "bmhost-outgrown-" + std::to_string(getpid());
    const auto start = [&] {
        const SizeLimit limit(64);
        return HostProcess({"--adaptor", StubFile("good"), "--log", file, "init"});
    };
    HostProcess host = start();
    const Ended ended = host.End();
    std::remove(file.c_str());
    EXPECT_EQ(0, ended.m_signal);
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("init: 1 (success)\n", ended.m_out);
    EXPECT_EQ("Init Destroy", ended.StubCalls()) << "on the console";
    EXPECT_THAT(ended.ErrorLines(),
                ElementsAre("log: Failed flush to file " + file + ": File too large; reported only once"));
}

TEST(BmhostOutput, OfALogOnAFullDeviceIsToldOnceAndTheHostGoesOn) {
    const Ended ended = RunStub("good", {"--log", "/dev/full", "init"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("init: 1 (success)\n", ended.m_out);
    EXPECT_THAT(ended.ErrorLines(),
                ElementsAre("log: Failed flush to file /dev/full: No space left on device; reported only once"));
}

TEST(BmhostOutput, OfAToolThatOutgrowsItsFileEndsTheToolAsWithoutThisHost) {
    EXPECT_EQ("init: 1 (success)\n", RunStub("tool_outgrows", {"init"}).m_out);
}

TEST(BmhostOutput, ThatNobodyReadsDoesNotEndAnAdaptorThatPrints) {
    EXPECT_EQ("Init Destroy", RunStub("prints", {"init"}, "", Out::BrokenPipe).StubCalls());
}

} // namespace
