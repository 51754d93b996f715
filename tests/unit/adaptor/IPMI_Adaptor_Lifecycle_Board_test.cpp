// Init in the modes that touch the board: what it sets up, in which order, and what a second one replaces.
#include "adaptor/LifecycleTest.h"

#include "adaptor/switch/IPMI_SwitchPort.h"
#include "fake/FakeQueue.h"

#include <array>
#include <memory>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

using Access = IPMI_TEST_ACCESS;
using InitOnTheBoard = LIFECYCLE_OVER_IPMI;

TEST_F(InitOnTheBoard, BoardOfTheControllerIsServed) {
    EXPECT_EQ(Init(1), 0); // it has no DSPs
    EXPECT_FALSE(g_bCompleteIPMISimulation);
    CBMIParams* l_Row = nullptr;
    EXPECT_EQ(m_Adaptor.ReadParams(BMI_GROUP_HARDWARE_BOARD, nullptr, l_Row), 1);
    const std::unique_ptr<CBMIParams> l_Owner(l_Row);
    ASSERT_NE(l_Row, nullptr);
    EXPECT_THAT(TextsOf(*l_Row), ElementsAre("0x30001 s:Board", "0x30002 i:3", "0x30003 s:Maker", "0x30004 s:S2",
                                             "0x30005 s:V2", "0x30007 s:P1", "0x30006 s:2.17"));
}

TEST_F(InitOnTheBoard, ModesThatTouchTheBoardGetAMonitorTwice) {
    GiveDSPs();
    for (const int l_Mode : {1, 3}) {
        EXPECT_EQ(Init(l_Mode), 1) << l_Mode;
        EXPECT_NE(m_Host.m_MonitorAtRegistration, nullptr);
        EXPECT_NE(Access::Monitor(m_Adaptor), nullptr);
        EXPECT_NE(Access::Monitor(m_Adaptor), m_Host.m_MonitorAtRegistration);
        EXPECT_EQ(m_Host.m_MonitorAtRegistration->GetLastErr(), 1); // the first one is kept alive
    }
}

TEST_F(InitOnTheBoard, PciMemoryIsOpenedWhateverComesOfItAndClosedByFin) {
    for (const int l_OpenResult : {0, 6}) {
        BoardDriver().m_Opened.clear();
        BoardDriver().m_Closed.clear();
        BoardDriver().m_OpenResult = l_OpenResult;
        EXPECT_EQ(Init(1), 0); // without DSPs
        EXPECT_THAT(Lines(), Contains(BmiTrace("Entering CSwitchIfPortMgr Init")));
        ASSERT_EQ(BoardDriver().m_Opened.size(), 1U);
        EXPECT_EQ(BoardDriver().m_Opened[0].m_Content, (std::array<unsigned char, 8>{}));
        EXPECT_EQ(BoardDriver().m_Opened[0].m_First, 1);
        EXPECT_EQ(BoardDriver().m_Opened[0].m_Second, 0);
        EXPECT_EQ(m_Adaptor.Fin(), 1);
        EXPECT_THAT(BoardDriver().m_Closed, ElementsAre(BoardDriver().m_Opened[0].m_Handle));
        EXPECT_EQ(Access::PCIHandle(m_Adaptor), nullptr);
        EXPECT_EQ(m_Adaptor.Fin(), 1);
        EXPECT_EQ(BoardDriver().m_Closed.size(), 1U);
    }
}

TEST_F(InitOnTheBoard, WithDspsPciMemoryIsOpenedTwiceAndClosedOnce) {
    GiveDSPs();
    EXPECT_EQ(Init(1), 1);
    ASSERT_EQ(BoardDriver().m_Opened.size(), 2U);
    EXPECT_NE(BoardDriver().m_Opened[0].m_Handle, BoardDriver().m_Opened[1].m_Handle);
    m_Adaptor.Fin();
    EXPECT_THAT(BoardDriver().m_Closed, ElementsAre(BoardDriver().m_Opened[1].m_Handle));
}

TEST_F(InitOnTheBoard, SetsTheBoardUpInOrder) {
    GiveDSPs();
    m_Board.m_OpenErrors = {};
    SetEnvironment("MAVK_RTM", "2184");
    EXPECT_EQ(Init(1), 1);
    TEXTS l_Steps;
    for (const std::string& l_Text : m_Log.Texts()) {
        if (l_Text == "Startup Mutex fired" || l_Text == "IPMIAdaptor :: WriteProcFile - Using simulated data" ||
            l_Text == "IPMIAdaptor :: AMC_DSP_ReadTable -- Returning 4 found " ||
            l_Text == "IPMIAdaptor :: RTM_FRU_ReadParams - returning Simulated OK " ||
            l_Text == "Entering CSwitchIfPortMgr Init" || l_Text == "Entering mInitSwitchInfo()")
            l_Steps.push_back(l_Text);
    }
    EXPECT_THAT(l_Steps, ElementsAre("Startup Mutex fired", "IPMIAdaptor :: WriteProcFile - Using simulated data",
                                     "IPMIAdaptor :: AMC_DSP_ReadTable -- Returning 4 found ",
                                     "IPMIAdaptor :: RTM_FRU_ReadParams - returning Simulated OK ",
                                     "Entering CSwitchIfPortMgr Init", "Entering mInitSwitchInfo()"));
    EXPECT_EQ(m_Board.Records().size(), 7U);
    EXPECT_EQ(m_Board.Remap(), 0);
    EXPECT_EQ(Access::DspMacMap(m_Adaptor).size(), 4U);
    EXPECT_EQ(Access::RTM(m_Adaptor).m_NumFramers, 8);
    EXPECT_EQ(Access::SwitchPortMap(m_Adaptor).size(), 4U);
    EXPECT_THAT(Lines(), Not(Contains(Error("IPMIAdaptor :: RTM_FRU_ReadTable -- In bad state 1"))));
}

TEST_F(InitOnTheBoard, GivesTheResultOfTheAddressTableWhenThatFailsAndGoesNoFurther) {
    GiveDSPs();
    m_Storage.m_Refusals = {{"RetrieveTable", 21}, {"CreateRow", 21}};
    EXPECT_EQ(Init(1), 21);
    EXPECT_EQ(Access::State(m_Adaptor), 2);
    EXPECT_THAT(BoardDriver().m_Opened, IsEmpty());
    EXPECT_THAT(Lines(), Not(Contains(BmiTrace("Entering CSwitchIfPortMgr Init"))));
    m_Host.m_Storage = nullptr;
    EXPECT_EQ(Init(1), 0);
}

TEST_F(InitOnTheBoard, Gives0WhenTheBoardDriverCannotBeOpened) {
    GiveDSPs();
    BoardDriver().m_OpenResult = 5;
    EXPECT_EQ(Init(3), 0);
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), IsEmpty());
}

TEST_F(InitOnTheBoard, GoesOnWithoutTheDriverFileTheKernelParameterAndTheRtm) {
    GiveDSPs();
    m_Board.m_bNoParameter = true;
    SetEnvironment("MAVK_RTM", "1");
    EXPECT_EQ(Init(1), 1);
    EXPECT_THAT(m_Board.Records(), IsEmpty());
    EXPECT_EQ(Access::RTM(m_Adaptor).m_Present, 0);
}

TEST_F(InitOnTheBoard, ASecondOneFindsWhatTheFirstOneStored) {
    GiveDSPs();
    EXPECT_EQ(Init(1), 1);
    EXPECT_EQ(Access::SwitchPortMap(m_Adaptor).at(2)->SetSwitch(1), 1);
    m_Adaptor.Fin();
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), IsEmpty());
    BoardDriver().m_Enabled = {};
    EXPECT_EQ(Init(1), 1);
    EXPECT_EQ(BoardDriver().m_Enabled[4], 1);
    EXPECT_EQ(Init(1), 1); // without a Fin between them
    EXPECT_EQ(Access::SwitchPortMap(m_Adaptor).size(), 4U);
}

TEST_F(InitOnTheBoard, ASecondOneReplacesDspsAndPortsByWhatItFinds) {
    GiveDSPs();
    Init(1);
    m_Adaptor.Fin();
    EXPECT_THAT(Access::DspMacMap(m_Adaptor), testing::SizeIs(4)); // only the ports go with it
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), IsEmpty());
    Init(1);
    SetEnvironment("MAVK_AMC", "x312");
    Init(3);
    EXPECT_THAT(Access::DspMacMap(m_Adaptor), testing::SizeIs(2));
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), testing::SizeIs(4));
    Init(2);
    EXPECT_THAT(Access::DspMacMap(m_Adaptor), IsEmpty());
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), IsEmpty());
}

TEST_F(InitOnTheBoard, KeepsTheMonitorAndClosesTheOpenHandleOfAnEarlierOne) {
    int l_Destroyed = 0;
    Init(1);
    COUNTED_MONITOR l_Monitor(l_Destroyed);
    delete Access::Monitor(m_Adaptor).exchange(&l_Monitor);
    void* const l_Handle = Access::PCIHandle(m_Adaptor);
    Init(2);
    EXPECT_EQ(l_Destroyed, 0);
    EXPECT_EQ(Access::Monitor(m_Adaptor), nullptr);
    EXPECT_THAT(BoardDriver().m_Closed, ElementsAre(l_Handle));
    EXPECT_EQ(Access::PCIHandle(m_Adaptor), nullptr);
}

TEST_F(InitOnTheBoard, StopsTheMonitorOfAnEarlierOne) {
    Init(1);
    const std::unique_ptr<IPMI_MonitorThread> l_Before(Access::Monitor(m_Adaptor));
    FakeQueue().Reset();
    ASSERT_EQ(l_Before->InitDriver(), 1); // its queue is open, as after a check that failed
    Init(1);
    EXPECT_NE(Access::Monitor(m_Adaptor), l_Before.get());
    EXPECT_THAT(FakeQueue().m_Calls, Contains("qQueueClose"));
    EXPECT_EQ(FakeQueue().m_Descriptor, -1);
    FakeQueue().Reset();
}

TEST_F(InitOnTheBoard, AsksForTheModeBeforeAnythingOfAnEarlierOneGoes) {
    GiveDSPs();
    Init(1);
    std::vector<std::size_t> l_Closed;
    std::vector<int> l_Ports;
    m_Host.m_OnMode = [&] {
        l_Closed.push_back(BoardDriver().m_Closed.size());
        l_Ports.push_back(Rows(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE));
    };
    Init(1);
    m_Host.m_OnMode = nullptr;
    EXPECT_THAT(l_Closed, ElementsAre(0U, 1U));
    EXPECT_THAT(l_Ports, ElementsAre(4, 0));
    EXPECT_EQ(BoardDriver().m_Closed.size(), 1U);
}

TEST_F(InitOnTheBoard, ReplacesTheDspsAndThePortsOfAnEarlierOne) {
    GiveDSPs();
    Init(1);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), 4);
    SetEnvironment("MAVK_AMC", "x312"); // two of them
    Init(1);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), 2);
    SetEnvironment("MAVK_AMC", nullptr);
    Init(3);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), 0);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE), 0);
    CBMIParams l_Row;
    const CBMIKeys l_Port = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 1);
    EXPECT_EQ(m_Adaptor.AMC_SwitchPort_ReadParams(&l_Port, &l_Row), 4);
}

TEST_F(InitOnTheBoard, InAModeThatDoesNotTouchTheBoardThereAreNoDspsAndNoPorts) {
    GiveDSPs();
    Init(1);
    Init(2);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), 0);
    CBMIParams l_Row;
    const CBMIKeys l_Port = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 1);
    EXPECT_EQ(m_Adaptor.AMC_SwitchPort_ReadParams(&l_Port, &l_Row), 4);
}

TEST_F(InitOnTheBoard, StateIs1WhileTheDriverFileIsWritten) {
    LISTENING_LOG l_Log;
    m_Host.m_Logger = &l_Log;
    std::vector<int> l_States;
    l_Log.m_OnLine = [&](const std::string& a_Text) {
        if (a_Text.starts_with("IPMIAdaptor :: WriteProcFile")) l_States.push_back(Access::State(m_Adaptor));
    };
    Init(1);
    EXPECT_THAT(l_States, ElementsAre(1));
    g_Logger2 = nullptr;
}

TEST_F(InitOnTheBoard, AnnouncesTheSwitchBeforeTheFirstOpening) {
    GiveDSPs();
    LISTENING_LOG l_Log;
    RecordBmiLogTo(&l_Log);
    std::size_t l_Opened = 99;
    l_Log.m_OnLine = [&](const std::string& a_Text) {
        if (a_Text == "Entering CSwitchIfPortMgr Init") l_Opened = BoardDriver().m_Opened.size();
    };
    Init(1);
    RecordBmiLogTo(&m_Log);
    EXPECT_EQ(l_Opened, 0U);
    EXPECT_EQ(BoardDriver().m_Opened.size(), 2U);
}

TEST_F(InitOnTheBoard, FirstOpeningMayFail) {
    GiveDSPs();
    BoardDriver().m_OpenResults = {6};
    EXPECT_EQ(Init(1), 1);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE), 4);
}

TEST_F(InitOnTheBoard, RefusedEventRegistrationDoesNotCountWhereTheBoardIsTouched) {
    GiveDSPs();
    m_Host.m_RefusedClasses = {5};
    EXPECT_EQ(Init(1), 1);
    EXPECT_EQ(Init(2), 0);
}

TEST_F(InitOnTheBoard, TouchesTheBoardUnderTheCompleteSimulationAndGives0AllTheSame) {
    WithoutOpenIPMI();
    GiveDSPs();
    EXPECT_EQ(Init(1), 0);
    EXPECT_EQ(Access::SwitchPortMap(m_Adaptor).size(), 4U);
}

} // namespace
