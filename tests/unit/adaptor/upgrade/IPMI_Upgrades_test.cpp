// Parameter group 0x600: what starts an upgrade, what the host reads meanwhile and afterwards, and who survives whom.
#include "adaptor/upgrade/IPMI_Upgrades.h"

#include "adaptor/upgrade/UpgradeTest.h"

#include <atomic>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Access = IPMI_TEST_ACCESS;

const LOG_LINE g_InProgress = Error("IPMIAdaptor :: Firmware_Update_WriteParams - an upgrade is in progress");

// ---- reading

using FirmwareRead = UPGRADE_TEST;

TEST_F(FirmwareRead, BeforeAnyUpgradeNothingIsToBeFollowed) {
    EXPECT_EQ(Row(), UpgradeRow(0, 0, 2));
}

TEST_F(FirmwareRead, WithoutARowIsNotFound) {
    EXPECT_EQ(m_Adaptor.Firmware_Update_ReadParams(nullptr, nullptr), 12);
}

TEST_F(FirmwareRead, TableHasOneRow) {
    Upgrade();
    CBMITable* l_Table = nullptr;
    EXPECT_EQ(m_Adaptor.GetParamTable(BMI_GROUP_FIRMWARE_UPDATE, l_Table), 1);
    const std::unique_ptr<CBMITable> l_Owner(l_Table);
    EXPECT_THAT(TextsOf(*l_Table), ElementsAre(UpgradeRow(1, 3, 2)));
}

TEST_F(FirmwareRead, ShowsTheLastUpgrade) {
    Upgrade();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 2));
    m_Board.m_ToolResults = {Exited(1)};
    Upgrade({.m_Target = 7, .m_Bay = 9});
    EXPECT_EQ(Row(), UpgradeRow(7, 9, 3));
}

// ---- what starts an upgrade

using FirmwareWrite = UPGRADE_TEST;

TEST_F(FirmwareWrite, StartsTheToolAndSaysSo) {
    EXPECT_EQ(Write(), 1);
    WaitForEnd();
    EXPECT_THAT(m_Board.Commands(), ElementsAre("fwburn -i KCS -M direct --target amc3 /images/amc.img"));
    EXPECT_THAT(m_Output.StopLines(), ElementsAre("IPMIAdaptor::IPMIAdaptor", "Starting Upgrade Thread",
                                                  "Starting Upgrade Thread - started?"));
}

TEST_F(FirmwareWrite, IsReachedThroughTheGroup) {
    CBMIParams l_Row = UPGRADE_REQUEST().Row();
    EXPECT_EQ(m_Adaptor.WriteParams(0x600, nullptr, &l_Row), 1);
    WaitForEnd();
    EXPECT_THAT(m_Board.Commands(), SizeIs(1));
}

TEST_F(FirmwareWrite, TakesBothIntegerTypes) {
    Upgrade({.m_IntegerType = BMI_PARAM_INT});
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 2));
}

TEST_F(FirmwareWrite, WithoutABayUsesBay0) {
    Upgrade({.m_Bay = {}});
    EXPECT_EQ(Row(), UpgradeRow(1, 0, 2));
    EXPECT_THAT(m_Board.Commands(), ElementsAre("fwburn -i KCS -M direct --target amc0 /images/amc.img"));
    EXPECT_EQ(Lines().front(), Error("AMC BAY NOT SPECIFIED IN UPGRADE - defaulting to 0"));
}

struct REFUSED_REQUEST {
    UPGRADE_REQUEST m_Request;
    int m_Result;
    const char* m_Reason; ///< null: not logged
};

TEST_F(FirmwareWrite, RequestThatIsNotCompleteStartsNothing) {
    constexpr const char* NO_STATE = "IPMIAdaptor :: Firmware_Update_WriteParams - no state passed in";
    constexpr const char* NO_TARGET = "IPMIAdaptor :: Firmware_Update_WriteParams - no target passed in";
    constexpr const char* NO_FILE = "IPMIAdaptor :: Firmware_Update_WriteParams - no image file passed in";
    const REFUSED_REQUEST l_Requests[] = {{{.m_State = {}}, 23, NO_STATE},
                                          {{.m_IntegerType = BMI_PARAM_BOOL}, 23, NO_STATE},
                                          {{.m_State = 1}, 0, nullptr},
                                          {{.m_State = 2}, 0, nullptr},
                                          {{.m_State = -1}, 0, nullptr},
                                          {{.m_Target = {}}, 23, NO_TARGET},
                                          {{.m_File = {}}, 23, NO_FILE},
                                          {{.m_File = ""}, 23, NO_FILE},
                                          {{.m_File = std::string("\0x", 2)}, 23, NO_FILE}};
    for (const auto& [l_Request, l_Result, l_Reason] : l_Requests) {
        EXPECT_EQ(Write(l_Request), l_Result);
        const auto l_Lines = Lines();
        if (l_Reason != nullptr) {
            EXPECT_THAT(l_Lines, ElementsAre(Error(l_Reason)));
        } else {
            EXPECT_THAT(l_Lines, IsEmpty());
        }
    }
    EXPECT_THAT(m_Board.Commands(), IsEmpty());
    EXPECT_EQ(Row(), UpgradeRow(0, 0, 2));
    EXPECT_THAT(m_Output.StopLines(), ElementsAre("IPMIAdaptor::IPMIAdaptor"));
}

TEST_F(FirmwareWrite, WithoutValuesStartsNothing) {
    EXPECT_EQ(m_Adaptor.Firmware_Update_WriteParams(nullptr, nullptr), 23);
}

TEST_F(FirmwareWrite, FileThatIsNoTextStartsNothing) {
    CBMIParams l_Row = UPGRADE_REQUEST{.m_File = {}}.Row();
    CBMIParam l_File(BMI_PARAM_INT, BMI_FW_UPDATE_FILE, false);
    l_File.SetInt(1);
    l_Row.Add(l_File);
    EXPECT_EQ(m_Adaptor.Firmware_Update_WriteParams(nullptr, &l_Row), 23);
    EXPECT_THAT(m_Board.Commands(), IsEmpty());
}

TEST_F(FirmwareWrite, ThreadThatIsNotToBeHadIsAFailedUpgrade) {
    m_Board.m_OnStart = [] { return EAGAIN; };
    EXPECT_EQ(Write(), 0);
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 3));
    EXPECT_THAT(m_Host.Events(), SizeIs(1));
    EXPECT_THAT(Lines(), ElementsAre(Error("IPMIAdaptor :: Firmware_Update_WriteParams - starting the thread failed, "
                                           "errno " +
                                           std::to_string(EAGAIN))));
    EXPECT_EQ(Write(), 1);
}

TEST_F(FirmwareWrite, ExceptionBeforeTheThreadRunsIsAFailedUpgradeAndTheNextOneStarts) {
    m_Board.m_OnStart = []() -> int { throw std::runtime_error("no thread"); };
    CBMIParams l_Row = UPGRADE_REQUEST().Row();
    EXPECT_EQ(m_Adaptor.WriteParams(0x600, nullptr, &l_Row), 0);
    EXPECT_THAT(Lines(), ElementsAre(LOG_LINE{3, "IPMI Adaptor", "IPMIAdaptor::WriteParams() - no thread"}));
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 3));
    Upgrade();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 2));
}

// ---- one upgrade at a time

using FirmwareUpgrade = UPGRADE_TEST;

TEST_F(FirmwareUpgrade, IsRequestedUntilTheToolEnds) {
    HELD_TOOL l_Tool(m_Board);
    Write();
    l_Tool.WaitUntilItRuns();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 0));
    l_Tool.LetGo();
    WaitForEnd();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 2));
}

TEST_F(FirmwareUpgrade, SecondOneIsRefusedWhileTheFirstRuns) {
    HELD_TOOL l_Tool(m_Board);
    Write();
    l_Tool.WaitUntilItRuns();
    m_Log.Clear();
    EXPECT_EQ(Write({.m_Target = 2, .m_Bay = 9, .m_File = "other"}), 0);
    EXPECT_THAT(Lines(), ElementsAre(g_InProgress));
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 0));
    l_Tool.LetGo();
    WaitForEnd();
    EXPECT_THAT(m_Board.Commands(), SizeIs(1));
    EXPECT_THAT(m_Host.Events(), SizeIs(1));
}

TEST_F(FirmwareUpgrade, NextOneStartsWhenTheLastHasEnded) {
    for (int l_Bay = 1; l_Bay <= 9; ++l_Bay)
        Upgrade({.m_Bay = l_Bay});
    EXPECT_THAT(m_Board.Commands(), SizeIs(9));
    EXPECT_THAT(m_Host.Events(), SizeIs(9));
}

TEST_F(FirmwareUpgrade, OfSeveralHostThreadsOneStartsIt) {
    HELD_TOOL l_Tool(m_Board);
    std::atomic<int> l_Started = 0;
    {
        std::vector<std::jthread> l_Hosts;
        for (int i = 0; i < 8; ++i)
            l_Hosts.emplace_back([&] {
                l_Started += Write();
                CBMIParams l_Row;
                m_Adaptor.Firmware_Update_ReadParams(nullptr, &l_Row);
            });
    }
    EXPECT_EQ(l_Started, 1);
    l_Tool.LetGo();
    WaitForEnd();
    EXPECT_THAT(m_Board.Commands(), SizeIs(1));
}

// The first host thread is still in its start when its upgrade has ended and the second one's begins.
TEST_F(FirmwareUpgrade, NextOneOfAnotherThreadLeavesTheStartOfTheLastAlone) {
    for (int i = 0; i < 100; ++i) {
        std::latch l_Ended(1);
        m_Host.m_OnEvent = [&] { l_Ended.count_down(); };
        m_Board.m_OnStarted = [&] {
            l_Ended.wait();
            m_Host.m_OnEvent = nullptr;
            std::thread([this] {
                while (Write({.m_Bay = 4}) == 0) // refused until the event has come back
                    std::this_thread::yield();
            }).join();
        };
        EXPECT_EQ(Write(), 1);
        WaitForEnd();
        EXPECT_EQ(Row(), UpgradeRow(1, 4, 2));
    }
    EXPECT_THAT(m_Board.Commands(), SizeIs(200));
}

TEST_F(FirmwareUpgrade, ThreadsThatUpgradeOneAfterTheOtherAllGetTheirTurn) {
    std::vector<std::jthread> l_Hosts;
    for (int i = 0; i < 4; ++i) {
        l_Hosts.emplace_back([this] {
            for (int l_Done = 0; l_Done < 50;)
                l_Done += Write();
        });
    }
    l_Hosts.clear();
    WaitForEnd();
    EXPECT_THAT(m_Board.Commands(), SizeIs(200));
    EXPECT_THAT(m_Host.Events(), SizeIs(200));
}

// ---- the adaptor ends

using FirmwareLeft = UPGRADE_TEST;

TEST_F(FirmwareLeft, WithoutAnUpgradeNothingHappens) {
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_EQ(Row(), UpgradeRow(0, 0, 2));
}

TEST_F(FirmwareLeft, EndedUpgradeCanStillBeRead) {
    m_Board.m_ToolResults = {Exited(1)};
    Upgrade();
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 3));
}

TEST_F(FirmwareLeft, AnEventThatIsBeingTakenIsNotWaitedFor) {
    std::latch l_Taken(1);
    std::latch l_Fin(1);
    m_Host.m_OnEvent = [&] {
        l_Taken.count_down();
        l_Fin.wait();
    };
    Write();
    l_Taken.wait();
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    l_Fin.count_down();
    WaitForEnd();
    EXPECT_THAT(m_Host.Events(), SizeIs(1));
}

TEST_F(FirmwareLeft, EventGoesToTheManagerOfALaterInit) {
    g_bCompleteIPMISimulation = true;
    HELD_TOOL l_Tool(m_Board);
    Write();
    l_Tool.WaitUntilItRuns();
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    // Of Init's steps the one that counts: the manager is taken before it is asked for anything.
    class STOPPED_INIT final : public FAKE_MANAGER {
    public:
        int GetMode() override { throw std::runtime_error("enough"); }
    } l_Manager;
    EXPECT_EQ(m_Adaptor.Init(&l_Manager), 0);
    l_Tool.LetGo();
    WaitForEnd();
    EXPECT_THAT(m_Host.Events(), IsEmpty());
    EXPECT_THAT(l_Manager.Events(), SizeIs(1));
}

TEST_F(FirmwareLeft, ItsThreadMayBeStartedWhileItIsLeft) {
    for (int i = 0; i < 100; ++i) {
        std::jthread l_Fin([this] { EXPECT_EQ(m_Adaptor.Fin(), 1); });
        std::jthread l_Write([this] { EXPECT_EQ(Write(), 1); });
        l_Fin.join();
        l_Write.join();
        WaitForEnd();
        while (Row() != UpgradeRow(1, 3, 2))
            std::this_thread::yield();
    }
}

TEST_F(FirmwareLeft, RunningUpgradeGoesOnAndTheManagerHearsNoMoreOfIt) {
    HELD_TOOL l_Tool(m_Board);
    Write();
    l_Tool.WaitUntilItRuns();
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 0));
    EXPECT_EQ(Write(), 0);
    l_Tool.LetGo();
    WaitForEnd();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 2));
    EXPECT_THAT(m_Host.Events(), IsEmpty());
}

TEST_F(FirmwareLeft, AHostMayDoItWithinTheEvent) {
    m_Host.m_OnEvent = [this] { EXPECT_EQ(m_Adaptor.Fin(), 1); };
    Upgrade();
    EXPECT_EQ(Row(), UpgradeRow(1, 3, 2));
}

TEST_F(FirmwareLeft, AdaptorMayBeFreedWhileAnUpgradeRuns) {
    auto* const l_Adaptor = new IPMIAdaptor(m_Board); // as CreateAdaptor does
    Access::Logger(*l_Adaptor) = &m_Log;
    Access::Manager(*l_Adaptor) = &m_Host;
    HELD_TOOL l_Tool(m_Board);
    CBMIParams l_Row = UPGRADE_REQUEST().Row();
    ASSERT_EQ(l_Adaptor->Firmware_Update_WriteParams(nullptr, &l_Row), 1);
    l_Tool.WaitUntilItRuns();
    EXPECT_EQ(l_Adaptor->Fin(), 1);
    // What the freed adaptor leaves behind is the test's to delete.
    const auto l_Thread = std::move(Access::UpgradeThread(*l_Adaptor));
    const auto l_Status = std::move(Access::UpgradeStatus(*l_Adaptor));
    DestroyAdaptor(static_cast<CBaseAdaptor*>(l_Adaptor));
    l_Tool.LetGo();
    l_Thread->Join();
    EXPECT_TRUE(m_Log.Has("UPGRADETHEAD :: run - sending event"));
    EXPECT_THAT(m_Host.Events(), IsEmpty());
}

TEST_F(FirmwareLeft, DestructionOfTheAdaptorWaitsForTheUpgrade) {
    HELD_TOOL l_Tool(m_Board);
    std::thread l_LetGo;
    {
        IPMIAdaptor l_Adaptor(m_Board);
        Access::Manager(l_Adaptor) = &m_Host;
        CBMIParams l_Row = UPGRADE_REQUEST().Row();
        ASSERT_EQ(l_Adaptor.Firmware_Update_WriteParams(nullptr, &l_Row), 1);
        l_Tool.WaitUntilItRuns();
        l_LetGo = std::thread([&] { l_Tool.LetGo(); });
    }
    EXPECT_THAT(m_Host.Events(), SizeIs(1));
    l_LetGo.join();
}

} // namespace
