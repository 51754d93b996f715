// The health monitor's life: how it starts, goes round, ends by itself, and is stopped at any moment.
#include "adaptor/IPMI_MonitorThread.h"

#include "adaptor/dsp/IPMI_DSPs.h"
#include "adaptor/monitor/MonitorTest.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <iterator>
#include <latch>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

const LOG_LINE g_Started = AdaptorError("Monitor Thread started");
const LOG_LINE g_Stopped = AdaptorError("Monitor Thread stopped");

class Monitor : public MONITOR_TEST {
protected:
    void StartIt() { m_Monitor.StartMonitor(false, false, nullptr, 0); }

    /// Starts it, and comes back when it waits for its next check.
    void StartAndWait() {
        StartIt();
        FakeWait().WaitForBegun(1);
    }

    /// Calls StopMonitor on another thread, and comes back when that has asked for the stop.
    std::thread BeginStop() {
        std::thread l_Stopper([this] { m_Monitor.StopMonitor(); });
        while (IPMI_TEST_ACCESS::bStop(m_Monitor) == 0)
            std::this_thread::yield();
        return l_Stopper;
    }
};

TEST_F(Monitor, IsWellBeforeItsFirstCheck) {
    EXPECT_EQ(m_Monitor.GetLastErr(), 1);
}

// ---- its start and its loop

TEST_F(Monitor, ChecksTheMediaSoftwareAndTheAmcsAndThenWaits5Seconds) {
    StartAndWait();
    EXPECT_EQ(m_Monitor.GetLastErr(), 1);
    m_Monitor.StopMonitor();
    EXPECT_EQ(FakeQueue().m_Sent.size(), 1U);
    EXPECT_THAT(FakeSystem().Commands(), ElementsAre("/usr/korvel/bin/mavk_diag -r -b amc"));
    EXPECT_THAT(FakeWait().Asked(), ElementsAre(5000));
    EXPECT_THAT(Lines(), ElementsAre(g_Started, g_Stopped));
}

TEST_F(Monitor, ChecksAgainWhenTheWaitIsOver) {
    FakeWait().LetTimeOut(3);
    StartIt();
    FakeWait().WaitForBegun(4);
    m_Monitor.StopMonitor();
    EXPECT_EQ(FakeQueue().m_Sent.size(), 4U);
    EXPECT_EQ(FakeSystem().Commands().size(), 4U);
}

TEST_F(Monitor, NotificationWithoutAStopBringsTheNextCheck) {
    StartAndWait();
    m_Monitor.Lock();
    m_Monitor.Notify();
    m_Monitor.Unlock();
    FakeWait().WaitForBegun(2);
    m_Monitor.StopMonitor();
    EXPECT_EQ(FakeSystem().Commands().size(), 2U);
}

TEST_F(Monitor, FailedMediaSoftwareEndsItBeforeTheDiagnostic) {
    FakeQueue().m_NotWritten = {Q_MSG_BOARD_STATUS};
    StartIt();
    m_Monitor.Join();
    EXPECT_EQ(m_Monitor.GetLastErr(), 0x30019);
    EXPECT_THAT(FakeSystem().Commands(), IsEmpty());
    EXPECT_THAT(FakeWait().Asked(), IsEmpty());
    const auto l_Lines = Lines();
    EXPECT_EQ(l_Lines.front(), g_Started);
    EXPECT_EQ(l_Lines.back(), g_Stopped);
}

TEST_F(Monitor, FailedDiagnosticEndsIt) {
    FakeSystem().m_Results = {Exited(0), Exited(0), Exited(32)};
    FakeWait().LetTimeOut(100);
    StartIt();
    m_Monitor.Join();
    EXPECT_EQ(m_Monitor.GetLastErr(), 0x30014);
    EXPECT_EQ(FakeWait().Asked().size(), 2U);
    EXPECT_THAT(Lines(), ElementsAre(g_Started, MonitorError("RTM failed"), g_Stopped));
}

TEST_F(Monitor, ResultStaysAfterTheStopAndIsForgottenByTheNextStart) {
    FakeSystem().m_Results = {Exited(2), Exited(2), Exited(0)};
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
        EXPECT_THAT(Lines(), Not(Contains(g_Started)));
    }
}

TEST_F(Monitor, ThreadThatIsNotToBeHadIsReportedAndTheQueueClosed) {
    FailNextThreadStart(EAGAIN);
    StartIt();
    EXPECT_EQ(m_Monitor.GetLastErr(), 0x30016);
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
    EXPECT_THAT(Lines(), ElementsAre(MonitorError("IPMI_MonitorThread::StartMonitor() - starting the thread failed, "
                                                  "errno " +
                                                  std::to_string(EAGAIN))));
}

// ---- its stop

TEST_F(Monitor, StopWithoutAStartDoesNothing) {
    m_Monitor.StopMonitor();
    m_Monitor.StopMonitor();
    EXPECT_THAT(FakeQueue().m_Calls, IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(Monitor, StopBeforeAStartDoesNotCountForIt) {
    m_Monitor.StopMonitor();
    StartAndWait();
    EXPECT_EQ(FakeSystem().Commands().size(), 1U);
}

TEST_F(Monitor, StopEndsTheWaitAndClosesTheQueue) {
    StartAndWait();
    m_Monitor.StopMonitor(); // would never come back
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
    EXPECT_THAT(Lines(), ElementsAre(g_Started, g_Stopped));
}

TEST_F(Monitor, SecondStopDoesNothing) {
    StartAndWait();
    m_Monitor.StopMonitor();
    const auto l_Calls = FakeQueue().m_Calls;
    m_Monitor.StopMonitor();
    EXPECT_EQ(FakeQueue().m_Calls, l_Calls);
}

TEST_F(Monitor, StopAfterAFailedCheckJoinsAndClosesTheQueue) {
    FakeSystem().m_Results = {Exited(16)};
    StartIt();
    while (m_Monitor.GetLastErr() == 1)
        std::this_thread::yield();
    EXPECT_THAT(FakeQueue().m_Calls, Not(Contains("qQueueClose")));
    m_Monitor.StopMonitor();
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
    EXPECT_EQ(m_Monitor.Join(), ESRCH);
}

TEST_F(Monitor, StopDuringACheckComesBackWhenTheCheckEnds) {
    std::latch l_InCheck(1);
    std::latch l_GoOn(1);
    FakeSystem().m_OnCall = [&](const std::string&) {
        l_InCheck.count_down();
        l_GoOn.wait();
    };
    StartIt();
    l_InCheck.wait();
    std::thread l_Stopper = BeginStop();
    EXPECT_THAT(FakeQueue().m_Calls, Not(Contains("qQueueClose"))); // it is joined first
    l_GoOn.count_down();
    l_Stopper.join();
    EXPECT_EQ(FakeSystem().Commands().size(), 1U);
    EXPECT_THAT(FakeWait().Asked(), IsEmpty());
    EXPECT_EQ(m_Monitor.GetLastErr(), 1);
    EXPECT_THAT(Lines(), ElementsAre(g_Started, g_Stopped));
}

/// Acts within one line, on the thread that writes it.
class ACTING_LOG final : public RECORDING_LOG {
public:
    ACTING_LOG(LOG_LINE a_Line, std::function<void()> a_Act) : m_Line(std::move(a_Line)), m_Act(std::move(a_Act)) {
        RecordBmiLogTo(this);
    }
    ~ACTING_LOG() override { RecordBmiLogTo(nullptr); }

    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        RECORDING_LOG::Log(a_Level, a_Component, a_Text);
        if (m_Line.m_Text == a_Text && !m_bDone.exchange(true)) m_Act();
    }

private:
    LOG_LINE m_Line;
    std::function<void()> m_Act;
    std::atomic<bool> m_bDone = false;
};

TEST_F(Monitor, StopBeforeTheFirstCheckEndsItAfterThatCheck) {
    std::latch l_Held(1);
    std::latch l_GoOn(1);
    ACTING_LOG l_Log(g_Started, [&] {
        l_Held.count_down();
        l_GoOn.wait();
    });
    StartIt();
    l_Held.wait();
    std::thread l_Stopper = BeginStop();
    l_GoOn.count_down();
    l_Stopper.join();
    m_Monitor.StopMonitor();
    EXPECT_THAT(l_Log.Lines(), ElementsAre(g_Started, g_Stopped));
    EXPECT_EQ(FakeQueue().m_Sent.size(), 1U);
    EXPECT_EQ(FakeSystem().Commands().size(), 1U);
    EXPECT_THAT(FakeWait().Asked(), IsEmpty());
}

// ---- its stop out of its own lines

TEST_F(Monitor, StopOnItsOwnThreadLeavesTheQueueToTheRunningCheck) {
    std::vector<std::string> l_Calls;
    FakeSystem().m_Results = {Exited(16)};
    ACTING_LOG l_Log(g_Started, [&] {
        m_Monitor.StopMonitor();
        l_Calls = FakeQueue().m_Calls;
    });
    StartIt();
    while (!l_Log.Has(g_Stopped.m_Text))
        std::this_thread::yield();
    EXPECT_THAT(l_Calls, Not(Contains("qQueueClose")));
    EXPECT_EQ(FakeQueue().m_Sent.size(), 1U);
    m_Monitor.StopMonitor(); // joins it
    EXPECT_EQ(m_Monitor.Join(), ESRCH);
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
    EXPECT_EQ(m_Monitor.GetLastErr(), 0x30015);
}

TEST_F(Monitor, StartOnItsOwnThreadBeginsItAnew) {
    FakeSystem().m_Results = {Exited(16), Exited(16), Exited(0)};
    ACTING_LOG l_Log(MonitorError("AMC failed"), [&] {
        m_Monitor.StopMonitor();
        m_Monitor.StartMonitor(true, false, nullptr, 0);
    });
    StartIt();
    FakeWait().WaitForBegun(1);
    EXPECT_EQ(m_Monitor.GetLastErr(), 1);
    m_Monitor.StopMonitor();
    EXPECT_THAT(l_Log.Lines(), ElementsAre(g_Started, MonitorError("AMC failed"), g_Stopped, g_Started, g_Stopped));
    EXPECT_EQ(FakeSystem().Commands().back(), "/usr/korvel/bin/mavk_diag -r");
    EXPECT_THAT(FakeQueue().m_Calls,
                ElementsAre("qDrvSetInterface 0 0", "qQueueOpen", "qQueueBind 0x60", "qQueueClose",
                            "qDrvSetInterface 0 0", "qQueueOpen", "qQueueBind 0x60", "qQueueClose"));
}

TEST_F(Monitor, StopAfterAStartOnItsOwnThreadCounts) {
    ACTING_LOG l_Log(g_Started, [&] {
        StartIt();
        m_Monitor.StopMonitor();
    });
    StartIt();
    while (!l_Log.Has(g_Stopped.m_Text))
        std::this_thread::yield();
    m_Monitor.StopMonitor();
    EXPECT_EQ(l_Log.Count(g_Started.m_Text), 1U);
}

TEST_F(Monitor, LineMayWaitForAnotherThreadThatStopsIt) {
    ACTING_LOG l_Log(g_Started, [&] { std::thread([&] { m_Monitor.StopMonitor(); }).join(); });
    StartIt();
    while (!l_Log.Has(g_Stopped.m_Text))
        std::this_thread::yield();
    EXPECT_EQ(FakeQueue().m_Sent.size(), 1U);
    m_Monitor.StopMonitor();
    EXPECT_EQ(m_Monitor.Join(), ESRCH);
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
}

TEST_F(Monitor, LineMayWaitForAnotherThreadThatStartsIt) {
    FakeSystem().m_Results = {Exited(16), Exited(16), Exited(0)};
    ACTING_LOG l_Log(MonitorError("AMC failed"), [&] { std::thread([&] { StartIt(); }).join(); });
    StartIt();
    FakeWait().WaitForBegun(1);
    m_Monitor.StopMonitor();
    EXPECT_EQ(l_Log.Count(g_Started.m_Text), 2U);
    EXPECT_EQ(l_Log.Count(g_Stopped.m_Text), 2U);
}

TEST_F(Monitor, StopsOnManyThreadsAllComeBack) {
    for (int i = 0; i < 20; ++i) {
        StartIt();
        std::vector<std::jthread> l_Hosts;
        for (int l_Host = 0; l_Host < 4; ++l_Host)
            l_Hosts.emplace_back([this] { m_Monitor.StopMonitor(); });
    }
    EXPECT_EQ(m_Monitor.Join(), ESRCH);
}

TEST_F(Monitor, StartsAndStopsOnManyThreadsLeaveNoneRunning) {
    {
        std::vector<std::jthread> l_Hosts;
        for (int l_Host = 0; l_Host < 4; ++l_Host) {
            l_Hosts.emplace_back([this] {
                for (int i = 0; i < 25; ++i) {
                    StartIt();
                    m_Monitor.StopMonitor();
                }
            });
        }
    }
    m_Monitor.StopMonitor();
    EXPECT_EQ(m_Monitor.Join(), ESRCH);
    EXPECT_EQ(m_Log.Count(g_Started.m_Text), m_Log.Count(g_Stopped.m_Text));
}

TEST_F(Monitor, DestructionStopsIt) {
    {
        IPMI_MonitorThread l_Monitor(m_Board);
        l_Monitor.StartMonitor(false, false, nullptr, 0);
        FakeWait().WaitForBegun(1);
    }
    EXPECT_THAT(Lines(), ElementsAre(g_Started, g_Stopped));
    EXPECT_EQ(FakeQueue().m_Descriptor, -1);
}

// ---- a second start

TEST_F(Monitor, SecondStartStopsItAndStartsItAnew) {
    StartAndWait();
    FakeQueue().m_Calls.clear();
    m_Monitor.StartMonitor(true, true, nullptr, 0);
    FakeWait().WaitForBegun(2);
    m_Monitor.StopMonitor();
    EXPECT_THAT(FakeQueue().m_Calls,
                ElementsAre("qQueueClose", "qDrvSetInterface 0 0", "qQueueOpen", "qQueueBind 0x60", "qQueueClose"));
    EXPECT_THAT(FakeSystem().Commands(),
                ElementsAre("/usr/korvel/bin/mavk_diag -r -b amc", "/usr/korvel/bin/mavk_diag -r -i"));
    EXPECT_THAT(Lines(), ElementsAre(g_Started, g_Stopped, g_Started, g_Stopped));
}

TEST_F(Monitor, TableOfDspsMayBeFreedWhileItRuns) {
    auto l_DSPs = std::make_unique<IPMI_DSP_Info_S[]>(1);
    l_DSPs[0] = {"a MAC that is too long to be kept in the string itself", "192.168.0.23"};
    const std::string l_Command = "/usr/korvel/bin/mavk_diag -r /0/" + l_DSPs[0].m_MAC + "/192.168.0.23";
    m_Monitor.StartMonitor(true, false, l_DSPs.get(), 1);
    FakeWait().WaitForBegun(1);
    l_DSPs.reset();
    m_Monitor.Lock();
    m_Monitor.Notify();
    m_Monitor.Unlock();
    FakeWait().WaitForBegun(2);
    EXPECT_THAT(FakeSystem().Commands(), ElementsAre(l_Command, l_Command));
}

std::ptrdiff_t EntriesOf(const char* a_Folder) {
    return std::distance(std::filesystem::directory_iterator(a_Folder), {});
}

TEST_F(Monitor, ManyStartsAndStopsLeaveNoThreadAndNoDescriptor) {
    StartIt(); // the first thread of a process may bring a sanitizer's own
    m_Monitor.StopMonitor();
    const auto l_Threads = EntriesOf("/proc/self/task");
    const auto l_Descriptors = EntriesOf("/proc/self/fd");
    for (std::size_t i = 1; i <= 100; ++i) {
        StartIt();
        if (i % 2 == 0) m_Monitor.StopMonitor();
    }
    m_Monitor.StopMonitor();
    while (EntriesOf("/proc/self/task") > l_Threads) // the kernel lists a thread a moment longer than it lives
        std::this_thread::yield();
    EXPECT_EQ(EntriesOf("/proc/self/fd"), l_Descriptors);
}

} // namespace
