// The start of the domain thread: one a process, whichever Init comes first; what the others wait for.
#include "adaptor/startup/IPMI_DomainStartup.h"

#include "adaptor/LifecycleTest.h"

#include "ipmi/IPMI_Probe.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <latch>
#include <memory>
#include <thread>
#include <utility>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Access = IPMI_TEST_ACCESS;
using DomainStartup = LIFECYCLE_TEST;
using DomainStartupOverIpmi = LIFECYCLE_OVER_IPMI;

// ---- one domain thread a process

TEST_F(DomainStartup, FindsTheDomainThreadOfAnEarlierOneAndStartsNoSecondOne) {
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

TEST_F(DomainStartup, ThreadThatIsNotToBeHadIsReportedAndTheNextInitTriesAgain) {
    WithoutOpenIPMI();
    BM_LOG_LEVEL = 0;
    m_Board.m_OnStart = [] { return EAGAIN; };
    EXPECT_EQ(Init(2), 1);
    EXPECT_THAT(Lines(), ElementsAre(Always("WITHIN INIT-2"), Always("Hooking up OS Handler"),
                                     Error("IPMIAdaptor::Init() - starting the IPMI domain thread failed, errno " +
                                           std::to_string(EAGAIN))));
    EXPECT_EQ(Access::DomainThread(), nullptr);
    EXPECT_EQ(Access::State(m_Adaptor), 2);
    EXPECT_EQ(Init(2), 1);
    EXPECT_NE(Access::DomainThread(), nullptr);
    EXPECT_TRUE(m_Log.Has("Startup Mutex fired"));
}

TEST_F(DomainStartup, DomainThreadAndProbeLogWhereTheLatestOneLogs) {
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

TEST_F(DomainStartup, RefusedSystemInterfaceFallsBackTheSameWay) {
    Fake().Setup().m_SmiResult = 2;
    BM_LOG_LEVEL = 0;
    EXPECT_EQ(Init(2), 1);
    EXPECT_TRUE(g_bCompleteIPMISimulation);
    EXPECT_THAT(Lines(), ElementsAre(Always("WITHIN INIT-2"), Always("Hooking up OS Handler"),
                                     Error("IPMI smi setup failed"), Always("Startup Mutex fired")));
}

TEST_F(DomainStartup, AfterTheFallBackTheSimulatedInventoryIsServed) {
    WithoutOpenIPMI();
    EXPECT_EQ(Init(2), 1);
    CBMIParams* l_Row = nullptr;
    EXPECT_EQ(m_Adaptor.ReadParams(BMI_GROUP_HARDWARE_RTM_FRU_TABLE, nullptr, l_Row), 1);
    const std::unique_ptr<CBMIParams> l_Owner(l_Row);
    EXPECT_THAT(TextsOf(*l_Row), ElementsAre("0x401 i:1", "0x402 i:1", "0x403 i:4"));
}

TEST_F(DomainStartup, EndsWithAnEmptyModelWhenTheControllerRefusesTheProbe) {
    EXPECT_EQ(Init(2), 1); // every request is refused
    EXPECT_FALSE(g_bCompleteIPMISimulation);
    EXPECT_THAT(g_EntityMap, IsEmpty());
    EXPECT_EQ(m_Adaptor.Board_Hardware_ReadParams(nullptr, std::make_unique<CBMIParams>().get()), 12);
}

// ---- what is waited for

TEST_F(DomainStartupOverIpmi, ModelIsCompleteBeforeTheStartupMutexFires) {
    Init(2);
    const TEXTS l_Texts = m_Log.Texts();
    const auto l_Captured = std::ranges::find_if(
        l_Texts, [](const std::string& a_Text) { return a_Text.starts_with("IPMITHREAD :: EntityCaptured"); });
    const auto l_Fired = std::ranges::find(l_Texts, "Startup Mutex fired");
    ASSERT_NE(l_Captured, l_Texts.end());
    ASSERT_NE(l_Fired, l_Texts.end());
    EXPECT_LT(l_Captured - l_Texts.begin(), l_Fired - l_Texts.begin());
}

TEST_F(DomainStartupOverIpmi, WaitsForTheProbeAndAnotherConnectionReportRecoversALostReply) {
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

TEST_F(DomainStartup, SecondOneOnAnotherThreadWaitsForTheModelOfTheFirst) {
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

TEST_F(DomainStartup, OutOfALineOfItsStartupAnotherThreadsIsWaitedFor) {
    WithoutOpenIPMI();
    LISTENING_LOG l_Log;
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

} // namespace
