// The health monitor's diagnostic: its command lines, and what its exit status means.
#include "adaptor/monitor/IPMI_Diagnostic.h"

#include "adaptor/monitor/IPMI_MonitorOrder.h"
#include "adaptor/monitor/MonitorTest.h"

#include <csignal>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Of a blade without an RTM. Traces are off.
class Diagnostic : public ADAPTOR_PROCESS_TEST {
protected:
    Diagnostic() { BM_LOG_LEVEL = 0; }

    int Check() { return DIAGNOSTIC(m_Board, m_Waits, m_InstallDir, m_Order).Check(); }

    /// The command lines of a diagnostic that fails: the check and its report.
    TEXTS FailingCommands() {
        m_Board.ForgetCommands();
        m_Board.m_ToolResults = {Exited(16)};
        Check();
        return m_Board.Commands();
    }

    NOTED_WAITS m_Waits;
    std::string m_InstallDir = "/k";
    MONITOR_ORDER m_Order;
};

TEST_F(Diagnostic, CommandFollowsRtmAndFramers) {
    m_Order = {false, false};
    EXPECT_THAT(FailingCommands(), ElementsAre("/k/bin/mavk_diag -r -b amc", "/k/bin/mavk_diag -r -v -b amc"));
    m_Order = {false, true};
    EXPECT_THAT(FailingCommands(), ElementsAre("/k/bin/mavk_diag -r -b amc", "/k/bin/mavk_diag -r -v -b amc"));
    m_Order = {true, true};
    EXPECT_THAT(FailingCommands(), ElementsAre("/k/bin/mavk_diag -r -i", "/k/bin/mavk_diag -r -i -v"));
    m_Order = {true, false};
    EXPECT_THAT(FailingCommands(), ElementsAre("/k/bin/mavk_diag -r", "/k/bin/mavk_diag -r -v"));
}

TEST_F(Diagnostic, CommandEndsWithTheDsps) {
    m_Order = {true, false, " /0/00:11:22:33:44:55/192.168.0.23"};
    EXPECT_THAT(FailingCommands(), ElementsAre("/k/bin/mavk_diag -r /0/00:11:22:33:44:55/192.168.0.23",
                                               "/k/bin/mavk_diag -r -v /0/00:11:22:33:44:55/192.168.0.23"));
}

TEST_F(Diagnostic, EachRunIsAWaitOfTheMonitorsOwn) {
    std::vector<std::size_t> l_NotedInTool;
    m_Board.m_OnTool = [&](const std::string&) { l_NotedInTool.push_back(m_Waits.m_Noted.size()); };
    FailingCommands();
    EXPECT_THAT(m_Waits.m_Noted, ElementsAre(true, false, true, false));
    EXPECT_THAT(l_NotedInTool, ElementsAre(1U, 3U));
}

TEST_F(Diagnostic, ExitStatus0IsLiveAndRunsOnce) {
    m_Board.m_ToolResults = {Exited(0)};
    EXPECT_EQ(Check(), 1);
    EXPECT_EQ(m_Board.Commands().size(), 1U);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Diagnostic, LiveAmcsAreTracedWhileTracesAreOn) {
    BM_LOG_LEVEL = 3;
    Check();
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
        m_Board.ForgetCommands();
        m_Board.m_ToolResults = {Exited(l_ExitStatus)};
        EXPECT_EQ(Check(), l_Result) << l_ExitStatus;
        EXPECT_THAT(Lines(), ElementsAre(MonitorError(l_Text))) << l_ExitStatus;
        EXPECT_EQ(m_Board.Commands().size(), 2U) << l_ExitStatus;
    }
}

TEST_F(Diagnostic, ToolThatCannotBeRunIsReportedForTheCheckAndForTheReport) {
    const LOG_LINE l_Line = MonitorError("system() call failed");
    for (const int l_Status : {Exited(33), Exited(126), Exited(127), Exited(255), -1}) {
        m_Board.m_ToolResults = {l_Status};
        EXPECT_EQ(Check(), 0x30016) << l_Status;
        EXPECT_THAT(Lines(), ElementsAre(l_Line, l_Line)) << l_Status;
    }
}

TEST_F(Diagnostic, ToolThatASignalEndedCountsAsPassed) {
    m_Board.m_ToolResults = {Killed(SIGKILL)};
    EXPECT_EQ(Check(), 1);
}

TEST_F(Diagnostic, WhatTheReportFindsDoesNotCount) {
    for (const int l_Report : {Exited(0), Exited(1), Exited(2), Exited(32), Killed(SIGKILL)}) {
        m_Board.m_ToolResults = {Exited(16), l_Report};
        EXPECT_EQ(Check(), 0x30015) << l_Report;
        EXPECT_THAT(Lines(), ElementsAre(MonitorError("AMC failed"))) << l_Report;
    }
}

TEST_F(Diagnostic, ReportThatCannotBeRunIsTheResult) {
    for (const int l_Report : {Exited(33), Exited(127), -1}) {
        m_Board.m_ToolResults = {Exited(16), l_Report};
        EXPECT_EQ(Check(), 0x30016) << l_Report;
        EXPECT_THAT(Lines(), ElementsAre(MonitorError("AMC failed"), MonitorError("system() call failed")));
    }
}

} // namespace
