// Start and Stop beyond the DSPs: media server and health monitor, and what happens when they meet on two threads.
#include "adaptor/startup/StartTest.h"

#include "adaptor/IPMI_MonitorThread.h"
#include "adaptor/monitor/MonitorTest.h"
#include "adaptor/upgrade/UpgradeTest.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <latch>
#include <string>
#include <thread>
#include <utility>

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
        m_Board.m_Environment["TARSK_KORVEL_DIR"] = "/k";
        Access::Monitor(m_Adaptor) = new IPMI_MonitorThread(m_Board); // the adaptor's
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
        m_Board.WaitForBegun(1);
        EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
        TEXTS l_Commands = m_Board.Commands();
        std::erase_if(l_Commands, [](const std::string& a_Command) { return !a_Command.starts_with(CHECK); });
        return l_Commands;
    }

    static constexpr const char* CHECK = "/k/bin/mavk_diag -r";
};

TEST_F(StartedMonitor, ComesLastAtStartAndEndsFirstAtStop) {
    bool l_bStoppedBefore = false;
    m_Board.m_OnTool = [&](const std::string& a_Command) {
        if (a_Command == MEDIA_STOP) l_bStoppedBefore = m_Log.Has("Monitor Thread stopped");
    };
    EXPECT_EQ(Start(), 1);
    m_Board.WaitForBegun(1);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_THAT(m_Board.Commands(),
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
    EXPECT_THAT(m_Board.Commands(), Contains("/k/bin/mavk_init -v -i"));
}

TEST_F(StartedMonitor, IsStartedAnewBySecondStart) {
    EXPECT_EQ(Start(), 1);
    m_Board.WaitForBegun(1);
    EXPECT_EQ(Start(), 1);
    m_Board.WaitForBegun(2);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_EQ(m_Log.Count("Monitor Thread started"), 2U);
    EXPECT_EQ(m_Log.Count("Monitor Thread stopped"), 2U);
}

TEST_F(StartedMonitor, IsNotStartedWithoutTheMediaServer) {
    m_Board.m_ToolResults = {0, 0, 0, Exited(1)};
    EXPECT_EQ(Start(), 0x30004);
    EXPECT_THAT(Lines(), Contains(MediaError("Fail to start MEDIA SERVER ")));
    EXPECT_THAT(FakeQueue().m_Calls, IsEmpty());
}

TEST_F(StartedMonitor, IsNotStartedWithoutTheDsps) {
    m_Board.m_ToolResults = {0, 0, Exited(7)};
    EXPECT_EQ(Start(), 0x30012);
    EXPECT_THAT(m_Board.Commands(), Not(Contains(MEDIA_START)));
    EXPECT_THAT(FakeQueue().m_Calls, IsEmpty());
}

TEST_F(StartedMonitor, ThatCannotStartIsNotStartsFailure) {
    FakeQueue().m_OpenResult = -1;
    EXPECT_EQ(Start(), 1);
    EXPECT_EQ(Monitor().GetLastErr(), 0x30019);
    FakeQueue().m_OpenResult = 0;
    m_Board.m_OnStart = [] { return EAGAIN; };
    EXPECT_EQ(Start(), 1);
    EXPECT_EQ(Monitor().GetLastErr(), 0x30016);
}

TEST_F(StartedMonitor, IsStoppedThoughTheMediaServerIsNot) {
    EXPECT_EQ(Start(), 1);
    m_Board.WaitForBegun(1);
    m_Board.m_ToolResults = {Exited(3)};
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 0x30005);
    EXPECT_TRUE(m_Log.Has("Monitor Thread stopped"));
    EXPECT_THAT(Lines(), Contains(MediaError("Fail to stop MEDIA SERVER ")));
}

// ---- two threads, and calls out of events and lines

void OnAnotherThread(const std::function<void()>& a_Call) {
    std::thread(a_Call).join();
}

class StartMeets : public START_TEST {
protected:
    /// Start on one thread; `a_Other` here, while its first tool hangs.
    void WhileStartHangs(const std::function<void()>& a_Other) {
        std::latch l_Runs(1);
        std::latch l_GoOn(1);
        std::atomic<int> l_Tools = 0;
        m_Board.m_OnTool = [&](const std::string&) {
            if (l_Tools++ != 0) return;
            l_Runs.count_down();
            l_GoOn.wait();
        };
        std::thread l_Start([this] { EXPECT_EQ(Start(), 1); });
        l_Runs.wait();
        a_Other();
        l_GoOn.count_down();
        l_Start.join();
    }
};

TEST_F(StartMeets, AnotherStartThatDoesNotWaitForIt) {
    WhileStartHangs([this] { EXPECT_EQ(Start(), 1); });
    EXPECT_THAT(m_Board.Commands(), ElementsAre(INIT, INIT, Boot(), Diag(), MEDIA_START, Boot(), Diag(), MEDIA_START));
    EXPECT_THAT(Statuses(), ElementsAre(3, 3, 4, 4));
}

TEST_F(StartMeets, AStopThatDoesNotWaitForIt) {
    WhileStartHangs([this] { EXPECT_EQ(m_Adaptor.Stop(nullptr), 1); });
    EXPECT_THAT(m_Board.Commands(), ElementsAre(INIT, MEDIA_STOP, Boot(), Diag(), MEDIA_START));
}

TEST_F(StartMeets, AFinThatDoesNotWaitForIt) {
    WhileStartHangs([this] { EXPECT_EQ(m_Adaptor.Fin(), 1); });
    EXPECT_THAT(m_Board.Commands(), ElementsAre(INIT, Boot(), Diag(), MEDIA_START));
    EXPECT_THAT(Statuses(), ElementsAre(3, 4));
}

TEST_F(StartMeets, AStopThatHangsAndAFinBesidesIt) {
    std::latch l_Runs(1);
    std::latch l_GoOn(1);
    m_Board.m_OnTool = [&](const std::string& a_Command) {
        if (a_Command != MEDIA_STOP) return;
        l_Runs.count_down();
        l_GoOn.wait();
    };
    std::thread l_Stop([this] { EXPECT_EQ(m_Adaptor.Stop(nullptr), 1); });
    l_Runs.wait();
    EXPECT_EQ(Start(), 1);
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    l_GoOn.count_down();
    l_Stop.join();
}

/// A host that acts when it is told of a run status or of an upgrade.
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
    EXPECT_THAT(m_Board.Commands(), ElementsAre(MEDIA_STOP, INIT, Boot(), Diag(), MEDIA_STOP, MEDIA_START));
}

TEST_F(StartWithinItsEvent, HostMayFinishTheAdaptor) {
    m_Host.m_OnEvent = [this] { EXPECT_EQ(m_Adaptor.Fin(), 1); };
    EXPECT_EQ(Start(), 1);
    EXPECT_EQ(m_Host.Events().size(), 2U);
}

TEST_F(StartWithinItsEvent, HostMayWaitForAnotherThreadThatStops) {
    m_Host.m_OnEvent = [this] { OnAnotherThread([this] { EXPECT_EQ(m_Adaptor.Stop(nullptr), 1); }); };
    EXPECT_EQ(Start(), 1);
    EXPECT_THAT(m_Board.Commands(), ElementsAre(MEDIA_STOP, INIT, Boot(), Diag(), MEDIA_STOP, MEDIA_START));
}

TEST_F(StartWithinItsEvent, HostMayWaitForAnotherThreadThatFinishesTheAdaptor) {
    m_Host.m_OnEvent = [this] { OnAnotherThread([this] { EXPECT_EQ(m_Adaptor.Fin(), 1); }); };
    EXPECT_EQ(Start(), 1);
    EXPECT_EQ(m_Host.Events().size(), 2U);
}

// Each handler calls what the other one's operation would have to be waited for.
TEST_F(StartWithinItsEvent, HandlersOfARunStatusAndOfAnUpgradeMayCrossEachOther) {
    std::latch l_Both(2);
    std::atomic<int> l_Told = 0;
    const auto l_Starter = std::this_thread::get_id();
    m_Host.m_OnEvent = [&] {
        if (l_Told++ >= 2) return;
        l_Both.arrive_and_wait();
        if (std::this_thread::get_id() != l_Starter) {
            EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
            EXPECT_EQ(m_Adaptor.Fin(), 1);
        } else {
            EXPECT_EQ(m_Adaptor.Fin(), 1);
            EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
        }
    };
    CBMIParams l_Row = UPGRADE_REQUEST().Row();
    EXPECT_EQ(m_Adaptor.WriteParams(BMI_GROUP_FIRMWARE_UPDATE, nullptr, &l_Row), 1);
    EXPECT_EQ(Start(), 1);
    Access::UpgradeThread(m_Adaptor)->Join();
    EXPECT_EQ(m_Host.Events().size(), 3U);
}

// ---- out of a line of the monitor

TEST_F(StartedMonitor, ItsLineMayWaitForAnotherThreadThatStopsTheBlade) {
    m_Board.m_ToolResults = {0, 0, 0, 0, Exited(16), 0};
    ACTING_LOG l_Log(MonitorError("AMC failed"),
                     [this] { OnAnotherThread([this] { EXPECT_EQ(m_Adaptor.Stop(nullptr), 1); }); });
    EXPECT_EQ(Start(), 1);
    while (!l_Log.Has("Monitor Thread stopped"))
        std::this_thread::yield();
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
}

TEST_F(StartedMonitor, ItsLineMayRestartTheBlade) {
    m_Board.m_ToolResults = {0, 0, 0, 0, Exited(16), 0};
    ACTING_LOG l_Log(MonitorError("AMC failed"), [this] {
        EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
        EXPECT_EQ(Start(), 1);
    });
    EXPECT_EQ(Start(), 1);
    m_Board.WaitForBegun(1);
    EXPECT_EQ(Monitor().GetLastErr(), 1);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_EQ(l_Log.Count("Monitor Thread started"), 2U);
    EXPECT_EQ(l_Log.Count("Monitor Thread stopped"), 2U);
}

} // namespace
