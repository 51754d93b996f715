// Init: what it asks and tells the manager, what it prints and logs, and the result of each mode.
#include "adaptor/LifecycleTest.h"

#include "fake/ThrowingLog.h"

#include <array>
#include <cstdio>
#include <memory>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

using Access = IPMI_TEST_ACCESS;
using AdaptorInit = LIFECYCLE_TEST;

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

TEST_F(AdaptorInit, WithoutAManagerGives0AndServesTheModel) {
    WithoutOpenIPMI();
    EXPECT_EQ(m_Adaptor.Init(nullptr), 0);
    EXPECT_EQ(Access::State(m_Adaptor), 2);
    EXPECT_EQ(m_Adaptor.RTM_FRU_ReadParams(nullptr, std::make_unique<CBMIParams>().get()), 1);
    EXPECT_EQ(Access::Monitor(m_Adaptor), nullptr); // it does not touch the board
    EXPECT_THAT(m_Output.StopLines(), Contains("Within Init = Logger=(nil)"));
}

TEST_F(AdaptorInit, WithoutALoggerGoesItsWay) {
    WithoutOpenIPMI();
    m_Host.m_Logger = nullptr;
    EXPECT_EQ(Init(2), 1);
    EXPECT_THAT(Lines(), ElementsAre(BmiTrace("IPMIAdaptor::Init(), set m_State=2")));
}

} // namespace
