// The health monitor's life: how it is stopped at any moment, from any thread, and out of its own lines.
#include "adaptor/monitor/IPMI_MonitorLife.h"

#include "adaptor/monitor/MonitorTest.h"
#include "platform/osal/Blocked.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <iterator>
#include <latch>
#include <optional>
#include <thread>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class MonitorLife : public MONITOR_TEST {
protected:
    /// Calls StopMonitor on another thread, and returns when that has asked for the stop.
    std::thread BeginStop() {
        std::thread l_Stopper([this] { m_Monitor.StopMonitor(); });
        while (IPMI_TEST_ACCESS::bStop(m_Monitor) == 0)
            std::this_thread::yield();
        return l_Stopper;
    }
};

// ---- its stop

TEST_F(MonitorLife, StopWithoutAStartDoesNothing) {
    m_Monitor.StopMonitor();
    m_Monitor.StopMonitor();
    EXPECT_THAT(FakeQueue().m_Calls, IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(MonitorLife, StopBeforeAStartDoesNotCountForIt) {
    m_Monitor.StopMonitor();
    StartAndWait();
    EXPECT_EQ(m_Board.Commands().size(), 1U);
}

TEST_F(MonitorLife, StopEndsTheWaitAndClosesTheQueue) {
    StartAndWait();
    m_Monitor.StopMonitor(); // would never come back
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
    EXPECT_THAT(Lines(), ElementsAre(g_MonitorStarted, g_MonitorStopped));
}

TEST_F(MonitorLife, SecondStopDoesNothing) {
    StartAndWait();
    m_Monitor.StopMonitor();
    const auto l_Calls = FakeQueue().m_Calls;
    m_Monitor.StopMonitor();
    EXPECT_EQ(FakeQueue().m_Calls, l_Calls);
}

TEST_F(MonitorLife, StopAfterAFailedCheckJoinsAndClosesTheQueue) {
    m_Board.m_ToolResults = {Exited(16)};
    StartIt();
    while (m_Monitor.GetLastErr() == 1)
        std::this_thread::yield();
    EXPECT_THAT(FakeQueue().m_Calls, Not(Contains("qQueueClose")));
    m_Monitor.StopMonitor();
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
    EXPECT_EQ(m_Monitor.Join(), ESRCH);
}

TEST_F(MonitorLife, StopDuringACheckComesBackWhenTheCheckEnds) {
    std::latch l_InCheck(1);
    std::latch l_GoOn(1);
    m_Board.m_OnTool = [&](const std::string&) {
        l_InCheck.count_down();
        l_GoOn.wait();
    };
    StartIt();
    l_InCheck.wait();
    std::thread l_Stopper = BeginStop();
    EXPECT_THAT(FakeQueue().m_Calls, Not(Contains("qQueueClose"))); // it is joined first
    l_GoOn.count_down();
    l_Stopper.join();
    EXPECT_EQ(m_Board.Commands().size(), 1U);
    EXPECT_THAT(m_Board.Waits(), IsEmpty());
    EXPECT_EQ(m_Monitor.GetLastErr(), 1);
    EXPECT_THAT(Lines(), ElementsAre(g_MonitorStarted, g_MonitorStopped));
}

TEST_F(MonitorLife, StopBeforeTheFirstCheckEndsItAfterThatCheck) {
    std::latch l_Held(1);
    std::latch l_GoOn(1);
    ACTING_LOG l_Log(g_MonitorStarted, [&] {
        l_Held.count_down();
        l_GoOn.wait();
    });
    StartIt();
    l_Held.wait();
    std::thread l_Stopper = BeginStop();
    l_GoOn.count_down();
    l_Stopper.join();
    m_Monitor.StopMonitor();
    EXPECT_THAT(l_Log.Lines(), ElementsAre(g_MonitorStarted, g_MonitorStopped));
    EXPECT_EQ(FakeQueue().m_Sent.size(), 1U);
    EXPECT_EQ(m_Board.Commands().size(), 1U);
    EXPECT_THAT(m_Board.Waits(), IsEmpty());
}

// ---- its stop out of its own lines

TEST_F(MonitorLife, StopOnItsOwnThreadLeavesTheQueueToTheRunningCheck) {
    std::vector<std::string> l_Calls;
    m_Board.m_ToolResults = {Exited(16)};
    ACTING_LOG l_Log(g_MonitorStarted, [&] {
        m_Monitor.StopMonitor();
        l_Calls = FakeQueue().m_Calls;
    });
    StartIt();
    while (!l_Log.Has(g_MonitorStopped.m_Text))
        std::this_thread::yield();
    EXPECT_THAT(l_Calls, Not(Contains("qQueueClose")));
    EXPECT_EQ(FakeQueue().m_Sent.size(), 1U);
    m_Monitor.StopMonitor(); // joins it
    EXPECT_EQ(m_Monitor.Join(), ESRCH);
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
    EXPECT_EQ(m_Monitor.GetLastErr(), 0x30015);
}

TEST_F(MonitorLife, StartOnItsOwnThreadBeginsItAnew) {
    m_Board.m_ToolResults = {Exited(16), Exited(16), Exited(0)};
    ACTING_LOG l_Log(MonitorError("AMC failed"), [&] {
        m_Monitor.StopMonitor();
        m_Monitor.StartMonitor(true, false, nullptr, 0);
    });
    StartIt();
    m_Board.WaitForBegun(1);
    EXPECT_EQ(m_Monitor.GetLastErr(), 1);
    m_Monitor.StopMonitor();
    EXPECT_THAT(l_Log.Lines(), ElementsAre(g_MonitorStarted, MonitorError("AMC failed"), g_MonitorStopped,
                                           g_MonitorStarted, g_MonitorStopped));
    EXPECT_EQ(m_Board.Commands().back(), "/usr/korvel/bin/mavk_diag -r");
    EXPECT_THAT(FakeQueue().m_Calls,
                ElementsAre("qDrvSetInterface 0 0", "qQueueOpen", "qQueueBind 0x60", "qQueueClose",
                            "qDrvSetInterface 0 0", "qQueueOpen", "qQueueBind 0x60", "qQueueClose"));
}

TEST_F(MonitorLife, StopAfterAStartOnItsOwnThreadCounts) {
    ACTING_LOG l_Log(g_MonitorStarted, [&] {
        StartIt();
        m_Monitor.StopMonitor();
    });
    StartIt();
    while (!l_Log.Has(g_MonitorStopped.m_Text))
        std::this_thread::yield();
    m_Monitor.StopMonitor();
    EXPECT_EQ(l_Log.Count(g_MonitorStarted.m_Text), 1U);
}

TEST_F(MonitorLife, LineMayWaitForAnotherThreadThatStopsIt) {
    ACTING_LOG l_Log(g_MonitorStarted, [&] { std::thread([&] { m_Monitor.StopMonitor(); }).join(); });
    StartIt();
    while (!l_Log.Has(g_MonitorStopped.m_Text))
        std::this_thread::yield();
    EXPECT_EQ(FakeQueue().m_Sent.size(), 1U);
    m_Monitor.StopMonitor();
    EXPECT_EQ(m_Monitor.Join(), ESRCH);
    EXPECT_EQ(FakeQueue().m_Calls.back(), "qQueueClose");
}

TEST_F(MonitorLife, LineMayWaitForAnotherThreadThatStartsIt) {
    m_Board.m_ToolResults = {Exited(16), Exited(16), Exited(0)};
    ACTING_LOG l_Log(MonitorError("AMC failed"), [&] { std::thread([&] { StartIt(); }).join(); });
    StartIt();
    m_Board.WaitForBegun(1);
    m_Monitor.StopMonitor();
    EXPECT_EQ(l_Log.Count(g_MonitorStarted.m_Text), 2U);
    EXPECT_EQ(l_Log.Count(g_MonitorStopped.m_Text), 2U);
}

TEST_F(MonitorLife, StopsOnManyThreadsAllComeBack) {
    for (int i = 0; i < 20; ++i) {
        StartIt();
        std::vector<std::jthread> l_Hosts;
        for (int l_Host = 0; l_Host < 4; ++l_Host)
            l_Hosts.emplace_back([this] { m_Monitor.StopMonitor(); });
    }
    EXPECT_EQ(m_Monitor.Join(), ESRCH);
}

TEST_F(MonitorLife, StartsAndStopsOnManyThreadsLeaveNoneRunning) {
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
    EXPECT_EQ(m_Log.Count(g_MonitorStarted.m_Text), m_Log.Count(g_MonitorStopped.m_Text));
}

TEST_F(MonitorLife, DestructionStopsIt) {
    {
        IPMI_MonitorThread l_Monitor(m_Board);
        l_Monitor.StartMonitor(false, false, nullptr, 0);
        m_Board.WaitForBegun(1);
    }
    EXPECT_THAT(Lines(), ElementsAre(g_MonitorStarted, g_MonitorStopped));
    EXPECT_EQ(FakeQueue().m_Descriptor, -1);
}

std::ptrdiff_t EntriesOf(const char* a_Folder) {
    return std::distance(std::filesystem::directory_iterator(a_Folder), {});
}

TEST_F(MonitorLife, ManyStartsAndStopsLeaveNoThreadAndNoDescriptor) {
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

// ---- claims

/// A life by itself, whose thread ends at once.
class MonitorClaim : public ADAPTOR_PROCESS_TEST {
protected:
    MonitorClaim() { m_Thread.m_Life = &m_Life; }
    ~MonitorClaim() override { m_Life.Stop(true); }

    class BODY final : public OSAL::OSALThread {
    public:
        void run() override {
            m_Life->Enter();
            if (m_OnEnter) m_OnEnter();
            m_Life->TakeNext();
            m_bEnded = true;
        }
        MONITOR_LIFE* m_Life = nullptr;
        std::function<void()> m_OnEnter;
        std::atomic<bool> m_bEnded = false;
    };

    BODY m_Thread;
    OSAL::OSALMonitor m_Pause;
    std::atomic<int> m_bStop = 0;
    MONITOR_LIFE m_Life{m_Board, m_Thread, m_Pause, m_bStop};
};

TEST_F(MonitorClaim, OfASecondStartHandsItsOrderToTheFirst) {
    EXPECT_EQ(m_Life.Claim({false, false, " first"}), MONITOR_CLAIMED);
    EXPECT_EQ(m_Life.Claim({true, false, " second"}), MONITOR_NOT_FREE);
    EXPECT_EQ(m_Life.Order().m_DSPGroups, " first");
    EXPECT_EQ(m_Life.StartThread(), 0);
    EXPECT_EQ(m_Life.Order().m_DSPGroups, " second");
}

TEST_F(MonitorClaim, ThatIsReleasedForgetsTheSecondStart) {
    m_Life.Claim({false, false, " first"});
    m_Life.Claim({false, false, " second"});
    m_Life.Release();
    EXPECT_EQ(m_Life.Claim({false, false, " third"}), MONITOR_CLAIMED);
    EXPECT_EQ(m_Life.StartThread(), 0);
    EXPECT_EQ(m_Life.Order().m_DSPGroups, " third");
}

TEST_F(MonitorClaim, ThatAStopMeetsStartsNoThread) {
    m_Life.Claim({});
    EXPECT_FALSE(m_Life.Stop(false)); // the queue is the claim's
    EXPECT_EQ(m_Life.StartThread(), std::nullopt);
    m_Life.Release();
    EXPECT_TRUE(m_Life.Stop(false));
}

TEST_F(MonitorClaim, WithoutAThreadTellsWhy) {
    m_Board.m_OnStart = [] { return EAGAIN; };
    m_Life.Claim({});
    EXPECT_EQ(m_Life.StartThread(), EAGAIN);
}

TEST_F(MonitorClaim, OfARetiredMonitorFails) {
    m_Life.Claim({});
    m_Life.Retire();
    EXPECT_EQ(m_Life.StartThread(), std::nullopt);
    m_Life.Release();
    EXPECT_EQ(m_Life.Claim({}), MONITOR_NOT_FREE);
}

TEST_F(MonitorClaim, ComesAfterTheJoinOfAThreadThatHasEnded) {
    m_Life.Claim({});
    m_Life.StartThread();
    while (!m_Thread.m_bEnded)
        std::this_thread::yield();
    EXPECT_EQ(m_Life.Claim({}), MONITOR_STOP_FIRST);
    EXPECT_TRUE(m_Life.Stop(false));
    EXPECT_EQ(m_Thread.Join(), ESRCH);
    m_Life.Closed();
    EXPECT_EQ(m_Life.Claim({}), MONITOR_CLAIMED);
}

// As in a line that the host takes right after the wait, and keeps until the stop comes back.
TEST_F(MonitorClaim, ThreadAfterItsOwnWaitDoesNotHoldAStop) {
    std::atomic<pid_t> l_Stopper = 0;
    std::latch l_Stopped(1);
    std::latch l_InWait(1);
    m_Thread.m_OnEnter = [&] {
        m_Life.NoteOwnWait(true);
        l_InWait.count_down();
        while (m_bStop == 0 || !IsBlocked(l_Stopper))
            std::this_thread::yield();
        m_Life.NoteOwnWait(false);
        l_Stopped.wait();
    };
    m_Life.Claim({});
    m_Life.StartThread();
    l_InWait.wait();
    std::thread l_Stop([&] {
        l_Stopper = gettid();
        EXPECT_FALSE(m_Life.Stop(false));
        l_Stopped.count_down();
    });
    l_Stop.join();
    while (!m_Thread.m_bEnded) // it reads what the test has
        std::this_thread::yield();
}

TEST_F(MonitorClaim, WaitsWhileAnotherThreadClosesTheQueue) {
    EXPECT_TRUE(m_Life.Stop(false));
    EXPECT_FALSE(m_Life.Stop(false)); // one closes it
    std::atomic<pid_t> l_Id = 0;
    std::atomic<bool> l_bClaimed = false;
    std::thread l_Start([&] {
        l_Id = gettid();
        m_Life.Claim({});
        l_bClaimed = true;
    });
    while (!l_bClaimed && !IsBlocked(l_Id))
        std::this_thread::yield();
    EXPECT_FALSE(l_bClaimed);
    m_Life.Closed();
    l_Start.join();
}

} // namespace
