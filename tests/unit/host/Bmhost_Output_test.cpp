// Standard output: the adaptor's prints, and an output that takes nothing.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(BmhostOutput, HasJsonAloneInJsonMode) {
    const ENDED l_Ended = RunStub("prints", {"--json", "init"});
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", l_Ended.m_Out);
    EXPECT_THAT(l_Ended.m_Err, HasSubstr("printed with stdio"));
    EXPECT_THAT(l_Ended.m_Err, HasSubstr("an unfinished line"));
}

TEST(BmhostOutput, HasTheAdaptorsPrintsInTheirOrderInTextMode) {
    const ENDED l_Ended = RunStub("prints", {"script", "-"}, "stop\ninit\n");
    EXPECT_EQ("stop: 1 (success)\nprinted with stdio \x1B[31m\nan unfinished lineinit: 1 (success)\n", l_Ended.m_Out);
}

TEST(BmhostOutput, OfACallAloneAndOfInventoryHasNoPrintsOfTheAdaptor) {
    EXPECT_EQ("table 0x12: 12 (not found)\n", RunStub("prints", {"table", "0x12"}).m_Out);
    EXPECT_EQ("read 0x12: 12 (not found)\n", RunStub("prints", {"read", "0x12"}).m_Out);
    EXPECT_EQ("write 0x10: 1 (success)\n", RunStub("prints", {"write", "0x10", "--"}).m_Out);
    const ENDED l_Ended = RunStub("prints", {"inventory"});
    EXPECT_THAT(l_Ended.m_Out, StartsWith("Baseboard\n"));
    EXPECT_THAT(l_Ended.m_Out + l_Ended.m_Err, Not(HasSubstr("printed with stdio")));
}

TEST(BmhostOutput, ThatTakesNothingIsOneLineAndStatusOne) {
    struct OUT_CASE {
        OUT m_Out;
        const char* m_Reason;
    };
    constexpr OUT_CASE CASES[] = {
        {OUT::Closed, "Bad file descriptor"}, {OUT::BrokenPipe, "Broken pipe"}, {OUT::Full, "No space left on device"}};
    const std::vector<std::vector<std::string>> l_Commands = {
        {"--json", "init"}, {"init"},  {"--json", "table", "0x10"}, {"table", "0x10"}, {"inventory"},
        {"groups"},         {"--help"}};
    for (const auto& [l_Out, l_Reason] : CASES) {
        for (const auto& l_Words : l_Commands) {
            const ENDED l_Ended = RunStub("good", l_Words, "", l_Out);
            EXPECT_EQ(1, l_Ended.m_Status) << testing::PrintToString(l_Words) << l_Ended.m_Err;
            EXPECT_THAT(l_Ended.ErrorLines(), ElementsAre(std::string("bmhost: standard output: ") + l_Reason));
        }
    }
}

TEST(BmhostOutput, ThatTakesNothingDoesNotKeepACallAloneFromItsFin) {
    EXPECT_EQ("Init Table Fin Destroy", RunStub("good", {"--json", "table", "0x10"}, "", OUT::BrokenPipe).StubCalls());
    EXPECT_EQ("Init Read Fin Destroy", RunStub("good", {"read", "0x10"}, "", OUT::BrokenPipe).StubCalls());
}

TEST(BmhostOutput, ThatIsClosedIsNotTakenForTheLogFile) {
    const std::string l_File = testing::TempDir() + "bmhost-closed-" + std::to_string(getpid());
    RunStub("good", {"--log", l_File, "--json", "init"}, "", OUT::Closed);
    std::ifstream l_Stream(l_File);
    const std::string l_Text((std::istreambuf_iterator<char>(l_Stream)), {});
    std::remove(l_File.c_str());
    EXPECT_THAT(l_Text, HasSubstr("[stub] Init"));
    EXPECT_THAT(l_Text, Not(HasSubstr("\"op\"")));
}

// Files of the processes that are started in its life may not grow beyond this.
class SIZE_LIMIT {
public:
    explicit SIZE_LIMIT(rlim_t a_Bytes) {
        getrlimit(RLIMIT_FSIZE, &m_Before);
        const rlimit l_Limit{a_Bytes, m_Before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &l_Limit);
    }
    SIZE_LIMIT(const SIZE_LIMIT&) = delete;
    SIZE_LIMIT& operator=(const SIZE_LIMIT&) = delete;
    ~SIZE_LIMIT() { setrlimit(RLIMIT_FSIZE, &m_Before); }

private:
    rlimit m_Before{};
};

TEST(BmhostOutput, OfALogThatMayNotGrowAnyMoreIsToldOnceAndDoesNotEndTheHost) {
    const std::string l_File = testing::TempDir() + "bmhost-outgrown-" + std::to_string(getpid());
    const auto l_Start = [&] {
        const SIZE_LIMIT l_Limit(64);
        return HOST_PROCESS({"--adaptor", StubFile("good"), "--log", l_File, "init"});
    };
    HOST_PROCESS l_Host = l_Start();
    const ENDED l_Ended = l_Host.End();
    std::remove(l_File.c_str());
    EXPECT_EQ(0, l_Ended.m_Signal);
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ("init: 1 (success)\n", l_Ended.m_Out);
    EXPECT_EQ("Init Destroy", l_Ended.StubCalls()) << "on the console";
    EXPECT_THAT(l_Ended.ErrorLines(),
                ElementsAre("log: Failed flush to file " + l_File + ": File too large; this is told once"));
}

TEST(BmhostOutput, OfALogOnAFullDeviceIsToldOnceAndTheHostGoesOn) {
    const ENDED l_Ended = RunStub("good", {"--log", "/dev/full", "init"});
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ("init: 1 (success)\n", l_Ended.m_Out);
    EXPECT_THAT(l_Ended.ErrorLines(),
                ElementsAre("log: Failed flush to file /dev/full: No space left on device; this is told once"));
}

TEST(BmhostOutput, OfAToolThatOutgrowsItsFileEndsTheToolAsWithoutThisHost) {
    EXPECT_EQ("init: 1 (success)\n", RunStub("tool_outgrows", {"init"}).m_Out);
}

TEST(BmhostOutput, ThatNobodyReadsDoesNotEndAnAdaptorThatPrints) {
    EXPECT_EQ("Init Destroy", RunStub("prints", {"init"}, "", OUT::BrokenPipe).StubCalls());
}

} // namespace
