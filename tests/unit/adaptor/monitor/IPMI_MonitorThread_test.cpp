// The health monitor: how it starts, goes round and ends by itself, and its steps one by one.
#include "adaptor/IPMI_MonitorThread.h"

#include "adaptor/dsp/IPMI_DSPs.h"
#include "adaptor/monitor/MonitorTest.h"

#include <cerrno>
#include <memory>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

using Monitor = MONITOR_TEST;

TEST_F(Monitor, IsWellBeforeItsFirstCheck) {
    EXPECT_EQ(m_Monitor.GetLastErr(), 1);
}

// ---- its start and its loop

TEST_F(Monitor, ChecksTheMediaSoftwareAndTheAmcsAndThenWaits5Seconds) {
    StartAndWait();
    EXPECT_EQ(m_Monitor.GetLastErr(), 1);
    m_Monitor.StopMonitor();
    EXPECT_EQ(FakeQueue().m_Sent.size(), 1U);
    EXPECT_THAT(m_Board.Commands(), ElementsAre("/usr/korvel/bin/mavk_diag -r -b amc"));
    EXPECT_THAT(m_Board.Waits(), ElementsAre(5000));
    EXPECT_THAT(Lines(), ElementsAre(g_MonitorStarted, g_MonitorStopped));
}

TEST_F(Monitor, ChecksAgainWhenTheWaitIsOver) {
    m_Board.LetTimeOut(3);
    StartIt();
    m_Board.WaitForBegun(4);
    m_Monitor.StopMonitor();
    EXPECT_EQ(FakeQueue().m_Sent.size(), 4U);
    EXPECT_EQ(m_Board.Commands().size(), 4U);
}

TEST_F(Monitor, NotificationWithoutAStopBringsTheNextCheck) {
    StartAndWait();
    m_Monitor.Lock();
    m_Monitor.Notify();
    m_Monitor.Unlock();
    m_Board.WaitForBegun(2);
    m_Monitor.StopMonitor();
    EXPECT_EQ(m_Board.Commands().size(), 2U);
}

TEST_F(Monitor, FailedMediaSoftwareEndsItBeforeTheDiagnostic) {
    FakeQueue().m_NotWritten = {Q_MSG_BOARD_STATUS};
    StartIt();
    m_Monitor.Join();
    EXPECT_EQ(m_Monitor.GetLastErr(), 0x30019);
    EXPECT_THAT(m_Board.Commands(), IsEmpty());
    EXPECT_THAT(m_Board.Waits(), IsEmpty());
    const auto l_Lines = Lines();
    EXPECT_EQ(l_Lines.front(), g_MonitorStarted);
    EXPECT_EQ(l_Lines.back(), g_MonitorStopped);
}

TEST_F(Monitor, FailedDiagnosticEndsIt) {
    m_Board.m_ToolResults = {Exited(0), Exited(0), Exited(32)};
    m_Board.LetTimeOut(100);
    StartIt();
    m_Monitor.Join();
    EXPECT_EQ(m_Monitor.GetLastErr(), 0x30014);
    EXPECT_EQ(m_Board.Waits().size(), 2U);
    EXPECT_THAT(Lines(), ElementsAre(g_MonitorStarted, MonitorError("RTM failed"), g_MonitorStopped));
}

TEST_F(Monitor, ResultStaysAfterTheStopAndIsForgottenByTheNextStart) {
    m_Board.m_ToolResults = {Exited(2), Exited(2), Exited(0)};
    StartIt();
    m_Monitor.Join();
    m_Monitor.StopMonitor();
    EXPECT_EQ(m_Monitor.GetLastErr(), 0x30013);
    StartAndWait();
    EXPECT_EQ(m_Monitor.GetLastErr(), 1);
}

TEST_F(Monitor, WithoutItsQueueItIsNotStarted) {
    for (int FAKE_QUEUE::*const l_Call :
         {&FAKE_QUEUE::m_DriverResult, &FAKE_QUEUE::m_OpenResult, &FAKE_QUEUE::m_BindResult}) {
        FakeQueue().*l_Call = -1;
        StartIt();
        FakeQueue().*l_Call = 0;
        EXPECT_EQ(m_Monitor.Join(), ESRCH);
        EXPECT_EQ(m_Monitor.GetLastErr(), 0x30019);
        EXPECT_THAT(Lines(), Not(Contains(g_MonitorStarted)));
    }
}

TEST_F(Monitor, ThreadThatIsNotToBeHadIsReportedAndTheQueueClosed) {
    m_Board.m_OnStart = [] { return EAGAIN; };
    StartIt();
    EXPECT_EQ(m_Monitor.GetLastErr(), 0x30016);
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("IPMI_MonitorThread::StartMonitor() - starting the thread failed, "
                                                  "errno " +
                                                  std::to_string(EAGAIN))));
}

// ---- what it is told

TEST_F(Monitor, TellsTheDiagnosticOfRtmFramersAndDspsFrom0On) {
    const IPMI_DSP_Info_S l_DSPs[] = {{"00:11:22:33:44:55", "192.168.0.23"}, {"00:11:22:33:44:57", "192.168.0.22"}};
    m_Monitor.StartMonitor(true, true, l_DSPs, 2);
    m_Board.WaitForBegun(1);
    EXPECT_THAT(m_Board.Commands(), ElementsAre("/usr/korvel/bin/mavk_diag -r -i /0/00:11:22:33:44:55/192.168.0.23"
                                                " /1/00:11:22:33:44:57/192.168.0.22"));
}

TEST_F(Monitor, NamesNoDspWithoutATableOrEntries) {
    const IPMI_DSP_Info_S l_DSP = {"MAC", "IP"};
    std::size_t l_Checks = 0;
    const auto l_Check = [&](const IPMI_DSP_Info_S* a_DSPs, int a_Count) {
        m_Monitor.StartMonitor(true, false, a_DSPs, a_Count);
        m_Board.WaitForBegun(++l_Checks);
        return m_Board.Commands().back();
    };
    EXPECT_EQ(l_Check(nullptr, 4), "/usr/korvel/bin/mavk_diag -r");
    EXPECT_EQ(l_Check(&l_DSP, 0), "/usr/korvel/bin/mavk_diag -r");
    EXPECT_EQ(l_Check(&l_DSP, -1), "/usr/korvel/bin/mavk_diag -r");
}

TEST_F(Monitor, TakesItsToolsFromTheInstallDirectory) {
    for (const std::string l_Directory : {"/opt/blade", ""}) { // empty is set
        m_Board.m_Environment["TARSK_KORVEL_DIR"] = l_Directory;
        m_Board.ForgetCommands();
        IPMI_MonitorThread(m_Board).IsAMCsLive();
        EXPECT_THAT(m_Board.Commands(), ElementsAre(l_Directory + "/bin/mavk_diag -r -b amc"));
    }
}

// ---- its steps, called by the test

TEST_F(Monitor, StepsGiveTheirResultWithoutItsThread) {
    EXPECT_EQ(m_Monitor.InitDriver(), 1);
    EXPECT_EQ(m_Monitor.IsVXPLive(), 1);
    EXPECT_EQ(m_Monitor.IsAMCsLive(), 1);
    m_Board.m_ToolResults = {Exited(2)};
    EXPECT_EQ(m_Monitor.IsAMCsLive(), 0x30013);
    EXPECT_EQ(m_Monitor.GetLastErr(), 1); // of the thread's checks only
}

TEST_F(Monitor, WaitsForAMessageOnTheQueueThatItIsTold) {
    m_Monitor.InitDriver();
    FakeQueue().Receive({0x42});
    qMsg* const l_Message = m_Monitor.checkMessage(FakeQueue().m_Descriptor, 0x42);
    ASSERT_NE(l_Message, nullptr);
    EXPECT_EQ(qMsgType(l_Message), 0x42U);
    qMsgFree(l_Message);
    m_Board.m_Readable = {0};
    EXPECT_EQ(m_Monitor.checkMessage(77, 0x42), nullptr);
    EXPECT_EQ(m_Board.ReadWaits().back(), std::make_pair(77, 5000));
}

// ---- a second start

TEST_F(Monitor, SecondStartStopsItAndStartsItAnew) {
    StartAndWait();
    FakeQueue().m_Calls.clear();
    m_Monitor.StartMonitor(true, true, nullptr, 0);
    m_Board.WaitForBegun(2);
    m_Monitor.StopMonitor();
    EXPECT_THAT(FakeQueue().m_Calls,
                ElementsAre("qQueueClose", "qDrvSetInterface 0 0", "qQueueOpen", "qQueueBind 0x60", "qQueueClose"));
    EXPECT_THAT(m_Board.Commands(),
                ElementsAre("/usr/korvel/bin/mavk_diag -r -b amc", "/usr/korvel/bin/mavk_diag -r -i"));
    EXPECT_THAT(Lines(), ElementsAre(g_MonitorStarted, g_MonitorStopped, g_MonitorStarted, g_MonitorStopped));
}

TEST_F(Monitor, TableOfDspsMayBeFreedWhileItRuns) {
    auto l_DSPs = std::make_unique<IPMI_DSP_Info_S[]>(1);
    l_DSPs[0] = {"a MAC that is too long to be kept in the string itself", "192.168.0.23"};
    const std::string l_Command = "/usr/korvel/bin/mavk_diag -r /0/" + l_DSPs[0].m_MAC + "/192.168.0.23";
    m_Monitor.StartMonitor(true, false, l_DSPs.get(), 1);
    m_Board.WaitForBegun(1);
    l_DSPs.reset();
    m_Monitor.Lock();
    m_Monitor.Notify();
    m_Monitor.Unlock();
    m_Board.WaitForBegun(2);
    EXPECT_THAT(m_Board.Commands(), ElementsAre(l_Command, l_Command));
}

} // namespace
