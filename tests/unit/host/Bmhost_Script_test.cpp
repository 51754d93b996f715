// Scripts through the program.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

ENDED RunLines(const std::string& a_Lines, const std::string& a_Stub = "good") {
    return RunStub(a_Stub, {"--json", "script", "-"}, a_Lines);
}

TEST(BmhostScript, MakesItsCallsInOneProcessInOrder) {
    const ENDED l_Ended = RunLines("# a life\n"
                                   "init\r\n"
                                   "\n"
                                   "start # no device\n"
                                   "read 0x10 1='a b'\n"
                                   "stop\n"
                                   "fin"); // without a line end
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ("Init Start Read Stop Fin Destroy", l_Ended.StubCalls());
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n"
              "{\"op\":\"start\",\"result\":1}\n"
              R"({"op":"read","group":"0x10","result":1,"row":[{"id":"0x1","type":4,"key":true,"value":"a b"}]})"
              "\n"
              "{\"op\":\"stop\",\"result\":1}\n"
              "{\"op\":\"fin\",\"result\":1}\n",
              l_Ended.m_Out);
}

TEST(BmhostScript, MayComeFromAFile) {
    const std::string l_File = testing::TempDir() + "bmhost-script-" + std::to_string(getpid());
    std::ofstream(l_File) << "init\nnonsense\n";
    const ENDED l_Ended = RunStub("good", {"script", l_File});
    std::remove(l_File.c_str());
    EXPECT_EQ(2, l_Ended.m_Status);
    EXPECT_EQ("Init Destroy", l_Ended.StubCalls());
    EXPECT_THAT(l_Ended.ErrorLines(), ElementsAre("bmhost: " + l_File +
                                                  ":2: unknown call 'nonsense': expected init, start, stop, "
                                                  "fin, read, table, write, sleep or wait-event"));
}

TEST(BmhostScript, MakesItsCallsInAnyOrder) {
    const ENDED l_Ended = RunLines("read 0x10\nstop\nfin\nfin\ntable 0x10\nwrite 0x10 --\ninit\ninit\nfin\n");
    EXPECT_EQ(1, l_Ended.m_Status) << "the write before init gives 0";
    EXPECT_EQ("Read Stop Fin Fin Table Write Init Init Fin Destroy", l_Ended.StubCalls());
}

TEST(BmhostScript, GoesOnAfterACallThatDoesNotReturnOne) {
    const ENDED l_Ended = RunLines("init\nread 0x12\nread 0x10\n");
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("Init Read Read Destroy", l_Ended.StubCalls());
}

TEST(BmhostScript, EndsAtALineThatCannotBeMeantAfterTheCallsBefore) {
    struct WRONG_LINE {
        const char* m_Line;
        const char* m_Expected;
    };
    constexpr WRONG_LINE CASES[] = {
        {"nonsense", "unknown call 'nonsense'"},
        {"read nosuch", "unknown group 'nosuch'"},
        {"read 0x10 1=i:x", "expected an integer"},
        {"read 0x10 1='x", "a quote ' does not end"},
        {"sleep", "expected sleep MS"},
        {"inventory", "unknown call 'inventory'"},
        {"--json", "unknown call '--json'"},
    };
    for (const WRONG_LINE& l_Case : CASES) {
        const ENDED l_Ended = RunLines(std::string("init\n\n") + l_Case.m_Line + "\nfin\n");
        EXPECT_EQ(2, l_Ended.m_Status) << l_Case.m_Line;
        EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", l_Ended.m_Out);
        EXPECT_EQ("Init Destroy", l_Ended.StubCalls());
        ASSERT_EQ(1U, l_Ended.ErrorLines().size()) << l_Ended.m_Err;
        EXPECT_THAT(l_Ended.ErrorLines()[0], testing::StartsWith("bmhost: standard input:3: "));
        EXPECT_THAT(l_Ended.ErrorLines()[0], HasSubstr(l_Case.m_Expected));
    }
}

TEST(BmhostScript, WithoutACallIsGood) {
    for (const char* l_Lines : {"", "\n", "# nothing\r\n"}) {
        const ENDED l_Ended = RunLines(l_Lines);
        EXPECT_EQ(0, l_Ended.m_Status);
        EXPECT_EQ("", l_Ended.m_Out);
    }
}

TEST(BmhostScript, ThatIsAFolderIsBadUsage) {
    const ENDED l_Ended = RunStub("good", {"script", "/"});
    EXPECT_EQ(2, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.ErrorLines(), ElementsAre("bmhost: script /: Is a directory"));
}

TEST(BmhostScript, WaitsForAnEventFromAThreadOfTheAdaptor) {
    const ENDED l_Ended = RunLines("init\nwrite 0x11 1=2 -- 3=true\nwait-event 60000\nwait-event 0\n");
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n"
              "{\"op\":\"write\",\"group\":\"0x11\",\"result\":1}\n"
              R"({"op":"event","event":"0x70402","number":5,"params":[{"id":"0x1","type":1,"key":true,"value":2},)"
              R"({"id":"0x3","type":0,"key":false,"value":true}]})"
              "\n"
              "{\"op\":\"wait-event\",\"result\":0}\n",
              l_Ended.m_Out);
}

TEST(BmhostScript, EventsThatNobodyWaitsForAreNotShown) {
    const ENDED l_Ended = RunLines("init\nwrite 0x10 --\nsleep 1\nfin\n");
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.m_Out, testing::Not(HasSubstr("event")));
}

TEST(BmhostScript, MayEndWithoutFinWhileAThreadSendsAnEvent) {
    const ENDED l_Ended = RunLines("init\nwrite 0x11 1=2 --\n");
    EXPECT_EQ(0, l_Ended.m_Status) << l_Ended.m_Err;
}

// More lines than are read at once, so that the tool would find some of them.
TEST(BmhostScript, IsNotEatenByAToolThatTheAdaptorRuns) {
    const ENDED l_Ended = RunLines("init\n# " + std::string(100'000, 'x') + "\nstop\n", "runs_a_tool");
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n{\"op\":\"stop\",\"result\":1}\n", l_Ended.m_Out);
    EXPECT_THAT(l_Ended.ErrorLines(), ElementsAre("printed by a tool"));
}

} // namespace
