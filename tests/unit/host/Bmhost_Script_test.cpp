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

Ended RunLines(const std::string& lines, const std::string& stub = "good") {
    return RunStub(stub, {"--json", "script", "-"}, lines);
}

TEST(BmhostScript, MakesItsCallsInOneProcessInOrder) {
    const Ended ended = RunLines("# a life\n"
                                 "init\r\n"
                                 "\n"
                                 "start # no device\n"
                                 "read 0x10 1='a b'\n"
                                 "stop\n"
                                 "fin"); // without a line end
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("Init Start Read Stop Fin Destroy", ended.StubCalls());
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n"
              "{\"op\":\"start\",\"result\":1}\n"
              R"({"op":"read","group":"0x10","result":1,"row":[{"id":"0x1","type":4,"key":true,"value":"a b"}]})"
              "\n"
              "{\"op\":\"stop\",\"result\":1}\n"
              "{\"op\":\"fin\",\"result\":1}\n",
              ended.m_out);
}

TEST(BmhostScript, MayComeFromAFile) {
    const std::string file = testing::TempDir() + "bmhost-script-" + std::to_string(getpid());
    std::ofstream(file) << "init\nnonsense\n";
    const Ended ended = RunStub("good", {"script", file});
    std::remove(file.c_str());
    EXPECT_EQ(2, ended.m_status);
    EXPECT_EQ("Init Destroy", ended.StubCalls());
    EXPECT_THAT(ended.ErrorLines(), ElementsAre("bmhost: " + file +
                                                ":2: unknown call 'nonsense': expected init, start, stop, "
                                                "fin, read, table, write, sleep or wait-event"));
}

TEST(BmhostScript, MakesItsCallsInAnyOrder) {
    const Ended ended = RunLines("read 0x10\nstop\nfin\nfin\ntable 0x10\nwrite 0x10 --\ninit\ninit\nfin\n");
    EXPECT_EQ(1, ended.m_status) << "the write before init gives 0";
    EXPECT_EQ("Read Stop Fin Fin Table Write Init Init Fin Destroy", ended.StubCalls());
}

TEST(BmhostScript, GoesOnAfterACallThatDoesNotReturnOne) {
    const Ended ended = RunLines("init\nread 0x12\nread 0x10\n");
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("Init Read Read Destroy", ended.StubCalls());
}

TEST(BmhostScript, EndsAtALineThatCannotBeMeantAfterTheCallsBefore) {
    struct WrongLine {
        const char* m_line;
        const char* m_expected;
    };
    constexpr WrongLine cases[] = {
        {"nonsense", "unknown call 'nonsense'"},
        {"read nosuch", "unknown group 'nosuch'"},
        {"read 0x10 1=i:x", "expected an integer"},
        {"read 0x10 1='x", "a quote ' does not end"},
        {"sleep", "expected sleep MS"},
        {"inventory", "unknown call 'inventory'"},
        {"--json", "unknown call '--json'"},
    };
    for (const WrongLine& testCase : cases) {
        const Ended ended = RunLines(std::string("init\n\n") + testCase.m_line + "\nfin\n");
        EXPECT_EQ(2, ended.m_status) << testCase.m_line;
        EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", ended.m_out);
        EXPECT_EQ("Init Destroy", ended.StubCalls());
        ASSERT_EQ(1U, ended.ErrorLines().size()) << ended.m_err;
        EXPECT_THAT(ended.ErrorLines()[0], testing::StartsWith("bmhost: standard input:3: "));
        EXPECT_THAT(ended.ErrorLines()[0], HasSubstr(testCase.m_expected));
    }
}

TEST(BmhostScript, WithoutACallIsGood) {
    for (const char* lines : {"", "\n", "# nothing\r\n"}) {
        const Ended ended = RunLines(lines);
        EXPECT_EQ(0, ended.m_status);
        EXPECT_EQ("", ended.m_out);
    }
}

TEST(BmhostScript, ThatIsAFolderIsBadUsage) {
    const Ended ended = RunStub("good", {"script", "/"});
    EXPECT_EQ(2, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre("bmhost: script /: Is a directory"));
}

TEST(BmhostScript, WaitsForAnEventFromAThreadOfTheAdaptor) {
    const Ended ended = RunLines("init\nwrite 0x11 1=2 -- 3=true\nwait-event 60000\nwait-event 0\n");
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n"
              "{\"op\":\"write\",\"group\":\"0x11\",\"result\":1}\n"
              R"({"op":"event","event":"0x70402","number":5,"params":[{"id":"0x1","type":1,"key":true,"value":2},)"
              R"({"id":"0x3","type":0,"key":false,"value":true}]})"
              "\n"
              "{\"op\":\"wait-event\",\"result\":0}\n",
              ended.m_out);
}

TEST(BmhostScript, EventsThatNobodyWaitsForAreNotShown) {
    const Ended ended = RunLines("init\nwrite 0x10 --\nsleep 1\nfin\n");
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.m_out, testing::Not(HasSubstr("event")));
}

TEST(BmhostScript, MayEndWithoutFinWhileAThreadSendsAnEvent) {
    const Ended ended = RunLines("init\nwrite 0x11 1=2 --\n");
    EXPECT_EQ(0, ended.m_status) << ended.m_err;
}

// More lines than one read takes, so that the tool would find some of them.
TEST(BmhostScript, IsNotEatenByAToolThatTheAdaptorRuns) {
    const Ended ended = RunLines("init\n# " + std::string(100'000, 'x') + "\nstop\n", "runs_a_tool");
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n{\"op\":\"stop\",\"result\":1}\n", ended.m_out);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre("printed by a tool"));
}

TEST(BmhostScript, TellsOnStandardErrorWhyACallDidNotReturn1) {
    const Ended text = RunStub("start_fails", {"script", "-"}, "init\nstart\n");
    EXPECT_THAT(text.m_err, HasSubstr("bmhost: start returned 0 (nothing done)\n"
                                      "  log:   Fail to initialize DSP\n"
                                      "  cause: `mavk_init` ended with a code other than 0; the line before shows it\n"
                                      "  cure:  run by hand what stands after \"MAVK_INIT:\" in the log\n"));
    EXPECT_THAT(text.m_err, Not(HasSubstr("init returned")));

    const Ended json = RunStub("start_fails", {"--json", "script", "-"}, "init\nstart\n");
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n{\"op\":\"start\",\"result\":0}\n", json.m_out);
    EXPECT_THAT(json.m_err, HasSubstr("  cure:  run by hand"));
}

} // namespace
