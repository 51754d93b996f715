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

Ended RunShell(const std::string& lines, const std::string& stub = "good") {
    return RunStub(stub, {"--json", "shell"}, lines);
}

TEST(BmhostShell, CallsInitOnceWhenItIsNeededAndFinAtTheEnd) {
    const Ended ended = RunShell("sleep 0\nread 0x10 1=2\ntable 0x12\n");
    EXPECT_EQ("Init Read Table Fin Destroy", ended.StubCalls());
    EXPECT_EQ(1, ended.m_status) << "the table does not return 1";
    EXPECT_EQ(R"({"op":"read","group":"0x10","result":1,"row":[{"id":"0x1","type":1,"key":true,"value":2}]})"
              "\n"
              R"({"op":"table","group":"0x12","result":12,"rows":[]})"
              "\n",
              ended.m_out);
}

TEST(BmhostShell, StopsWhatWasStarted) {
    EXPECT_EQ("Init Start Stop Fin Destroy", RunShell("init\nstart\n").StubCalls());
    EXPECT_EQ("Init Start Stop Fin Destroy", RunShell("init\nstart\nstop\n").StubCalls());
    EXPECT_EQ("Init Start Stop Fin Destroy", RunShell("init\nstart\nstop\nfin\n").StubCalls());
}

TEST(BmhostShell, GoesOnAfterWhatCannotBeMeant) {
    const Ended ended = RunShell("nonsense\nread 'x\nread\ninit\n");
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("Init Fin Destroy", ended.StubCalls());
    EXPECT_THAT(ended.ErrorLines(), ElementsAre(HasSubstr("unknown command 'nonsense'"), HasSubstr("does not end"),
                                                HasSubstr("expected read GROUP")));
}

TEST(BmhostShell, GoesOnAfterAnExceptionOfTheAdaptor) {
    const Ended ended = RunShell("init\nread 0x10\n", "init_throws");
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("Init Read Fin Destroy", ended.StubCalls());
}

TEST(BmhostShell, EndsAtQuit) {
    for (const char* lines : {"quit\ninit\n", "exit\ninit\n", ""}) {
        const Ended ended = RunShell(lines);
        EXPECT_EQ(0, ended.m_status);
        EXPECT_EQ("Destroy", ended.StubCalls());
    }
}

TEST(BmhostShell, HasTheCommandsForPeople) {
    const Ended ended = RunStub("leds", {"--simulated", "shell"}, "led set board health on --color red\nleds\n");
    EXPECT_EQ(1, ended.m_status) << "one LED cannot be read";
    EXPECT_THAT(ended.m_out, HasSubstr("  baseboard  3 health  red     on            override\n"));
    EXPECT_THAT(ended.m_out, HasSubstr("  AMC bay 5  2 out of service  ?       not read, result 0 (nothing done)\n"));
}

TEST(BmhostShell, RefusesWhatHasItsOwnLife) {
    for (const char* line : {"run\n", "shell\n", "script -\n"}) {
        const Ended ended = RunShell(line);
        EXPECT_EQ(1, ended.m_status);
        EXPECT_EQ("Destroy", ended.StubCalls());
    }
}

TEST(BmhostShell, ShowsWhatTheToolsSaidWhenStartFailsAndNothingElseThatIsPrinted) {
    const Ended ended = RunStub("start_fails", {"shell"}, "init\nstart\n");
    EXPECT_EQ("init: 1 (success)\nstart: 0 (nothing done)\n", ended.m_out);
    EXPECT_EQ("bmhost: start returned 0 (nothing done)\n"
              "  log:   Fail to initialize DSP\n"
              "  cause: `mavk_init` ended with a code other than 0; the line before shows it\n"
              "  cure:  run by hand what stands after \"MAVK_INIT:\" in the log\n"
              "the tool says why\n",
              ended.m_err);
}

TEST(BmhostShell, Helps) {
    const Ended ended = RunShell("help\nhelp led\nhelp nothing\n");
    EXPECT_THAT(ended.m_err, HasSubstr("\n  inventory"));
    EXPECT_THAT(ended.m_err, HasSubstr("Usage: bmhost [OPTIONS] led set BAY"));
    EXPECT_THAT(ended.m_err, HasSubstr("no help for 'nothing'"));
}

TEST(BmhostShell, HelpListsWhatItTakesAndNothingElse) {
    std::vector<std::string> listed;
    for (const std::string& line : RunShell("help\n").ErrorLines())
        listed.push_back(line.substr(2, line.find(' ', 2) - 2));
    EXPECT_THAT(listed, IsSupersetOf({"init", "read", "led", "status", "sleep", "wait-event", "help", "quit"}));
    for (const std::string& word : listed) {
        EXPECT_THAT(RunShell(word + " too much\n").m_err,
                    AllOf(Not(HasSubstr("unknown command '" + word + "'")), Not(HasSubstr("not in a shell"))))
            << word;
        EXPECT_THAT(RunShell("help " + word + "\n").m_err, StartsWith("Usage: ")) << word;
    }
    for (const char* refused : {"run", "script", "shell"}) {
        EXPECT_THAT(listed, Not(Contains(refused)));
        EXPECT_THAT(RunShell(std::string("help ") + refused + "\n").m_err, HasSubstr("no help for"));
    }
}

TEST(BmhostShell, CallsFinWhenNobodyReads) {
    const Ended ended = RunStub("good", {"--json", "shell"}, "init\nread 0x10\n", Out::BrokenPipe);
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("Init Fin Destroy", ended.StubCalls());
}

TEST(BmhostShell, ToolsDoNotEatItsLines) {
    const Ended ended = RunShell("init\nfin\n", "runs_a_tool");
    EXPECT_THAT(ended.m_out, HasSubstr("{\"op\":\"fin\",\"result\":1}\n"));
}

} // namespace
