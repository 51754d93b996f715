// Start and Stop beyond the DSPs: media server and health monitor, and what happens when they meet on two threads.
#include "adaptor/StartTest.h"

#include "adaptor/IPMI_MonitorThread.h"
#include "adaptor/MonitorTest.h"
#include "adaptor/UpgradeTest.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <latch>
#include <thread>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

// ---- the health monitor

/// Everything that the monitor checks is well.
class StartedMonitor : public START_TEST {
protected:
    StartedMonitor() {
        BM_LOG_LEVEL = 0;
        FakeQueue().Reset();
        FakeQueue().m_Answers[Q_MSG_BOARD_STATUS] = BoardStatus(1, 4);
        FakeWait().Reset();
        setenv("TARSK_KORVEL_DIR", "/k", 1);
        Access::Monitor(m_Adaptor) = new IPMI_MonitorThread; // the adaptor's
    }
    ~StartedMonitor() override {
        Monitor().StopMonitor();
        EXPECT_EQ(FakeQueue().m_Descriptor, -1) << "the queue was left open";
        FakeQueue().Reset();
    }

    IPMI_MonitorThread& Monitor() { return *Access::Monitor(m_Adaptor); }
    /// Starts, lets the monitor check once and stops; gives the monitor's command lines.
    TEXTS Checks() {
        EXPECT_EQ(Start(), 1);
        FakeWait().WaitForBegun(1);
        EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
        TEXTS l_Commands = FakeSystem().Commands();
        std::erase_if(l_Commands, [](const std::string& a_Command) { return !a_Command.starts_with(CHECK); });
        return l_Commands;
    }

    static constexpr const char* CHECK = "/k/bin/mavk_diag -r";
};

TEST_F(StartedMonitor, ComesLastAtStartAndEndsFirstAtStop) {
    bool l_bStoppedBefore = false;
    FakeSystem().m_OnCall = [&](const std::string& a_Command) {
        if (a_Command == MEDIA_STOP) l_bStoppedBefore = m_Log.Has("Monitor Thread stopped");
    };
    EXPECT_EQ(Start(), 1);
    FakeWait().WaitForBegun(1);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_THAT(FakeSystem().Commands(),
                ElementsAre(INIT, Boot(), Diag(), MEDIA_START, CHECK + std::string(" -b amc") + DSP_WORDS, MEDIA_STOP));
    EXPECT_TRUE(l_bStoppedBefore);
}

TEST_F(StartedMonitor, IsToldThatThereIsNoRtm) {
    EXPECT_THAT(Checks(), ElementsAre(CHECK + std::string(" -b amc") + DSP_WORDS));
}

TEST_F(StartedMonitor, IsToldThatTheRtmHasNoFramers) {
    BeWithRTM(0, 4);
    EXPECT_THAT(Checks(), ElementsAre(CHECK + std::string(" -i") + DSP_WORDS));
}

TEST_F(StartedMonitor, IsToldOfAnRtmWithFramers) {
    BeWithRTM(1, 4);
    EXPECT_THAT(Checks(), ElementsAre(CHECK + DSP_WORDS));
}

TEST_F(StartedMonitor, LooksAtTheFramersWhereStartupLooksAtTheTrunks) {
    BeWithRTM(1, 0);
    EXPECT_THAT(Checks(), ElementsAre(CHECK + DSP_WORDS));
    EXPECT_THAT(FakeSystem().Commands(), Contains("/k/bin/mavk_init -v -i"));
}

TEST_F(StartedMonitor, IsStartedAnewBySecondStart) {
    EXPECT_EQ(Start(), 1);
    FakeWait().WaitForBegun(1);
    EXPECT_EQ(Start(), 1);
    FakeWait().WaitForBegun(2);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_EQ(m_Log.Count("Monitor Thread started"), 2U);
    EXPECT_EQ(m_Log.Count("Monitor Thread stopped"), 2U);
}

TEST_F(StartedMonitor, IsNotStartedWithoutTheMediaServer) {
    FakeSystem().m_Results = {0, 0, 0, Exited(1)};
    EXPECT_EQ(Start(), 0x30004);
    EXPECT_THAT(Lines(), Contains(MediaError("Fail to start MEDIA SERVER ")));
    EXPECT_THAT(FakeQueue().m_Calls, IsEmpty());
}

TEST_F(StartedMonitor, IsNotStartedWithoutTheDsps) {
    FakeSystem().m_Results = {0, 0, Exited(7)};
    EXPECT_EQ(Start(), 0x30012);
    EXPECT_THAT(FakeSystem().Commands(), Not(Contains(MEDIA_START)));
    EXPECT_THAT(FakeQueue().m_Calls, IsEmpty());
}

TEST_F(StartedMonitor, ThatCannotStartIsNotStartsFailure) {
    FakeQueue().m_OpenResult = -1;
    EXPECT_EQ(Start(), 1);
    EXPECT_EQ(Monitor().GetLastErr(), 0x30019);
    FakeQueue().m_OpenResult = 0;
    FailNextThreadStart(EAGAIN);
    EXPECT_EQ(Start(), 1);
    EXPECT_EQ(Monitor().GetLastErr(), 0x30016);
}

TEST_F(StartedMonitor, IsStoppedThoughTheMediaServerIsNot) {
    EXPECT_EQ(Start(), 1);
    FakeWait().WaitForBegun(1);
    FakeSystem().m_Results = {Exited(3)};
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 0x30005);
    EXPECT_TRUE(m_Log.Has("Monitor Thread stopped"));
    EXPECT_THAT(Lines(), Contains(MediaError("Fail to stop MEDIA SERVER ")));
}

// ---- two threads, and calls out of events

class StartMeets : public START_TEST {
protected:
    /// Start on one thread; `a_Other` on another one as soon as the first tool runs, which goes on until that other
    /// thread has had its chance.
    void WhileStartRuns(const std::function<void()>& a_Other) {
        std::latch l_Runs(1);
        std::latch l_Other(1);
        std::atomic<int> l_Tools = 0;
        FakeSystem().m_OnCall = [&](const std::string&) {
            if (l_Tools++ != 0) return;
            l_Runs.count_down();
            l_Other.wait();
            for (int i = 0; i < 100; ++i)
                std::this_thread::yield();
        };
        std::thread l_Start([this] { EXPECT_EQ(Start(), 1); });
        l_Runs.wait();
        l_Other.count_down();
        a_Other();
        l_Start.join();
    }
};

TEST_F(StartMeets, AnotherStartThatWaitsForIt) {
    WhileStartRuns([this] { EXPECT_EQ(Start(), 1); });
    EXPECT_THAT(FakeSystem().Commands(),
                ElementsAre(INIT, Boot(), Diag(), MEDIA_START, INIT, Boot(), Diag(), MEDIA_START));
    EXPECT_THAT(Statuses(), ElementsAre(3, 4, 3, 4));
}

TEST_F(StartMeets, AStopThatWaitsForIt) {
    WhileStartRuns([this] { EXPECT_EQ(m_Adaptor.Stop(nullptr), 1); });
    EXPECT_THAT(FakeSystem().Commands(), ElementsAre(INIT, Boot(), Diag(), MEDIA_START, MEDIA_STOP));
}

TEST_F(StartMeets, AFinThatWaitsForIt) {
    TEXTS l_Commands;
    WhileStartRuns([&] {
        EXPECT_EQ(m_Adaptor.Fin(), 1);
        l_Commands = FakeSystem().Commands();
    });
    EXPECT_THAT(l_Commands, ElementsAre(INIT, Boot(), Diag(), MEDIA_START));
    EXPECT_THAT(Statuses(), ElementsAre(3, 4));
}

/// A host that acts when it is told of a run status.
class StartWithinItsEvent : public START_TEST {
protected:
    StartWithinItsEvent() { Access::Manager(m_Adaptor) = &m_Host; }
    ~StartWithinItsEvent() override {
        m_Adaptor.Fin();
        Access::Manager(m_Adaptor) = &m_Manager;
    }

    UPGRADE_MANAGER m_Host;
};

TEST_F(StartWithinItsEvent, HostMayStopTheMediaServer) {
    m_Host.m_OnEvent = [this] { EXPECT_EQ(m_Adaptor.Stop(nullptr), 1); };
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(FakeSystem().Commands(), ElementsAre(MEDIA_STOP, INIT, Boot(), Diag(), MEDIA_STOP, MEDIA_START));
}

TEST_F(StartWithinItsEvent, HostMayFinishTheAdaptor) {
    m_Host.m_OnEvent = [this] { EXPECT_EQ(m_Adaptor.Fin(), 1); };
    EXPECT_EQ(Start(), 0x30012);
    EXPECT_EQ(m_Host.Events().size(), 1U);
}

} // namespace
