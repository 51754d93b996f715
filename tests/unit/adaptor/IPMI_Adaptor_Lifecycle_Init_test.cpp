// Init with its start-up handshake: over a controller that answers, and without OpenIPMI.
#include "adaptor/LifecycleTest.h"

#include "adaptor/switch/IPMI_SwitchPort.h"
#include "fake/FakeQueue.h"
#include "fake/ThrowingLog.h"
#include "ipmi/FRUImage.h"
#include "ipmi/IPMI_Probe.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <latch>
#include <thread>
#include <utility>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

using Access = IPMI_TEST_ACCESS;
using AdaptorInit = LIFECYCLE_TEST;

LOG_LINE Always(const std::string& a_Text) {
    return Trace(a_Text); // the same level and component, whatever the host's level
}

// ---- Init without OpenIPMI: the complete simulation

TEST_F(AdaptorInit, AsksAndTellsTheManagerInOrder) {
    WithoutOpenIPMI();
    for (const int l_Mode : {2, 1}) {
        m_Host.m_Calls.clear();
        Init(l_Mode);
        TEXTS l_Expected = {"GetStorage", "GetMode"};
        for (const std::string& l_Call : RegistrationCalls("Register"))
            l_Expected.push_back(l_Call);
        l_Expected.insert(l_Expected.end(), {"GetLogger", "GetMode"});
        EXPECT_EQ(m_Host.m_Calls, l_Expected) << l_Mode;
    }
    EXPECT_THAT(m_Host.m_Adaptors, ElementsAre(&m_Adaptor));
}

TEST_F(AdaptorInit, ItsOwnLinesAreWrittenWhateverTheLogLevel) {
    WithoutOpenIPMI();
    BM_LOG_LEVEL = 0;
    Init(2);
    EXPECT_THAT(Lines(), ElementsAre(Always("WITHIN INIT-2"), Always("Hooking up OS Handler"),
                                     Error("IPMI Posix setup failed"), Always("Startup Mutex fired")));
}

TEST_F(AdaptorInit, GoesOnWhenTheHostsLoggerThrows) {
    WithoutOpenIPMI();
    static THROWING_LOG l_Log; // outlives the domain thread
    m_Host.m_Logger = &l_Log;
    m_Host.m_Mode = 2;
    EXPECT_EQ(m_Adaptor.Init(&m_Host), 1);
    EXPECT_EQ(Access::State(m_Adaptor), 2);
}

TEST_F(AdaptorInit, PrintsItsSteps) {
    WithoutOpenIPMI();
    Init(2);
    std::array<char, 64> l_Logger{};
    snprintf(l_Logger.data(), l_Logger.size(), "Within Init = Logger=%p",
             static_cast<void*>(static_cast<CBaseOsLog*>(&m_Log)));
    const TEXTS l_Printed = m_Output.StopLines();
    ASSERT_GE(l_Printed.size(), 5U);
    EXPECT_THAT(TEXTS(l_Printed.begin(), l_Printed.begin() + 5),
                ElementsAre("IPMIAdaptor::IPMIAdaptor", "Normal AMC/RTM Mode", l_Logger.data(),
                            "Within Init = Now only doing logging ", "DTB DTB DTB -- Domain fully up"));
}

TEST_F(AdaptorInit, KeepsWhatTheManagerGives) {
    WithoutOpenIPMI();
    auto* const l_Storage = reinterpret_cast<QUB_STORAGE::CDataStorage*>(&m_Retired); // an address, never followed
    m_Host.m_Storage = l_Storage;
    Init(2);
    EXPECT_EQ(Access::Manager(m_Adaptor), &m_Host);
    EXPECT_EQ(Access::Logger(m_Adaptor), &m_Log);
    EXPECT_EQ(Access::Storage(m_Adaptor), l_Storage);
}

TEST_F(AdaptorInit, ClearsTheAmcAndRtmSimulation) {
    WithoutOpenIPMI();
    g_bAMCRTMOnlySimulation = true;
    Init(2);
    EXPECT_FALSE(g_bAMCRTMOnlySimulation);
}

TEST_F(AdaptorInit, StateIs1MeanwhileAnd2Afterwards) {
    WithoutOpenIPMI();
    for (const int l_Mode : {2, 1, 0}) {
        Init(l_Mode);
        EXPECT_EQ(m_Host.m_StateAtRegistration, 1);
        EXPECT_EQ(Access::State(m_Adaptor), 2);
    }
}

TEST_F(AdaptorInit, OnlyTheShortPathLogsTheState) {
    WithoutOpenIPMI();
    const LOG_LINE l_Line = BmiTrace("IPMIAdaptor::Init(), set m_State=2");
    Init(2);
    EXPECT_EQ(Lines().back(), l_Line);
    Init(1);
    EXPECT_THAT(Lines(), Not(Contains(l_Line)));
    BM_LOG_LEVEL = 7;
    Init(2);
    EXPECT_THAT(Lines(), Not(Contains(l_Line)));
}

TEST_F(AdaptorInit, InModesThatTouchNoBoardGivesTheResultOfTheEventRegistration) {
    WithoutOpenIPMI();
    for (const int l_Mode : {0, 2, 4, -1}) {
        for (const int l_Result : {1, 0, 7}) {
            m_Host.m_RegisterResult = l_Result;
            EXPECT_EQ(Init(l_Mode), l_Result) << l_Mode;
        }
        EXPECT_EQ(Access::Monitor(m_Adaptor), nullptr) << l_Mode;
        EXPECT_THAT(BoardDriver().m_Opened, IsEmpty()) << l_Mode;
    }
}

TEST_F(AdaptorInit, RefusedGroupsDoNotCountOnlyTheEventClassDoes) {
    WithoutOpenIPMI();
    m_Host.m_RefusedGroups = {0x30000, 0x300, 0x30e10};
    EXPECT_EQ(Init(2), 1);
    m_Host.m_RefusedGroups = {};
    m_Host.m_RefusedClasses = {5};
    EXPECT_EQ(Init(2), 0);
}

TEST_F(AdaptorInit, InModesThatTouchTheBoardGives0UnderTheCompleteSimulation) {
    WithoutOpenIPMI();
    for (const int l_Mode : {1, 3})
        EXPECT_EQ(Init(l_Mode), 0) << l_Mode;
    EXPECT_TRUE(g_bCompleteIPMISimulation);
}

TEST_F(AdaptorInit, AfterTheFallBackTheSimulatedInventoryIsServed) {
    WithoutOpenIPMI();
    EXPECT_EQ(Init(2), 1);
    CBMIParams* l_Row = nullptr;
    EXPECT_EQ(m_Adaptor.ReadParams(BMI_GROUP_HARDWARE_RTM_FRU_TABLE, nullptr, l_Row), 1);
    const std::unique_ptr<CBMIParams> l_Owner(l_Row);
    EXPECT_THAT(TextsOf(*l_Row), ElementsAre("0x401 i:1", "0x402 i:1", "0x403 i:4"));
}

TEST_F(AdaptorInit, RefusedSystemInterfaceFallsBackTheSameWay) {
    Fake().Setup().m_SmiResult = 2;
    BM_LOG_LEVEL = 0;
    EXPECT_EQ(Init(2), 1);
    EXPECT_TRUE(g_bCompleteIPMISimulation);
    EXPECT_THAT(Lines(), ElementsAre(Always("WITHIN INIT-2"), Always("Hooking up OS Handler"),
                                     Error("IPMI smi setup failed"), Always("Startup Mutex fired")));
}

TEST_F(AdaptorInit, WithoutAManagerGives0AndServesTheModel) {
    WithoutOpenIPMI();
    EXPECT_EQ(m_Adaptor.Init(nullptr), 0);
    EXPECT_EQ(Access::State(m_Adaptor), 2);
    EXPECT_EQ(m_Adaptor.RTM_FRU_ReadParams(nullptr, std::make_unique<CBMIParams>().get()), 1);
    EXPECT_THAT(m_Output.StopLines(), Contains("Within Init = Logger=(nil)"));
}

TEST_F(AdaptorInit, WithoutALoggerGoesItsWay) {
    WithoutOpenIPMI();
    m_Host.m_Logger = nullptr;
    EXPECT_EQ(Init(2), 1);
    EXPECT_THAT(Lines(), ElementsAre(BmiTrace("IPMIAdaptor::Init(), set m_State=2")));
}

// ---- one domain thread a process

TEST_F(AdaptorInit, FindsTheDomainThreadOfAnEarlierOneAndStartsNoSecondOne) {
    WithoutOpenIPMI();
    BM_LOG_LEVEL = 0;
    Init(2);
    m_Adaptor.Fin();
    Lines();
    EXPECT_EQ(Init(2), 1);
    EXPECT_THAT(Lines(),
                ElementsAre(Always("WITHIN INIT-2"), Always("Hooking up OS Handler"), Always("Startup Mutex fired")));
    IPMIAdaptor l_Second(m_Board);
    EXPECT_EQ(l_Second.Init(&m_Host), 1);
    EXPECT_THAT(Fake().Setup().m_Calls, ElementsAre("ipmi_posix_thread_setup_os_handler"));
}

// ---- Init over a controller that answers

/// A front board, FRU 0: texts and no LEDs.
class InitOverIpmi : public LIFECYCLE_TEST {
protected:
    InitOverIpmi() : m_Image(Image()) {
        const auto l_Size = static_cast<uint8_t>(m_Image.size());
        Fake().OnRequests({{{0x2C, 0x00}, {0x00, 0x00, 0x22, 0x00, 0x00}},                   // maximum FRU id 0
                           {{0x2C, 0x01}, {0x00, 0x00, 0x41, 0x82, 0xFF, 0x00, 0x03, 0x00}}, // site 3, front board
                           {{0x06, 0x01}, {0x00, 0x20, 0x80, 0x02, 0x11, 0x02, 0, 0, 0, 0, 0, 0}}, // firmware 2.17
                           {{0x2C, 0x05}, {0x00, 0x00, 0x00, 0x00}},                               // no LEDs
                           {{0x0A, 0x10, 0x00}, {0x00, l_Size, 0x00, 0x00}}});
        Fake().OnRequest({0x0A, 0x11, 0x00}, [this](const SENT_REQUEST& a_Request) {
            const auto l_Offset = m_Image.begin() + a_Request.m_Data[1];
            BYTES l_Reply = {0x00, 16};
            l_Reply.insert(l_Reply.end(), l_Offset, l_Offset + 16);
            return std::optional(l_Reply);
        });
    }

    static BYTES Image() {
        return FRUImage(BoardArea(Fields({"Maker", "Board", "S1", "P1"})),
                        ProductArea(Fields({"Maker", "Product", "P2", "V2", "S2"})), {}, 16);
    }

    const BYTES m_Image;
};

TEST_F(InitOverIpmi, BoardOfTheControllerIsServed) {
    EXPECT_EQ(Init(1), 0); // it has no DSPs
    EXPECT_FALSE(g_bCompleteIPMISimulation);
    CBMIParams* l_Row = nullptr;
    EXPECT_EQ(m_Adaptor.ReadParams(BMI_GROUP_HARDWARE_BOARD, nullptr, l_Row), 1);
    const std::unique_ptr<CBMIParams> l_Owner(l_Row);
    ASSERT_NE(l_Row, nullptr);
    EXPECT_THAT(TextsOf(*l_Row), ElementsAre("0x30001 s:Board", "0x30002 i:3", "0x30003 s:Maker", "0x30004 s:S2",
                                             "0x30005 s:V2", "0x30007 s:P1", "0x30006 s:2.17"));
}

TEST_F(InitOverIpmi, ModelIsCompleteBeforeTheStartupMutexFires) {
    Init(2);
    const TEXTS l_Texts = m_Log.Texts();
    const auto l_Captured = std::ranges::find_if(
        l_Texts, [](const std::string& a_Text) { return a_Text.starts_with("IPMITHREAD :: EntityCaptured"); });
    const auto l_Fired = std::ranges::find(l_Texts, "Startup Mutex fired");
    ASSERT_NE(l_Captured, l_Texts.end());
    ASSERT_NE(l_Fired, l_Texts.end());
    EXPECT_LT(l_Captured - l_Texts.begin(), l_Fired - l_Texts.begin());
}

TEST_F(InitOverIpmi, ModesThatTouchTheBoardGetAMonitorTwice) {
    GiveDSPs();
    for (const int l_Mode : {1, 3}) {
        EXPECT_EQ(Init(l_Mode), 1) << l_Mode;
        EXPECT_NE(m_Host.m_MonitorAtRegistration, nullptr);
        EXPECT_NE(Access::Monitor(m_Adaptor), nullptr);
        EXPECT_NE(Access::Monitor(m_Adaptor), m_Host.m_MonitorAtRegistration);
        EXPECT_EQ(m_Host.m_MonitorAtRegistration->GetLastErr(), 1); // the first one is kept alive
    }
}

TEST_F(InitOverIpmi, PciMemoryIsOpenedWhateverComesOfItAndClosedByFin) {
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

TEST_F(InitOverIpmi, WithDspsPciMemoryIsOpenedTwiceAndClosedOnce) {
    GiveDSPs();
    EXPECT_EQ(Init(1), 1);
    ASSERT_EQ(BoardDriver().m_Opened.size(), 2U);
    EXPECT_NE(BoardDriver().m_Opened[0].m_Handle, BoardDriver().m_Opened[1].m_Handle);
    m_Adaptor.Fin();
    EXPECT_THAT(BoardDriver().m_Closed, ElementsAre(BoardDriver().m_Opened[1].m_Handle));
}

// ---- the board's set-up

TEST_F(InitOverIpmi, SetsTheBoardUpInOrder) {
    GiveDSPs();
    m_Board.m_OpenErrors = {};
    m_Board.m_Environment["MAVK_RTM"] = "2184";
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
    EXPECT_EQ(Kernel().m_Parameter, 0);
    EXPECT_EQ(Access::DspMacMap(m_Adaptor).size(), 4U);
    EXPECT_EQ(Access::NumFramers(m_Adaptor), 8);
    EXPECT_EQ(Access::SwitchPortMap(m_Adaptor).size(), 4U);
    EXPECT_THAT(Lines(), Not(Contains(Error("IPMIAdaptor :: RTM_FRU_ReadTable -- In bad state 1"))));
}

TEST_F(InitOverIpmi, GivesTheResultOfTheAddressTableWhenThatFailsAndGoesNoFurther) {
    GiveDSPs();
    m_Storage.m_Refusals = {{"RetrieveTable", 21}, {"CreateRow", 21}};
    EXPECT_EQ(Init(1), 21);
    EXPECT_EQ(Access::State(m_Adaptor), 2);
    EXPECT_THAT(BoardDriver().m_Opened, IsEmpty());
    EXPECT_THAT(Lines(), Not(Contains(BmiTrace("Entering CSwitchIfPortMgr Init"))));
    m_Host.m_Storage = nullptr;
    EXPECT_EQ(Init(1), 0);
}

TEST_F(InitOverIpmi, Gives0WhenTheBoardDriverCannotBeOpened) {
    GiveDSPs();
    BoardDriver().m_OpenResult = 5;
    EXPECT_EQ(Init(3), 0);
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), IsEmpty());
}

TEST_F(InitOverIpmi, GoesOnWithoutTheDriverFileTheKernelParameterAndTheRtm) {
    GiveDSPs();
    Kernel().m_bNoParameter = true;
    m_Board.m_Environment["MAVK_RTM"] = "1";
    EXPECT_EQ(Init(1), 1);
    EXPECT_THAT(m_Board.Records(), IsEmpty());
    EXPECT_EQ(Access::RTMPresent(m_Adaptor), 0);
}

TEST_F(InitOverIpmi, ASecondOneFindsWhatTheFirstOneStored) {
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

TEST_F(InitOverIpmi, ASecondOneReplacesDspsAndPortsByWhatItFinds) {
    GiveDSPs();
    Init(1);
    m_Adaptor.Fin();
    EXPECT_THAT(Access::DspMacMap(m_Adaptor), testing::SizeIs(4)); // only the ports go with it
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), IsEmpty());
    Init(1);
    m_Board.m_Environment["MAVK_AMC"] = "x312";
    Init(3);
    EXPECT_THAT(Access::DspMacMap(m_Adaptor), testing::SizeIs(2));
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), testing::SizeIs(4));
    Init(2);
    EXPECT_THAT(Access::DspMacMap(m_Adaptor), IsEmpty());
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), IsEmpty());
}

TEST_F(AdaptorInit, TouchesTheBoardUnderTheCompleteSimulationAndGives0AllTheSame) {
    WithoutOpenIPMI();
    GiveDSPs();
    EXPECT_EQ(Init(1), 0);
    EXPECT_EQ(Access::SwitchPortMap(m_Adaptor).size(), 4U);
}

TEST_F(InitOverIpmi, KeepsTheMonitorAndClosesTheOpenHandleOfAnEarlierOne) {
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

TEST_F(InitOverIpmi, StopsTheMonitorOfAnEarlierOne) {
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

TEST_F(InitOverIpmi, AsksForTheModeBeforeAnythingOfAnEarlierOneGoes) {
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

TEST_F(InitOverIpmi, ReplacesTheDspsAndThePortsOfAnEarlierOne) {
    GiveDSPs();
    Init(1);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), 4);
    m_Board.m_Environment["MAVK_AMC"] = "x312"; // two of them
    Init(1);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), 2);
    m_Board.m_Environment.erase("MAVK_AMC");
    Init(3);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), 0);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE), 0);
    CBMIParams l_Row;
    const CBMIKeys l_Port = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 1);
    EXPECT_EQ(m_Adaptor.AMC_SwitchPort_ReadParams(&l_Port, &l_Row), 4);
}

TEST_F(InitOverIpmi, InAModeThatDoesNotTouchTheBoardThereAreNoDspsAndNoPorts) {
    GiveDSPs();
    Init(1);
    Init(2);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), 0);
    CBMIParams l_Row;
    const CBMIKeys l_Port = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 1);
    EXPECT_EQ(m_Adaptor.AMC_SwitchPort_ReadParams(&l_Port, &l_Row), 4);
}

TEST_F(AdaptorInit, DomainThreadAndProbeLogWhereTheLatestOneLogs) {
    WithoutOpenIPMI();
    Init(2);
    EXPECT_EQ(g_Logger2, &m_Log);
    RECORDING_LOG l_Later;
    m_Host.m_Logger = &l_Later;
    Init(2);
    EXPECT_EQ(g_Logger2, &l_Later);
    m_Host.m_Logger = nullptr;
    Init(2);
    EXPECT_EQ(g_Logger2, nullptr);
}

// ---- while its lines are written

/// Does something at each line.
class ACTING_LOG final : public RECORDING_LOG {
public:
    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        if (m_OnLine) m_OnLine(a_Text);
        RECORDING_LOG::Log(a_Level, a_Component, a_Text);
    }

    std::function<void(const std::string& a_Text)> m_OnLine{};
};

TEST_F(InitOverIpmi, StateIs1WhileTheDriverFileIsWritten) {
    ACTING_LOG l_Log;
    m_Host.m_Logger = &l_Log;
    std::vector<int> l_States;
    l_Log.m_OnLine = [&](const std::string& a_Text) {
        if (a_Text.starts_with("IPMIAdaptor :: WriteProcFile")) l_States.push_back(Access::State(m_Adaptor));
    };
    Init(1);
    EXPECT_THAT(l_States, ElementsAre(1));
    g_Logger2 = nullptr;
}

TEST_F(InitOverIpmi, AnnouncesTheSwitchBeforeTheFirstOpening) {
    GiveDSPs();
    ACTING_LOG l_Log;
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

TEST_F(InitOverIpmi, FirstOpeningMayFail) {
    GiveDSPs();
    BoardDriver().m_OpenResults = {6};
    EXPECT_EQ(Init(1), 1);
    EXPECT_EQ(Rows(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE), 4);
}

// ---- two of them

TEST_F(AdaptorInit, SecondOneOnAnotherThreadWaitsForTheModelOfTheFirst) {
    std::latch l_Asked(1);
    std::latch l_GoOn(1);
    Fake().OnRequest({0x2C, 0x00}, [&](const SENT_REQUEST&) -> std::optional<BYTES> {
        l_Asked.count_down();
        l_GoOn.wait();
        return BYTES{0xC1};
    });
    m_Host.m_Mode = 2;
    std::thread l_First([&] { EXPECT_EQ(m_Adaptor.Init(&m_Host), 1); });
    l_Asked.wait();
    IPMIAdaptor l_Other(m_Board);
    std::atomic<bool> l_bBack = false;
    std::thread l_Second([&] {
        EXPECT_EQ(l_Other.Init(&m_Host), 1);
        l_bBack = true;
    });
    while (m_Log.Count("Hooking up OS Handler") < 2)
        std::this_thread::yield();
    EXPECT_FALSE(l_bBack);
    EXPECT_FALSE(m_Log.Has("Startup Mutex fired"));
    l_GoOn.count_down();
    l_First.join();
    l_Second.join();
    EXPECT_EQ(m_Log.Count("Startup Mutex fired"), 2U);
}

TEST_F(AdaptorInit, OutOfALineOfItsStartupAnotherThreadsIsWaitedFor) {
    WithoutOpenIPMI();
    ACTING_LOG l_Log;
    m_Host.m_Logger = &l_Log;
    IPMIAdaptor l_Other(m_Board);
    int l_Result = -1;
    bool l_bDone = false;
    l_Log.m_OnLine = [&](const std::string& a_Text) {
        if (a_Text != "Startup Mutex fired" || std::exchange(l_bDone, true)) return;
        std::thread([&] { l_Result = l_Other.Init(&m_Host); }).join();
    };
    EXPECT_EQ(Init(2), 1);
    EXPECT_EQ(l_Result, 1);
}

TEST_F(InitOverIpmi, RefusedEventRegistrationDoesNotCountWhereTheBoardIsTouched) {
    GiveDSPs();
    m_Host.m_RefusedClasses = {5};
    EXPECT_EQ(Init(1), 1);
    EXPECT_EQ(Init(2), 0);
}

TEST_F(InitOverIpmi, WaitsForTheProbeAndAnotherConnectionReportRecoversALostReply) {
    Fake().LoseReply({0x2C, 0x00}, 1);
    int l_Result = -1;
    std::thread l_Host([&] { l_Result = Init(2); });
    Fake().WaitUntilIdle();
    EXPECT_FALSE(m_Log.Has("Startup Mutex fired"));
    EXPECT_EQ(Access::State(m_Adaptor), 1);
    const std::unique_ptr<ENTITYCAPTURE> l_Superseded(g_ENTITYCapture);
    Fake().Post([l_Call = Fake().Setup().m_OpenCalls.at(0)] {
        l_Call.m_ConnectionChanged(Fake().Domain(), 0, 0, 0, 1, l_Call.m_ConnectionChangedData);
    });
    l_Host.join();
    EXPECT_EQ(l_Result, 1);
    EXPECT_TRUE(m_Log.Has("Startup Mutex fired"));
    EXPECT_EQ(g_EntityMap.size(), 1U);
}

TEST_F(AdaptorInit, EndsWithAnEmptyModelWhenTheControllerRefusesTheProbe) {
    EXPECT_EQ(Init(2), 1); // every request is refused
    EXPECT_FALSE(g_bCompleteIPMISimulation);
    EXPECT_THAT(g_EntityMap, IsEmpty());
    EXPECT_EQ(m_Adaptor.Board_Hardware_ReadParams(nullptr, std::make_unique<CBMIParams>().get()), 12);
}

} // namespace
