// Adaptors that end the process, throw, or do not come back.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

TEST(BmhostEnd, LastLineSaysThatTheAdaptorEndedTheProcess) {
    const ENDED l_Ended = RunStub("init_exits", {"--json", "script", "-"}, "stop\ninit\nfin\n");
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("{\"op\":\"stop\",\"result\":1}\n", l_Ended.m_Out);
    EXPECT_THAT(l_Ended.m_Err, EndsWith("\nbmhost: the adaptor ended the process during `init` (exit status 1)\n"));
}

TEST(BmhostEnd, ExitOnAThreadOfTheAdaptorIsSeenToo) {
    const ENDED l_Ended = RunStub("init_exits_elsewhere", {"--json", "init"});
    EXPECT_EQ(5, l_Ended.m_Status);
    EXPECT_EQ("", l_Ended.m_Out);
    EXPECT_THAT(l_Ended.m_Err, EndsWith("\nbmhost: the adaptor ended the process during `init` (exit status 5)\n"));
}

TEST(BmhostEnd, InitThatEndsTheProcessBeforeACallAloneEndsBmhost) {
    const ENDED l_Ended = RunStub("init_exits", {"--json", "table", "0x10"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("", l_Ended.m_Out);
    EXPECT_THAT(l_Ended.m_Err, EndsWith("\nbmhost: the adaptor ended the process during `init` (exit status 1)\n"));
}

TEST(BmhostEnd, CreateAdaptorMayEndTheProcess) {
    const ENDED l_Ended = RunStub("create_exits", {"init"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("bmhost: the adaptor ended the process during `loading` (exit status 1)\n", l_Ended.m_Err);
}

TEST(BmhostEnd, WhatTheAdaptorPrintedComesBeforeTheLastLine) {
    for (const std::vector<std::string>& l_Words :
         {std::vector<std::string>{"--json", "init"}, {"inventory"}, {"table", "0x10"}}) {
        const ENDED l_Ended = RunStub("init_prints_and_exits", l_Words);
        EXPECT_EQ(1, l_Ended.m_Status);
        EXPECT_EQ("", l_Ended.m_Out);
        EXPECT_THAT(l_Ended.m_Err, HasSubstr("printed with stdio"));
        EXPECT_THAT(l_Ended.m_Err, EndsWith("bmhost: the adaptor ended the process during `init` (exit status 1)\n"));
    }
}

TEST(BmhostEnd, WithheldPrintsDoNotSteerATerminal) {
    EXPECT_THAT(RunStub("init_prints_and_exits", {"table", "0x10"}).m_Err, HasSubstr("\nprinted with stdio ?[31m\n"));
}

TEST(BmhostEnd, NothingIsSaidWhenBmhostEndsByItself) {
    for (const char* l_Stub : {"good", "init_fails"})
        EXPECT_THAT(RunStub(l_Stub, {"init"}).m_Err, Not(HasSubstr("ended the process")));
    EXPECT_THAT(RunStub("good", {"script", "-"}, "init\nnonsense\n").m_Err, Not(HasSubstr("ended the process")));
}

TEST(BmhostEnd, SignalOfTheAdaptorEndsBmhostAfterWhatWasShown) {
    const ENDED l_Text = RunStub("stop_aborts", {"script", "-"}, "init\nstop\n");
    EXPECT_EQ(SIGABRT, l_Text.m_Signal);
    EXPECT_THAT(l_Text.m_Out, EndsWith("an unfinished lineinit: 1 (success)\n"));
    const ENDED l_Json = RunStub("stop_aborts", {"--json", "script", "-"}, "init\nstop\n");
    EXPECT_EQ(SIGABRT, l_Json.m_Signal);
    EXPECT_EQ("{\"op\":\"init\",\"result\":1}\n", l_Json.m_Out);
    EXPECT_THAT(l_Json.m_Err, HasSubstr("printed with stdio"));
}

TEST(BmhostEnd, ExceptionOutOfACallIsOneLineAndStatusOne) {
    const ENDED l_Text = RunStub("init_throws", {"--json", "table", "0x10"});
    EXPECT_EQ(1, l_Text.m_Status);
    EXPECT_EQ("", l_Text.m_Out);
    EXPECT_THAT(l_Text.ErrorLines(),
                testing::ElementsAre("bmhost: the adaptor threw an exception out of `init`: no controller"));
    const ENDED l_Number = RunStub("init_throws_a_number", {"init"});
    EXPECT_EQ(1, l_Number.m_Status);
    EXPECT_THAT(l_Number.ErrorLines(), testing::ElementsAre("bmhost: the adaptor threw an exception out of `init`"));
}

TEST(BmhostEnd, CallThatDoesNotReturnIsToldOfAgainAndAgain) {
    for (const std::vector<std::string>& l_Words :
         {std::vector<std::string>{"init"}, {"--json", "table", "0x10"}, {"inventory"}}) {
        std::vector<std::string> l_All = {"--adaptor", StubFile("init_hangs"), "--notice-after", "5"};
        l_All.insert(l_All.end(), l_Words.begin(), l_Words.end());
        HOST_PROCESS l_Host(l_All);
        EXPECT_TRUE(l_Host.ErrorHas("for 0.065 s"));
        l_Host.Kill();
        const ENDED l_Ended = l_Host.End();
        auto l_Lines = l_Ended.ErrorLines();
        std::erase_if(l_Lines, [](const std::string& a_Line) { return a_Line.find("`init`") == std::string::npos; });
        l_Lines.resize(3); // more may have come before the end, and of the loading on a slow machine
        EXPECT_THAT(l_Lines,
                    testing::ElementsAre("bmhost: `init` has not returned for 0.005 s; still waiting for the adaptor",
                                         "bmhost: `init` has not returned for 0.035 s; still waiting for the adaptor",
                                         "bmhost: `init` has not returned for 0.065 s; still waiting for the adaptor"));
        EXPECT_EQ(SIGKILL, l_Ended.m_Signal);
        EXPECT_EQ("", l_Ended.m_Out);
    }
}

TEST(BmhostEnd, SleepAndWaitEventAreNotWaitingForTheAdaptor) {
    const ENDED l_Ended = RunStub("good", {"--notice-after", "300", "script", "-"}, "sleep 400\nwait-event 400\n");
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.ErrorLines(), testing::IsEmpty());
}

} // namespace
