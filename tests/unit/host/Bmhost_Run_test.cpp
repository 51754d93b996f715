// `bmhost run`: its life, its lines, its signals.
#include "host/HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

constexpr const char* WHOLE_LIFE = "{\"op\":\"init\",\"result\":1}\n{\"op\":\"start\",\"result\":1}\n"
                                   "{\"op\":\"stop\",\"result\":1}\n{\"op\":\"fin\",\"result\":1}\n";

HOST_PROCESS StartRun(const std::string& a_Stub) {
    return HOST_PROCESS({"--adaptor", StubFile(a_Stub), "--json", "run"});
}

class BmhostRunSignal : public testing::TestWithParam<int> {};

TEST_P(BmhostRunSignal, EndsItWithStopAndFin) {
    HOST_PROCESS l_Host = StartRun("good");
    ASSERT_TRUE(l_Host.ErrorHas("[stub] Start"));
    l_Host.Signal(GetParam());
    const ENDED l_Ended = l_Host.End();
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ("Init Start Stop Fin Destroy", l_Ended.StubCalls());
    EXPECT_EQ(WHOLE_LIFE, l_Ended.m_Out);
    EXPECT_THAT(l_Ended.ErrorLines(), Contains(HasSubstr(": stop and fin follow")));
}

INSTANTIATE_TEST_SUITE_P(Signals, BmhostRunSignal, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(BmhostRun, SeesASignalWhileAToolRunsWhichCanBeEndedItself) {
    const ENDED l_Ended = RunStub("tool_interrupts", {"--json", "run"});
    EXPECT_EQ(0, l_Ended.m_Status);
    EXPECT_EQ(WHOLE_LIFE, l_Ended.m_Out);
    EXPECT_THAT(l_Ended.ErrorLines(), Contains("bmhost: SIGINT: stop and fin follow"));
}

TEST(BmhostRun, ThirdSignalEndsItAtOnceThoughStartHangs) {
    HOST_PROCESS l_Host = StartRun("start_hangs");
    ASSERT_TRUE(l_Host.ErrorHas("[stub] Start"));
    l_Host.Signal(SIGTERM);
    ASSERT_TRUE(l_Host.ErrorHas("SIGTERM: stop and fin follow"));
    l_Host.Signal(SIGTERM);
    ASSERT_TRUE(l_Host.ErrorHas("SIGTERM: one more ends bmhost at once"));
    l_Host.Signal(SIGTERM);
    const ENDED l_Ended = l_Host.End();
    EXPECT_EQ(SIGTERM, l_Ended.m_Signal);
    EXPECT_EQ("Init Start", l_Ended.StubCalls());
}

TEST(BmhostRun, EndsByItselfWhenStartFailsAndShowsWhatTheToolsSaid) {
    const ENDED l_Ended = RunStub("start_fails", {"run"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.m_Out,
                MatchesRegex("[0-9:]+  init: 1 \\(success\\)\n[0-9:]+  start: 0 \\(nothing done\\)\n[0-9:]+  fin: 1 "
                             "\\(success\\)\n"));
    EXPECT_EQ("the tool says why\n", l_Ended.m_Err) << "and not what Init printed";
}

TEST(BmhostRun, StartsNothingWhenInitFails) {
    const ENDED l_Ended = RunStub("init_fails", {"--json", "run"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_EQ("Init Fin Destroy", l_Ended.StubCalls());
}

TEST(BmhostRun, TellsEventsAndFaultsInOneLineEach) {
    const ENDED l_Ended = RunStub("faulty", {"run"});
    EXPECT_EQ(1, l_Ended.m_Status) << "a fault was found";
    EXPECT_THAT(l_Ended.m_Out, AllOf(HasSubstr("  run status of AMC bay 3: running (4)\n"),
                                     HasSubstr("  health: monitored\n"), HasSubstr("  health: fault: AMC failed\n"),
                                     HasSubstr("  start: 1 (success)\n"), HasSubstr("  stop: 1 (success)\n")));
    EXPECT_THAT(l_Ended.m_Err, HasSubstr("SIGTERM: stop and fin follow\n"));
}

TEST(BmhostRun, TellsThemInJson) {
    const ENDED l_Ended = RunStub("faulty", {"--json", "run"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_THAT(
        l_Ended.m_Out,
        AllOf(
            HasSubstr(
                R"({"op":"event","event":"0x70402","number":5,"params":[{"id":"0x30208","type":1,"key":false,"value":4},)"),
            HasSubstr("{\"op\":\"health\",\"state\":\"monitored\",\"reasons\":[]}\n"),
            HasSubstr("{\"op\":\"health\",\"state\":\"fault\",\"reasons\":[\"AMC failed\"]}\n")));
}

TEST(BmhostRun, ComesToItsEndWhenNobodyReads) {
    const ENDED l_Ended = RunStub("good", {"--json", "run"}, "", OUT::BrokenPipe);
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.StubCalls(), testing::EndsWith("Fin Destroy"));
    EXPECT_THAT(l_Ended.ErrorLines(), Contains("bmhost: standard output: Broken pipe"));
}

TEST(BmhostRun, TakesNoWords) {
    EXPECT_EQ(2, RunStub("good", {"run", "on"}).m_Status);
}

TEST(BmhostRun, ExceptionOfTheAdaptorEndsIt) {
    const ENDED l_Ended = RunStub("init_throws", {"--json", "run"});
    EXPECT_EQ(1, l_Ended.m_Status);
    EXPECT_THAT(l_Ended.ErrorLines(), ElementsAre(HasSubstr("out of `init`: no controller")));
}

} // namespace
