// Fin, Start and Stop, and what a manager that throws does to the lifecycle.
#include "adaptor/LifecycleTest.h"

#include <stdexcept>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Access = IPMI_TEST_ACCESS;
using AdaptorFin = LIFECYCLE_TEST;

// ---- Fin

TEST_F(AdaptorFin, UnregistersInTheOrderOfRegistration) {
    WithoutOpenIPMI();
    Init(2);
    m_Host.m_Calls.clear();
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_EQ(m_Host.m_Calls, RegistrationCalls("Unregister"));
    EXPECT_THAT(BoardDriver().m_Closed, IsEmpty());
}

TEST_F(AdaptorFin, Gives1WhateverTheManagerAnswersAndHoweverOften) {
    WithoutOpenIPMI();
    m_Host.m_UnregisterResult = 0;
    Init(2);
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_EQ(m_Adaptor.Fin(), 1);
}

TEST_F(AdaptorFin, SecondTimeRemovesTheGroupsAgainAndClosesNothing) {
    WithoutOpenIPMI();
    GiveDSPs();
    Init(1);
    m_Adaptor.Fin();
    ASSERT_EQ(BoardDriver().m_Closed.size(), 1U);
    m_Host.m_Calls.clear();
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_EQ(m_Host.m_Calls, RegistrationCalls("Unregister"));
    EXPECT_EQ(BoardDriver().m_Closed.size(), 1U);
}

TEST_F(AdaptorFin, ForgetsNeitherTheHostNorTheDsps) {
    WithoutOpenIPMI();
    GiveDSPs();
    Init(1);
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_EQ(Access::Manager(m_Adaptor), &m_Host);
    EXPECT_EQ(Access::Storage(m_Adaptor), &m_Storage);
    EXPECT_EQ(Access::Logger(m_Adaptor), &m_Log);
    CBMITable* l_DSPs = nullptr;
    EXPECT_EQ(m_Adaptor.GetParamTable(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, l_DSPs), 1);
    const std::unique_ptr<CBMITable> l_Owner(l_DSPs);
    EXPECT_EQ(l_DSPs->GetSize(), 4);
}

TEST_F(AdaptorFin, RunStatusWrittenAfterwardsIsTold) {
    WithoutOpenIPMI();
    Init(2);
    m_Adaptor.Fin();
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    CBMIParams l_Values = KeyOf(BMI_HW_AMC_RUN_STATUS, 5);
    EXPECT_EQ(m_Adaptor.WriteParams(0x30200, &l_Keys, &l_Values), 1);
    EXPECT_EQ(m_Host.Events().size(), 1U);
}

TEST_F(AdaptorFin, BeforeInitGives1) {
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_THAT(BoardDriver().m_Closed, IsEmpty());
}

TEST_F(AdaptorFin, LeavesStateAndModelAlone) {
    WithoutOpenIPMI();
    Init(2);
    m_Adaptor.Fin();
    EXPECT_EQ(Access::State(m_Adaptor), 2);
    EXPECT_EQ(g_EntityMap.size(), 3U);
}

// ---- Start and Stop

class AdaptorStartStop : public LIFECYCLE_TEST {
protected:
    AdaptorStartStop() {
        Access::InstallDir(m_Adaptor) = "/k";
        WithoutOpenIPMI();
    }

    static constexpr const char* MEDIA_STOP = "/k/bin/mediaStop";
};

TEST_F(AdaptorStartStop, StartWithoutADspGives0AndRunsNothing) {
    EXPECT_EQ(m_Adaptor.Start(nullptr), 0);
    Init(2);
    EXPECT_EQ(m_Adaptor.Start(nullptr), 0);
    Init(1);
    EXPECT_EQ(m_Adaptor.Start(nullptr), 0);
    EXPECT_THAT(m_Board.Commands(), IsEmpty());
}

TEST_F(AdaptorStartStop, StopBeforeAnythingStopsTheMediaServer) {
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_THAT(m_Board.Commands(), ElementsAre(MEDIA_STOP));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(AdaptorStartStop, StopSurvivesAMonitorThatNeverRan) {
    Init(1);
    ASSERT_NE(Access::Monitor(m_Adaptor), nullptr);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_THAT(m_Board.Commands(), ElementsAre(MEDIA_STOP, MEDIA_STOP));
}

TEST_F(AdaptorStartStop, StopWithoutAMonitorStopsTheMediaServer) {
    Init(2);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_THAT(m_Board.Commands(), ElementsAre(MEDIA_STOP));
}

TEST_F(AdaptorStartStop, MediaServerThatCannotBeStoppedIsReported) {
    m_Board.m_ToolResults = {Exited(3)};
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 0x30005);
    EXPECT_THAT(Lines(), ElementsAre(LOG_LINE{3, "Media Adaptor", "Fail to stop MEDIA SERVER "}));
}

TEST_F(AdaptorStartStop, CallsInAnyOrderAreSurvived) {
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_EQ(m_Adaptor.Start(nullptr), 0);
    EXPECT_EQ(Init(2), 1);
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_EQ(m_Adaptor.Start(nullptr), 0);
    EXPECT_EQ(m_Adaptor.Fin(), 1);
}

// ---- exceptions stay inside

using AdaptorLifecycle = LIFECYCLE_TEST;

/// Its removal of a group or of the event class throws, after it was noted.
class THROWING_LIFECYCLE_MANAGER final : public LIFECYCLE_MANAGER {
public:
    int RegisterGroup(unsigned a_Group, CBaseAdaptor* a_Adaptor) override {
        if (m_bRegisters) return LIFECYCLE_MANAGER::RegisterGroup(a_Group, a_Adaptor);
        throw std::runtime_error("no room");
    }
    int UnregisterGroup(unsigned a_Group) override {
        LIFECYCLE_MANAGER::UnregisterGroup(a_Group);
        if (a_Group == m_ThrowsAt || m_ThrowsAt == 0) throw std::runtime_error("no group");
        return 1;
    }
    int UnregisterEventClass(unsigned a_Class) override {
        LIFECYCLE_MANAGER::UnregisterEventClass(a_Class);
        if (m_ThrowsAt == a_Class || m_ThrowsAt == 0) throw std::runtime_error("no class");
        return 1;
    }

    bool m_bRegisters = true;
    unsigned m_ThrowsAt = 0; ///< 0: everywhere
};

TEST_F(AdaptorLifecycle, ExceptionOfTheManagerIsLoggedAndAnsweredWith0) {
    THROWING_LIFECYCLE_MANAGER l_Host;
    l_Host.m_bRegisters = false;
    EXPECT_EQ(m_Adaptor.Init(&l_Host), 0);
    EXPECT_THAT(Lines(), ElementsAre(LOG_LINE{3, "IPMI Adaptor", "IPMIAdaptor::Init() - no room"}));
}

TEST_F(AdaptorLifecycle, FinDoesAllItsStepsAndGives1WhateverTheManagerThrows) {
    WithoutOpenIPMI();
    GiveDSPs();
    BM_LOG_LEVEL = 0;
    for (const unsigned l_ThrowsAt : {0x30000U, 0x30e10U, 5U, 0U}) {
        THROWING_LIFECYCLE_MANAGER l_Host;
        l_Host.m_Mode = 1;
        l_Host.m_Storage = &m_Storage;
        l_Host.m_ThrowsAt = l_ThrowsAt;
        BoardDriver().m_Closed.clear();
        m_Adaptor.Init(&l_Host);
        m_Retired.emplace_back(l_Host.m_MonitorAtRegistration);
        m_Retired.emplace_back(Access::Monitor(m_Adaptor).exchange(nullptr));
        l_Host.m_Calls.clear();
        Lines();
        EXPECT_EQ(m_Adaptor.Fin(), 1);
        EXPECT_EQ(l_Host.m_Calls, RegistrationCalls("Unregister")) << l_ThrowsAt;
        EXPECT_EQ(BoardDriver().m_Closed.size(), 1U) << l_ThrowsAt;
        EXPECT_EQ(Lines().size(), l_ThrowsAt == 0 ? 14U : 1U) << l_ThrowsAt;
    }
    Access::Manager(m_Adaptor) = &m_Host;
}

} // namespace
