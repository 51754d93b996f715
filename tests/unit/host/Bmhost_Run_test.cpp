// `bmhost run`: its life, its lines, its signals.
#include "host/HostProcess.h"
#include "host/client/ScriptedHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

constexpr const char* WholeLife = "{\"op\":\"init\",\"result\":1}\n{\"op\":\"start\",\"result\":1}\n"
                                  "{\"op\":\"stop\",\"result\":1}\n{\"op\":\"fin\",\"result\":1}\n";

/// A place of its own for lock and socket.
class BmhostRun : public testing::Test {
protected:
    static HostProcess StartRun(const std::string& stub) {
        return HostProcess({"--adaptor", StubFile(stub), "--json", "run"});
    }
    /// Of the stub's calls those that change its life; the others fill the picture.
    static std::string Life(const Ended& ended) {
        std::istringstream calls(ended.StubCalls());
        std::string life;
        for (std::string call; calls >> call;) {
            if (call != "Table" && call != "Read") life += (life.empty() ? "" : " ") + call;
        }
        return life;
    }

    const HostRunFolder m_own;
    const std::string m_folder = m_own.Path();
};

class BmhostRunSignal : public BmhostRun, public testing::WithParamInterface<int> {};

TEST_P(BmhostRunSignal, EndsItWithStopAndFin) {
    HostProcess host = StartRun("good");
    ASSERT_TRUE(host.ErrorHas("[stub] Start"));
    host.Signal(GetParam());
    const Ended ended = host.End();
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ("Init Start Stop Fin Destroy", Life(ended));
    EXPECT_EQ(WholeLife, ended.m_out);
    EXPECT_THAT(ended.ErrorLines(), Contains(HasSubstr(": stop and fin follow")));
    EXPECT_FALSE(std::filesystem::exists(m_folder + "/bmhost.sock"));
}

INSTANTIATE_TEST_SUITE_P(Signals, BmhostRunSignal, testing::Values(SIGINT, SIGTERM));

TEST_F(BmhostRun, HangupReadsTheConfigurationAgain) {
    const std::string file = m_folder + "/bmhost.toml";
    std::ofstream(file) << "sweep = 30\n";
    HostProcess host({"--adaptor", StubFile("good"), "--json", "run", "--config", file});
    ASSERT_TRUE(host.ErrorHas("[stub] Start"));
    host.Signal(SIGHUP);
    ASSERT_TRUE(host.ErrorHas("<6> [bmhost] configuration read again"));
    std::ofstream(file) << "swep = 30\n";
    host.Signal(SIGHUP);
    ASSERT_TRUE(host.ErrorHas("<6> [bmhost] configuration not read again: "));
    host.Signal(SIGTERM);
    EXPECT_EQ(0, host.End().m_status);
}

TEST_F(BmhostRun, SecondIsRefusedWithTheFirstOnesProcess) {
    HostProcess host = StartRun("good");
    ASSERT_TRUE(host.ErrorHas("[stub] Start"));
    const std::string log = m_folder + "/log";
    const Ended second = RunHost({"--adaptor", StubFile("good"), "--log", log, "run"}); // in the first one's folder
    EXPECT_EQ(6, second.m_status);
    EXPECT_EQ("", second.StubCalls());
    EXPECT_THAT(second.ErrorLines(), ElementsAre(MatchesRegex("bmhost: another host has the blade: bmhostd, process " +
                                                              std::to_string(host.Process()) + ", since .*Z")));
    EXPECT_FALSE(std::filesystem::exists(log));
    host.Signal(SIGTERM);
    EXPECT_EQ(0, host.End().m_status);
}

TEST_F(BmhostRun, WhatAKilledOneLeftIsNoObstacle) {
    {
        HostProcess host = StartRun("good");
        ASSERT_TRUE(host.ErrorHas("[stub] Start"));
        host.Kill();
        host.End();
    }
    EXPECT_TRUE(std::filesystem::exists(m_folder + "/bmhost.sock"));
    HostProcess host = StartRun("good");
    ASSERT_TRUE(host.ErrorHas("[stub] Start"));
    host.Signal(SIGTERM);
    EXPECT_EQ(0, host.End().m_status);
}

TEST_F(BmhostRun, SeesASignalWhileAToolRunsWhichCanBeEndedItself) {
    const Ended ended = RunStub("tool_interrupts", {"--json", "run"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_EQ(WholeLife, ended.m_out);
    EXPECT_THAT(ended.ErrorLines(), Contains("bmhost: SIGINT: stop and fin follow"));
}

TEST_F(BmhostRun, ThirdSignalEndsItAtOnceThoughStartHangs) {
    HostProcess host = StartRun("start_hangs");
    ASSERT_TRUE(host.ErrorHas("[stub] Start"));
    host.Signal(SIGTERM);
    ASSERT_TRUE(host.ErrorHas("SIGTERM: stop and fin follow"));
    host.Signal(SIGTERM);
    ASSERT_TRUE(host.ErrorHas("SIGTERM: one more ends bmhost at once"));
    host.Signal(SIGTERM);
    const Ended ended = host.End();
    EXPECT_EQ(SIGTERM, ended.m_signal);
    EXPECT_EQ("Init Start", Life(ended));
}

TEST_F(BmhostRun, EndsWhenStopThrowsThoughAReadHangs) {
    HostProcess host = StartRun("stop_throws");
    ASSERT_TRUE(host.ErrorHas("[stub] Start"));
    EXPECT_EQ(5, RunHost({"--timeout", "0.3", "read", "0x10"}).m_status);
    host.Signal(SIGTERM);
    const Ended ended = host.End();
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), Contains(HasSubstr("no controller")));
    EXPECT_FALSE(std::filesystem::exists(m_folder + "/bmhost.sock"));
}

TEST_F(BmhostRun, GoesOnWhenStartFailsAndShowsWhatTheToolsSaid) {
    HostProcess host({"--adaptor", StubFile("start_fails"), "run"});
    ASSERT_TRUE(host.ErrorHas("the tool says why\n"));
    host.Signal(SIGTERM);
    const Ended ended = host.End();
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.m_out,
                MatchesRegex("[0-9:]+  init: 1 \\(success\\)\n[0-9:]+  start: 0 \\(nothing done\\)\n[0-9:]+  fin: 1 "
                             "\\(success\\)\n"));
    EXPECT_EQ("bmhost: start returned 0 (nothing done)\n"
              "  log:   Fail to initialize DSP\n"
              "  cause: `mavk_init` ended with a code other than 0; the line before shows it\n"
              "  cure:  run by hand what stands after \"MAVK_INIT:\" in the log\n"
              "the tool says why\nbmhost: SIGTERM: stop and fin follow\n",
              ended.m_err)
        << "and not what Init printed";
}

TEST_F(BmhostRun, EndsByItselfWhenStartFailsWhereThatIsWanted) {
    const Ended ended = RunStub("start_fails", {"run", "--exit-on-fault"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.m_out,
                MatchesRegex("[0-9:]+  init: 1 \\(success\\)\n[0-9:]+  start: 0 \\(nothing done\\)\n[0-9:]+  fin: 1 "
                             "\\(success\\)\n"));
    EXPECT_EQ("bmhost: start returned 0 (nothing done)\n"
              "  log:   Fail to initialize DSP\n"
              "  cause: `mavk_init` ended with a code other than 0; the line before shows it\n"
              "  cure:  run by hand what stands after \"MAVK_INIT:\" in the log\n"
              "the tool says why\n",
              ended.m_err);
}

TEST_F(BmhostRun, StartsNothingWhenInitFails) {
    const Ended ended = RunStub("init_fails", {"--json", "run", "--exit-on-fault"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("Init Fin Destroy", Life(ended));
}

TEST_F(BmhostRun, TellsEventsAndFaultsInOneLineEach) {
    const Ended ended = RunStub("faulty", {"run"});
    EXPECT_EQ(1, ended.m_status) << "a fault was found";
    EXPECT_THAT(ended.m_out, AllOf(HasSubstr("  run status of AMC bay 3: running (4)\n"),
                                   HasSubstr("  health: monitored\n"), HasSubstr("  health: fault: AMC failed\n"),
                                   HasSubstr("  health: no longer monitored, until the next start\n"),
                                   HasSubstr("  start: 1 (success)\n"), HasSubstr("  stop: 1 (success)\n")));
    EXPECT_THAT(ended.m_err, HasSubstr("SIGTERM: stop and fin follow\n"));
}

TEST_F(BmhostRun, TellsThemInJson) {
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

TEST_F(BmhostRun, ComesToItsEndWhenNobodyReads) {
    const Ended ended = RunStub("good", {"--json", "run"}, "", Out::BrokenPipe);
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.StubCalls(), testing::EndsWith("Fin Destroy"));
    EXPECT_THAT(ended.ErrorLines(), Contains("bmhost: standard output: Broken pipe"));
}

TEST_F(BmhostRun, TakesNoWords) {
    EXPECT_EQ(2, RunStub("good", {"run", "on"}).m_status);
}

TEST_F(BmhostRun, ExceptionOfTheAdaptorEndsIt) {
    const Ended ended = RunStub("init_throws", {"--json", "run"});
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.ErrorLines(), ElementsAre(HasSubstr("out of `init`: no controller")));
}

} // namespace
