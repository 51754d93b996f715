// Adaptors that end the process, throw, or do not return.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

TEST(BmhostEnd, LastLineSaysThatTheAdaptorEndedTheProcess) {
    const Ended ended = RunStub("init_exits", {"--json", "script", "-"}, "stop\ninit\nfin\n");
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("{\"op\":\"stop\",\"result\":1}\n", ended.m_out);
    EXPECT_THAT(ended.m_err, EndsWith("\nbmhost: the adaptor ended the process during `init` (exit status 1)\n"));
}

TEST(BmhostEnd, ExitOnAThreadOfTheAdaptorIsSeenToo) {
    const Ended ended = RunStub("init_exits_elsewhere", {"--json", "init"});
    EXPECT_EQ(5, ended.m_status);
    EXPECT_EQ("", ended.m_out);
    EXPECT_THAT(ended.m_err, EndsWith("\nbmhost: the adaptor ended the process during `init` (exit status 5)\n"));
}

TEST(BmhostEnd, InitThatEndsTheProcessBeforeACallAloneEndsBmhost) {
    const Ended ended = RunStub("init_exits", {"--json", "table", "0x10"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("", ended.m_out);
    EXPECT_THAT(ended.m_err, EndsWith("\nbmhost: the adaptor ended the process during `init` (exit status 1)\n"));
}

TEST(BmhostEnd, CreateAdaptorMayEndTheProcess) {
    const Ended ended = RunStub("create_exits", {"init"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("bmhost: the adaptor ended the process during `loading` (exit status 1)\n", ended.m_err);
}

TEST(BmhostEnd, WhatTheAdaptorPrintedComesBeforeTheLastLine) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"--json", "init"}, {"inventory"}, {"table", "0x10"}}) {
        const Ended ended = RunStub("init_prints_and_exits", words);
        EXPECT_EQ(1, ended.m_status);
        EXPECT_EQ("", ended.m_out);
        EXPECT_THAT(ended.m_err, HasSubstr("printed with stdio"));
        EXPECT_THAT(ended.m_err, EndsWith("bmhost: the adaptor ended the process during `init` (exit status 1)\n"));
    }
}

TEST(BmhostEnd, WithheldPrintsDoNotSteerATerminal) {
    EXPECT_THAT(RunStub("init_prints_and_exits", {"table", "0x10"}).m_err, HasSubstr("\nprinted with stdio ?[31m\n"));
}

TEST(BmhostEnd, NothingIsSaidWhenBmhostEndsByItself) {
    for (const char* stub : {"good", "init_fails"})
        EXPECT_THAT(RunStub(stub, {"init"}).m_err, Not(HasSubstr("ended the process")));
    EXPECT_THAT(RunStub("good", {"script", "-"}, "init\nnonsense\n").m_err, Not(HasSubstr("ended the process")));
}

TEST(BmhostEnd, SignalOfTheAdaptorEndsBmhostAfterWhatWasShown) {
    const Ended text = RunStub("stop_aborts", {"script", "-"}, "init\nstop\n");
    EXPECT_EQ(SIGABRT, text.m_signal);
    EXPECT_THAT(text.m_out, EndsWith("an unfinished lineinit: 1 (success)\n"));
    const Ended json = RunStub("stop_aborts", {"--json", "script", "-"}, "init\nstop\n");
    EXPECT_EQ(SIGABRT, json.m_signal);
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", json.m_out);
    EXPECT_THAT(json.m_err, HasSubstr("printed with stdio"));
}

TEST(BmhostEnd, ExceptionOutOfACallIsOneLineAndStatusOne) {
    const Ended text = RunStub("init_throws", {"--json", "table", "0x10"});
    EXPECT_EQ(1, text.m_status);
    EXPECT_EQ("", text.m_out);
    EXPECT_THAT(text.ErrorLines(),
                testing::ElementsAre("bmhost: the adaptor threw an exception out of `init`: no controller"));
    const Ended number = RunStub("init_throws_a_number", {"init"});
    EXPECT_EQ(1, number.m_status);
    EXPECT_THAT(number.ErrorLines(), testing::ElementsAre("bmhost: the adaptor threw an exception out of `init`"));
}

TEST(BmhostEnd, CallThatDoesNotReturnIsToldOfAgainAndAgain) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"init"}, {"--json", "table", "0x10"}, {"inventory"}}) {
        std::vector<std::string> all = {"--adaptor", StubFile("init_hangs"), "--notice-after", "5"};
        all.insert(all.end(), words.begin(), words.end());
        HostProcess host(all);
        EXPECT_TRUE(host.ErrorHas("for 0.065 s"));
        host.Kill();
        const Ended ended = host.End();
        auto lines = ended.ErrorLines();
        std::erase_if(lines, [](const std::string& line) { return line.find("`init`") == std::string::npos; });
        lines.resize(3); // more notices may have come before the end, or for a slow loading
        EXPECT_THAT(lines,
                    testing::ElementsAre("bmhost: `init` has not returned for 0.005 s; still waiting for the adaptor",
                                         "bmhost: `init` has not returned for 0.035 s; still waiting for the adaptor",
                                         "bmhost: `init` has not returned for 0.065 s; still waiting for the adaptor"));
        EXPECT_EQ(SIGKILL, ended.m_signal);
        EXPECT_EQ("", ended.m_out);
    }
}

TEST(BmhostEnd, SleepAndWaitEventAreNotWaitingForTheAdaptor) {
    const Ended ended = RunStub("good", {"--notice-after", "300", "script", "-"}, "sleep 400\nwait-event 400\n");
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), testing::IsEmpty());
}

} // namespace
