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

constexpr const char* WholeLife = "{\"op\":\"init\",\"result\":1}\n{\"op\":\"start\",\"result\":1}\n"
                                  "{\"op\":\"stop\",\"result\":1}\n{\"op\":\"fin\",\"result\":1}\n";

HostProcess StartRun(const std::string& stub) {
    return HostProcess({"--adaptor", StubFile(stub), "--json", "run"});
}

class BmhostRunSignal : public testing::TestWithParam<int> {};

TEST_P(BmhostRunSignal, EndsItWithStopAndFin) {
    HostProcess host = StartRun("good");
    ASSERT_TRUE(host.ErrorHas("[stub] Start"));
    host.Signal(GetParam());
    const Ended ended = host.End();
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("Init Start Stop Fin Destroy", ended.StubCalls());
    EXPECT_EQ(WholeLife, ended.m_out);
    EXPECT_THAT(ended.ErrorLines(), Contains(HasSubstr(": stop and fin follow")));
}

INSTANTIATE_TEST_SUITE_P(Signals, BmhostRunSignal, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(BmhostRun, SeesASignalWhileAToolRunsWhichCanBeEndedItself) {
    const Ended ended = RunStub("tool_interrupts", {"--json", "run"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ(WholeLife, ended.m_out);
    EXPECT_THAT(ended.ErrorLines(), Contains("bmhost: SIGINT: stop and fin follow"));
}

TEST(BmhostRun, ThirdSignalEndsItAtOnceThoughStartHangs) {
    HostProcess host = StartRun("start_hangs");
    ASSERT_TRUE(host.ErrorHas("[stub] Start"));
    host.Signal(SIGTERM);
    ASSERT_TRUE(host.ErrorHas("SIGTERM: stop and fin follow"));
    host.Signal(SIGTERM);
    ASSERT_TRUE(host.ErrorHas("SIGTERM: one more ends bmhost at once"));
    host.Signal(SIGTERM);
    const Ended ended = host.End();
    EXPECT_EQ(SIGTERM, ended.m_signal);
    EXPECT_EQ("Init Start", ended.StubCalls());
}

TEST(BmhostRun, EndsByItselfWhenStartFailsAndShowsWhatTheToolsSaid) {
    const Ended ended = RunStub("start_fails", {"run"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.m_out,
                MatchesRegex("[0-9:]+  init: 1 \\(success\\)\n[0-9:]+  start: 0 \\(nothing done\\)\n[0-9:]+  fin: 1 "
                             "\\(success\\)\n"));
    EXPECT_EQ("the tool says why\n", ended.m_err) << "and not what Init printed";
}

TEST(BmhostRun, StartsNothingWhenInitFails) {
    const Ended ended = RunStub("init_fails", {"--json", "run"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("Init Fin Destroy", ended.StubCalls());
}

TEST(BmhostRun, TellsEventsAndFaultsInOneLineEach) {
    const Ended ended = RunStub("faulty", {"run"});
    EXPECT_EQ(1, ended.m_status) << "a fault was found";
    EXPECT_THAT(ended.m_out, AllOf(HasSubstr("  run status of AMC bay 3: running (4)\n"),
                                   HasSubstr("  health: monitored\n"), HasSubstr("  health: fault: AMC failed\n"),
                                   HasSubstr("  start: 1 (success)\n"), HasSubstr("  stop: 1 (success)\n")));
    EXPECT_THAT(ended.m_err, HasSubstr("SIGTERM: stop and fin follow\n"));
}

TEST(BmhostRun, TellsThemInJson) {
    const Ended ended = RunStub("faulty", {"--json", "run"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(
        ended.m_out,
        AllOf(
            HasSubstr(
                R"({"op":"event","event":"0x70402","number":5,"params":[{"id":"0x30208","type":1,"key":false,"value":4},)"),
            HasSubstr("{\"op\":\"health\",\"state\":\"monitored\",\"reasons\":[]}\n"),
            HasSubstr("{\"op\":\"health\",\"state\":\"fault\",\"reasons\":[\"AMC failed\"]}\n")));
}

TEST(BmhostRun, ComesToItsEndWhenNobodyReads) {
    const Ended ended = RunStub("good", {"--json", "run"}, "", Out::BrokenPipe);
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.StubCalls(), testing::EndsWith("Fin Destroy"));
    EXPECT_THAT(ended.ErrorLines(), Contains("bmhost: standard output: Broken pipe"));
}

TEST(BmhostRun, TakesNoWords) {
    EXPECT_EQ(2, RunStub("good", {"run", "on"}).m_status);
}

TEST(BmhostRun, ExceptionOfTheAdaptorEndsIt) {
    const Ended ended = RunStub("init_throws", {"--json", "run"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre(HasSubstr("out of `init`: no controller")));
}

} // namespace
