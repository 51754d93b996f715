// `bmhost shell` without a terminal.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

ENDED RunShell(const std::string& a_Lines, const std::string& a_Stub = "good") {
    return RunStub(a_Stub, {"--json", "shell"}, a_Lines);
}

TEST(BmhostShell, CallsInitOnceWhenItIsNeededAndFinAtTheEnd) {
    const ENDED l_Ended = RunShell("sleep 0\nread 0x10 1=2\ntable 0x12\n");
    EXPECT_EQ("Init Read Table Fin Destroy", l_Ended.StubCalls());
    EXPECT_EQ(1, l_Ended.m_Status) << "the table does not return 1";
    EXPECT_EQ(R"({"op":"read","group":"0x10","result":1,"row":[{"id":"0x1","type":1,"key":true,"value":2}]})"
              "\n"
              R"({"op":"table","group":"0x12","result":12,"rows":[]})"
              "\n",
              l_Ended.m_Out);
}

TEST(BmhostShell, StopsWhatWasStarted) {
    EXPECT_EQ("Init Start Stop Fin Destroy", RunShell("init\nstart\n").StubCalls());
    EXPECT_EQ("Init Start Stop Fin Destroy", RunShell("init\nstart\nstop\n").StubCalls());
    EXPECT_EQ("Init Start Stop Fin Destroy", RunShell("init\nstart\nstop\nfin\n").StubCalls());
}

TEST(BmhostShell, GoesOnAfterWhatCannotBeMeant) {
    const ENDED l_Ended = RunShell("nonsense\nread 'x\nread\ninit\n");
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("Init Fin Destroy", l_Ended.StubCalls());
    EXPECT_THAT(l_Ended.ErrorLines(), ElementsAre(HasSubstr("unknown call 'nonsense'"), HasSubstr("does not end"),
                                                  HasSubstr("expected read GROUP")));
}

TEST(BmhostShell, GoesOnAfterAnExceptionOfTheAdaptor) {
    const ENDED l_Ended = RunShell("init\nread 0x10\n", "init_throws");
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("Init Read Fin Destroy", l_Ended.StubCalls());
}

TEST(BmhostShell, EndsAtQuit) {
    for (const char* l_Lines : {"quit\ninit\n", "exit\ninit\n", ""}) {
        const ENDED l_Ended = RunShell(l_Lines);
        EXPECT_EQ(0, l_Ended.m_Status);
        EXPECT_EQ("Destroy", l_Ended.StubCalls());
    }
}

TEST(BmhostShell, HasTheCommandsForPeople) {
    const ENDED l_Ended = RunStub("leds", {"shell"}, "led set board health on --color red\nleds\n");
    EXPECT_EQ(1, l_Ended.m_Status) << "one LED cannot be read";
    EXPECT_THAT(l_Ended.m_Out, HasSubstr("  baseboard  3 health  red     on            override\n"));
    EXPECT_THAT(l_Ended.m_Out, HasSubstr("  AMC bay 5  2 out of service  ?       not read, result 0\n"));
}

TEST(BmhostShell, RefusesWhatHasItsOwnLife) {
    for (const char* l_Line : {"run\n", "shell\n", "script -\n"}) {
        const ENDED l_Ended = RunShell(l_Line);
        EXPECT_EQ(1, l_Ended.m_Status);
        EXPECT_EQ("Destroy", l_Ended.StubCalls());
    }
}

TEST(BmhostShell, ShowsWhatTheToolsSaidWhenStartFailsAndNothingElseThatIsPrinted) {
    const ENDED l_Ended = RunStub("start_fails", {"shell"}, "init\nstart\n");
    EXPECT_EQ("init: 1 (success)\nstart: 0 (nothing done)\n", l_Ended.m_Out);
    EXPECT_EQ("the tool says why\n", l_Ended.m_Err);
}

TEST(BmhostShell, Helps) {
    const ENDED l_Ended = RunShell("help\nhelp led\nhelp nothing\n");
    EXPECT_THAT(l_Ended.m_Err, HasSubstr("\n  inventory"));
    EXPECT_THAT(l_Ended.m_Err, HasSubstr("Usage: bmhost [OPTIONS] led set BAY"));
    EXPECT_THAT(l_Ended.m_Err, HasSubstr("no help for 'nothing'"));
}

TEST(BmhostShell, HelpListsWhatItTakesAndNothingElse) {
    std::vector<std::string> l_Listed;
    for (const std::string& l_Line : RunShell("help\n").ErrorLines())
        l_Listed.push_back(l_Line.substr(2, l_Line.find(' ', 2) - 2));
    EXPECT_THAT(l_Listed, IsSupersetOf({"init", "read", "led", "status", "sleep", "wait-event", "help", "quit"}));
    for (const std::string& l_Word : l_Listed) {
        EXPECT_THAT(RunShell(l_Word + " too much\n").m_Err,
                    AllOf(Not(HasSubstr("unknown call")), Not(HasSubstr("not in a shell"))))
            << l_Word;
        EXPECT_THAT(RunShell("help " + l_Word + "\n").m_Err, StartsWith("Usage: ")) << l_Word;
    }
    for (const char* l_Refused : {"run", "script", "shell"}) {
        EXPECT_THAT(l_Listed, Not(Contains(l_Refused)));
        EXPECT_THAT(RunShell(std::string("help ") + l_Refused + "\n").m_Err, HasSubstr("no help for"));
    }
}

TEST(BmhostShell, CallsFinWhenNobodyReads) {
    const ENDED l_Ended = RunStub("good", {"--json", "shell"}, "init\nread 0x10\n", OUT::BrokenPipe);
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("Init Fin Destroy", l_Ended.StubCalls());
}

TEST(BmhostShell, ToolsDoNotEatItsLines) {
    const ENDED l_Ended = RunShell("init\nfin\n", "runs_a_tool");
    EXPECT_THAT(l_Ended.m_Out, HasSubstr("{\"op\":\"fin\",\"result\":1}\n"));
}

} // namespace
