// The health monitor's diagnostic: its command lines, and what its exit status means.
#include "adaptor/IPMI_MonitorThread.h"

#include "adaptor/dsp/IPMI_DSPs.h"
#include "adaptor/monitor/MonitorTest.h"

#include <csignal>
#include <cstdlib>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The test calls the diagnostic itself.
class Diagnostic : public MONITOR_TEST {
protected:
    /// The monitor is told of the blade, and its thread not started.
    void BeToldOf(bool a_bRTM, bool a_bNoFramers, const IPMI_DSP_Info_S* a_DSPs = nullptr, int a_NumDSPs = 0) {
        FakeQueue().m_DriverResult = -1; // keeps the thread from being started
        m_Monitor.StartMonitor(a_bRTM, a_bNoFramers, a_DSPs, a_NumDSPs);
        m_Log.Clear();
    }

    /// The command lines of a diagnostic that fails: the check and its report.
    TEXTS FailingCommands() {
        FakeSystem().Reset();
        FakeSystem().m_Results = {Exited(16)};
        m_Monitor.IsAMCsLive();
        return FakeSystem().Commands();
    }
};

TEST_F(Diagnostic, CommandFollowsRtmAndFramers) {
    BeToldOf(false, false);
    EXPECT_THAT(FailingCommands(),
                ElementsAre("/usr/korvel/bin/mavk_diag -r -b amc", "/usr/korvel/bin/mavk_diag -r -v -b amc"));
    BeToldOf(false, true);
    EXPECT_THAT(FailingCommands(),
                ElementsAre("/usr/korvel/bin/mavk_diag -r -b amc", "/usr/korvel/bin/mavk_diag -r -v -b amc"));
    BeToldOf(true, true);
    EXPECT_THAT(FailingCommands(),
                ElementsAre("/usr/korvel/bin/mavk_diag -r -i", "/usr/korvel/bin/mavk_diag -r -i -v"));
    BeToldOf(true, false);
    EXPECT_THAT(FailingCommands(), ElementsAre("/usr/korvel/bin/mavk_diag -r", "/usr/korvel/bin/mavk_diag -r -v"));
}

TEST_F(Diagnostic, CommandNamesTheDspsFrom0On) {
    const IPMI_DSP_Info_S l_DSPs[] = {{"00:11:22:33:44:55", "192.168.0.23"}, {"00:11:22:33:44:57", "192.168.0.22"}};
    BeToldOf(true, false, l_DSPs, 2);
    EXPECT_THAT(FailingCommands(), ElementsAre("/usr/korvel/bin/mavk_diag -r /0/00:11:22:33:44:55/192.168.0.23"
                                               " /1/00:11:22:33:44:57/192.168.0.22",
                                               "/usr/korvel/bin/mavk_diag -r -v /0/00:11:22:33:44:55/192.168.0.23"
                                               " /1/00:11:22:33:44:57/192.168.0.22"));
}

TEST_F(Diagnostic, CommandNamesNoDspWithoutATableOrEntries) {
    const IPMI_DSP_Info_S l_DSP = {"MAC", "IP"};
    BeToldOf(true, false, nullptr, 4);
    EXPECT_EQ(FailingCommands()[0], "/usr/korvel/bin/mavk_diag -r");
    for (const int l_Count : {0, -1}) {
        BeToldOf(true, false, &l_DSP, l_Count);
        EXPECT_EQ(FailingCommands()[0], "/usr/korvel/bin/mavk_diag -r");
    }
}

TEST_F(Diagnostic, CommandBeginsWithTheInstallDirectory) {
    for (const std::string l_Directory : {"/opt/blade", ""}) { // empty is set
        m_Board.m_Environment["TARSK_KORVEL_DIR"] = l_Directory;
        FakeSystem().Reset();
        IPMI_MonitorThread(m_Board).IsAMCsLive();
        EXPECT_THAT(FakeSystem().Commands(), ElementsAre(l_Directory + "/bin/mavk_diag -r -b amc"));
    }
}

TEST_F(Diagnostic, ExitStatus0IsLiveAndRunsOnce) {
    FakeSystem().m_Results = {Exited(0)};
    EXPECT_EQ(m_Monitor.IsAMCsLive(), 1);
    EXPECT_EQ(FakeSystem().Commands().size(), 1U);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Diagnostic, LiveAmcsAreTracedWhileTracesAreOn) {
    BM_LOG_LEVEL = 3;
    m_Monitor.IsAMCsLive();
    EXPECT_THAT(Lines(), ElementsAre(LOG_LINE{7, "Monitor Thread", "AMCs are live"}));
}

struct DIAGNOSIS {
    int m_ExitStatus;
    int m_Result;
    const char* m_Text;
};

TEST_F(Diagnostic, EachExitStatusHasItsResultAndText) {
    constexpr DIAGNOSIS DIAGNOSES[] = {{1, 0x30016, "Invalid parameters"},    {2, 0x30013, "Firmware failed"},
                                       {16, 0x30015, "AMC failed"},           {32, 0x30014, "RTM failed"},
                                       {3, 0x30016, "system() call failed"},  {15, 0x30016, "system() call failed"},
                                       {17, 0x30016, "system() call failed"}, {31, 0x30016, "system() call failed"}};
    for (const auto& [l_ExitStatus, l_Result, l_Text] : DIAGNOSES) {
        FakeSystem().Reset();
        FakeSystem().m_Results = {Exited(l_ExitStatus)};
        EXPECT_EQ(m_Monitor.IsAMCsLive(), l_Result) << l_ExitStatus;
        EXPECT_THAT(Lines(), ElementsAre(MonitorError(l_Text))) << l_ExitStatus;
        EXPECT_EQ(FakeSystem().Commands().size(), 2U) << l_ExitStatus;
    }
}

TEST_F(Diagnostic, ToolThatCannotBeRunIsReportedForTheCheckAndForTheReport) {
    const LOG_LINE l_Line = MonitorError("system() call failed");
    for (const int l_Status : {Exited(33), Exited(126), Exited(127), Exited(255), -1}) {
        FakeSystem().m_Results = {l_Status};
        EXPECT_EQ(m_Monitor.IsAMCsLive(), 0x30016) << l_Status;
        EXPECT_THAT(Lines(), ElementsAre(l_Line, l_Line)) << l_Status;
    }
}

TEST_F(Diagnostic, ToolThatASignalEndedCountsAsPassed) {
    FakeSystem().m_Results = {Killed(SIGKILL)};
    EXPECT_EQ(m_Monitor.IsAMCsLive(), 1);
}

TEST_F(Diagnostic, WhatTheReportFindsDoesNotCount) {
    for (const int l_Report : {Exited(0), Exited(1), Exited(2), Exited(32), Killed(SIGKILL)}) {
        FakeSystem().m_Results = {Exited(16), l_Report};
        EXPECT_EQ(m_Monitor.IsAMCsLive(), 0x30015) << l_Report;
        EXPECT_THAT(Lines(), ElementsAre(MonitorError("AMC failed"))) << l_Report;
    }
}

TEST_F(Diagnostic, ReportThatCannotBeRunIsTheResult) {
    for (const int l_Report : {Exited(33), Exited(127), -1}) {
        FakeSystem().m_Results = {Exited(16), l_Report};
        EXPECT_EQ(m_Monitor.IsAMCsLive(), 0x30016) << l_Report;
        EXPECT_THAT(Lines(), ElementsAre(MonitorError("AMC failed"), MonitorError("system() call failed")));
    }
}

TEST_F(Diagnostic, MissingToolCannotBeRun) {
    m_Board.m_Environment["TARSK_KORVEL_DIR"] = "/nowhere";
    FakeSystem().m_bReal = true;
    EXPECT_EQ(IPMI_MonitorThread(m_Board).IsAMCsLive(), 0x30016);
}

} // namespace
