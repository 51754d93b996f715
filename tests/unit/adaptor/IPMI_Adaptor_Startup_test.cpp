// Fin, Start and Stop, and what a manager that throws does to the lifecycle.
#include "adaptor/LifecycleTest.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
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

TEST_F(AdaptorFin, SecondTimeAsksNobody) {
    WithoutOpenIPMI();
    GiveDSPs();
    Init(1);
    m_Adaptor.Fin();
    ASSERT_EQ(BoardDriver().m_Closed.size(), 1U);
    m_Host.m_Calls.clear();
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_THAT(m_Host.m_Calls, IsEmpty());
    EXPECT_EQ(BoardDriver().m_Closed.size(), 1U);
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

/// An install directory whose media scripts leave a mark and exit as told.
class AdaptorStartStop : public LIFECYCLE_TEST {
protected:
    AdaptorStartStop() {
        std::string l_Name = testing::TempDir() + "adaptorXXXXXX";
        m_Directory = mkdtemp(l_Name.data());
        std::filesystem::create_directory(m_Directory / "bin");
        Access::InstallDir(m_Adaptor) = m_Directory;
        PutScript("mediaStart", 0);
        PutScript("mediaStop", 0);
        WithoutOpenIPMI();
    }

    ~AdaptorStartStop() override { std::filesystem::remove_all(m_Directory); }

    void PutScript(const std::string& a_Name, int a_Status) {
        const auto l_Path = m_Directory / "bin" / a_Name;
        std::ofstream(l_Path) << "#!/bin/sh\necho " << a_Name << " >>" << (m_Directory / "runs") << "\nexit "
                              << a_Status << "\n";
        std::filesystem::permissions(l_Path, std::filesystem::perms::owner_all);
    }

    TEXTS Runs() const {
        TEXTS l_Runs;
        std::ifstream l_File(m_Directory / "runs");
        for (std::string l_Line; std::getline(l_File, l_Line);)
            l_Runs.push_back(l_Line);
        return l_Runs;
    }

    std::filesystem::path m_Directory;
};

TEST_F(AdaptorStartStop, StartWithoutADspGives0AndRunsNothing) {
    EXPECT_EQ(m_Adaptor.Start(nullptr), 0);
    Init(2);
    EXPECT_EQ(m_Adaptor.Start(nullptr), 0);
    Init(1);
    EXPECT_EQ(m_Adaptor.Start(nullptr), 0);
    EXPECT_THAT(Runs(), IsEmpty());
}

TEST_F(AdaptorStartStop, StopBeforeAnythingStopsTheMediaServer) {
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_THAT(Runs(), ElementsAre("mediaStop"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(AdaptorStartStop, StopSurvivesAMonitorThatNeverRan) {
    Init(1);
    ASSERT_NE(Access::Monitor(m_Adaptor), nullptr);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_THAT(Runs(), ElementsAre("mediaStop", "mediaStop"));
}

TEST_F(AdaptorStartStop, StopWithoutAMonitorStopsTheMediaServer) {
    Init(2);
    EXPECT_EQ(m_Adaptor.Stop(nullptr), 1);
    EXPECT_THAT(Runs(), ElementsAre("mediaStop"));
}

TEST_F(AdaptorStartStop, MediaServerThatCannotBeStoppedIsReported) {
    PutScript("mediaStop", 3);
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

class THROWING_LIFECYCLE_MANAGER final : public LIFECYCLE_MANAGER {
public:
    int RegisterGroup(unsigned, CBaseAdaptor*) override { throw std::runtime_error("no room"); }
    int UnregisterGroup(unsigned) override { throw std::runtime_error("no group"); }
};

TEST_F(AdaptorLifecycle, ExceptionOfTheManagerIsLoggedAndAnsweredWith0) {
    THROWING_LIFECYCLE_MANAGER l_Host;
    EXPECT_EQ(m_Adaptor.Init(&l_Host), 0);
    EXPECT_EQ(m_Adaptor.Fin(), 0);
    EXPECT_THAT(Lines(), ElementsAre(LOG_LINE{3, "IPMI Adaptor", "IPMIAdaptor::Init() - no room"},
                                     LOG_LINE{3, "IPMI Adaptor", "IPMIAdaptor::Fin() - no group"}));
}

} // namespace
