// The thread's body: setting OpenIPMI up, the fallbacks, the event loop.
#include "ipmi/IPMI_Thread.h"

#include "ThreadTest.h"
#include "fake/TestAccess.h"

#include <cerrno>
#include <csignal>
#include <memory>
#include <optional>
#include <thread>

using namespace BM_ADAPTOR;
using ::testing::ExitedWithCode;

namespace {

class DomainThread : public THREAD_TEST {
protected:
    /// Runs the thread's body on this thread until the event loop has nothing left to do.
    void RunUntilIdle() {
        Fake().EndLoopWhenIdle();
        EXPECT_THROW(m_Thread.run(), LOOP_ENDED);
    }
    /// The texts of one level without the first one, which names the running thread.
    TEXTS TextsAfterStart(int a_Level) const {
        TEXTS l_Texts;
        for (const auto& l_Line : m_Log.Lines()) {
            if (l_Line.m_Level == a_Level && !l_Line.m_Text.starts_with("IPMI Thread running"))
                l_Texts.push_back(l_Line.m_Text);
        }
        return l_Texts;
    }
};

TEST_F(DomainThread, BeginsWithoutAnOsHandlerAndNotReady) {
    EXPECT_EQ(IPMI_TEST_ACCESS::OsHandler(m_Thread), nullptr);
    EXPECT_EQ(IPMI_TEST_ACCESS::bDomainReady(m_Thread), 0);
    EXPECT_EQ(IPMI_TEST_ACCESS::pLogger(m_Thread), &m_Log);
    EXPECT_EQ(IPMI_TEST_ACCESS::pStartupMutex(m_Thread), &m_StartupMutex);
}

TEST_F(DomainThread, SetsOpenIpmiUpStepByStep) {
    Fake().Setup().m_bReportsConnection = false;
    RunUntilIdle();
    EXPECT_EQ(Fake().Setup().m_Calls,
              (TEXTS{"ipmi_posix_thread_setup_os_handler", "ipmi_init", "ipmi_smi_setup_con", "ipmi_open_domain"}));
    EXPECT_EQ(TextsAfterStart(7),
              (TEXTS{"Initializing IPMI", "Setting Up SMI Connection", "Opening Domain", "Looping"}));
    EXPECT_EQ(TextsAfterStart(3), TEXTS{});
    EXPECT_FALSE(Released());
}

TEST_F(DomainThread, TracesUnderTheAdaptorsComponent) {
    Fake().Setup().m_bReportsConnection = false;
    RunUntilIdle();
    for (const auto& l_Line : m_Log.Lines())
        EXPECT_EQ(l_Line.m_Component, "IPMI-Adaptor");
}

TEST_F(DomainThread, TracesItsThreadNumber) {
    Fake().Setup().m_bReportsConnection = false;
    RunUntilIdle();
    const auto l_Number = static_cast<unsigned>(reinterpret_cast<uintptr_t>(reinterpret_cast<void*>(pthread_self())));
    EXPECT_EQ(m_Log.Lines().front(), Trace("IPMI Thread running (threadid=%x)", l_Number));
}

TEST_F(DomainThread, MakesItsLoggerTheOneOfTheWholeUnit) {
    g_Logger2 = nullptr;
    Fake().Setup().m_bOsHandlerFails = true;
    PrintedBy([&] { m_Thread.run(); });
    EXPECT_EQ(g_Logger2, &m_Log);
}

TEST_F(DomainThread, WakesItsEventLoopWithSignal12) {
    RunUntilIdle();
    EXPECT_EQ(Fake().Setup().m_WakeSignal, 12);
    EXPECT_EQ(SIGUSR2, 12);
}

TEST_F(DomainThread, UsesSystemInterface0) {
    RunUntilIdle();
    const os_handler_t* const l_OsHandler = IPMI_TEST_ACCESS::OsHandler(m_Thread);
    ASSERT_NE(l_OsHandler, nullptr);
    EXPECT_EQ(Fake().Setup().m_InitOsHandler, l_OsHandler);
    EXPECT_EQ(Fake().Setup().m_SmiInterface, 0);
    EXPECT_EQ(Fake().Setup().m_SmiOsHandler, l_OsHandler);
    EXPECT_EQ(Fake().Setup().m_SmiUserData, nullptr);
}

TEST_F(DomainThread, OpensTheDomainWithEightOptionsInOrder) {
    Fake().Setup().m_bReportsConnection = false;
    RunUntilIdle();
    ASSERT_EQ(Fake().Setup().m_OpenCalls.size(), 1U);
    const auto& l_Call = Fake().Setup().m_OpenCalls.front();
    const std::vector<std::pair<int, long>> l_Options = {{1, 0}, {2, 0}, {3, 0}, {4, 0},
                                                         {5, 0}, {6, 1}, {7, 1}, {8, 0}};
    EXPECT_EQ(l_Call.m_Options, l_Options);
    EXPECT_EQ(l_Call.m_Name, "");
    EXPECT_EQ(l_Call.m_Connections, std::vector<ipmi_con_t*>{Fake().Connection()});
    EXPECT_EQ(l_Call.m_ConnectionChanged, &IPMITHREAD::s_DomainOpen);
    EXPECT_EQ(l_Call.m_ConnectionChangedData, &m_Thread);
    EXPECT_EQ(l_Call.m_FullyUp, &IPMITHREAD::s_DomainFullyUp);
    EXPECT_EQ(l_Call.m_FullyUpData, &m_Thread);
    EXPECT_FALSE(l_Call.m_bWantsDomainID);
}

TEST_F(DomainThread, GoesOnWhenInitFails) {
    Fake().Setup().m_InitResult = 22;
    Fake().Setup().m_bReportsConnection = false;
    RunUntilIdle();
    EXPECT_EQ(Fake().Setup().m_OpenCalls.size(), 1U);
    EXPECT_FALSE(g_bCompleteIPMISimulation);
}

TEST_F(DomainThread, SimulatesEverythingWithoutAnOsHandler) {
    Fake().Setup().m_bOsHandlerFails = true;
    PrintedBy([&] { m_Thread.run(); });
    EXPECT_TRUE(g_bCompleteIPMISimulation);
    EXPECT_EQ(TextsAfterStart(3), TEXTS{"IPMI Posix setup failed"});
    EXPECT_EQ(Fake().Setup().m_Calls, TEXTS{"ipmi_posix_thread_setup_os_handler"});
    EXPECT_EQ(g_EntityMap.size(), 3U);
    EXPECT_TRUE(Released());
}

TEST_F(DomainThread, SimulatesEverythingWithoutAConnection) {
    Fake().Setup().m_SmiResult = 2;
    PrintedBy([&] { m_Thread.run(); });
    EXPECT_TRUE(g_bCompleteIPMISimulation);
    EXPECT_EQ(TextsAfterStart(3), TEXTS{"IPMI smi setup failed"});
    EXPECT_TRUE(Fake().Setup().m_OpenCalls.empty());
    EXPECT_EQ(g_EntityMap.size(), 3U);
    EXPECT_TRUE(Released());
}

// OpenIPMI's next call would use an allocator that is not there.
TEST_F(DomainThread, SimulatesEverythingWhenOpenIpmiGetsNoMemory) {
    Fake().Setup().m_InitResult = ENOMEM;
    PrintedBy([&] { m_Thread.run(); });
    EXPECT_TRUE(g_bCompleteIPMISimulation);
    EXPECT_EQ(TextsAfterStart(3), TEXTS{"IPMI smi setup failed"});
    EXPECT_EQ(Fake().Setup().m_Calls, (TEXTS{"ipmi_posix_thread_setup_os_handler", "ipmi_init"}));
    EXPECT_TRUE(Released());
}

// For the thread sanitizer: what the domain thread sets while host threads look at it.
TEST_F(DomainThread, HostThreadSeesTheLoggerAndTheSimulation) {
    g_Logger2 = nullptr;
    Fake().Setup().m_SmiResult = 2;
    std::thread l_Host([] {
        while (g_Logger2 == nullptr || !g_bCompleteIPMISimulation || g_bAMCRTMOnlySimulation)
            std::this_thread::yield();
    });
    PrintedBy([&] { m_Thread.run(); });
    l_Host.join();
    EXPECT_TRUE(Released());
}

TEST_F(DomainThread, HostThreadSeesTheProbe) {
    std::thread l_Host([] {
        while (g_ENTITYCapture == nullptr)
            std::this_thread::yield();
    });
    RunUntilIdle();
    l_Host.join();
    EXPECT_TRUE(Released());
}

TEST_F(DomainThread, GivesEverySimulatedFruTheTwoTestRecords) {
    Fake().Setup().m_SmiResult = 2;
    PrintedBy([&] { m_Thread.run(); });
    for (const auto& [l_Address, l_Entity] : g_EntityMap) {
        const auto& l_Records = l_Entity->FirstFRU()->m_MultiRecords;
        ASSERT_EQ(l_Records.size(), 2U) << l_Entity->m_Name;
        EXPECT_EQ(l_Records[0]->m_Length, 38);
        EXPECT_EQ(l_Records[1]->m_Length, 8);
    }
}

TEST_F(DomainThread, PrintsTheSimulatedModel) {
    Fake().Setup().m_SmiResult = 2;
    const TEXTS l_Lines = PrintedBy([&] { m_Thread.run(); });
    ASSERT_FALSE(l_Lines.empty());
    EXPECT_EQ(l_Lines.front(), "DTB DTB DTB -- Domain fully up");
    EXPECT_THAT(l_Lines, ::testing::IsSupersetOf({"Entity found 0.1.161.96.SIMULATION-AMC",
                                                  "Entity found 0.9.162.96.SIMULATION-AMC",
                                                  "Entity found 0.142.160.96.SIMULATION"}));
}

TEST_F(DomainThread, EndsTheProcessWhenTheDomainCannotBeOpened) {
    Fake().Setup().m_OpenResult = 5;
    EXPECT_EXIT(m_Thread.run(), ExitedWithCode(1), "");
}

// The dying process shows what its logger got.
TEST_F(DomainThread, SaysWhyItEndsTheProcess) {
    class STDERR_LOG : public RECORDING_LOG {
        void Log(int a_Level, const char* a_Component, const char* a_Text) override {
            fprintf(stderr, "%d %s %s;", a_Level, a_Component, a_Text);
        }
    };
    Fake().Setup().m_OpenResult = 5;
    STDERR_LOG l_Log;
    IPMITHREAD l_Thread(&l_Log, &m_StartupMutex);
    EXPECT_EXIT(l_Thread.run(), ExitedWithCode(1), "3 IPMI-Adaptor IPMI open_domain failed;$");
}

TEST_F(DomainThread, AddsTheSimulatedModulesToARealDomainWhenTold) {
    g_bAMCRTMOnlySimulation = true;
    Fake().Setup().m_bReportsConnection = false;
    RunUntilIdle();
    TEXTS l_Names;
    for (const auto& [l_Address, l_Entity] : g_EntityMap)
        l_Names.push_back(l_Entity->m_ControlMap.begin()->first);
    EXPECT_EQ(l_Names, (TEXTS{"(r0.1.161.0).address", "(r0.9.162.0).address"}));
    EXPECT_FALSE(Released());
}

TEST_F(DomainThread, SaysThatItLoopsBeforeItAddsThem) {
    std::optional<std::size_t> l_Entities;
    WATCHING_LOG l_Log([&](const std::string& a_Line) {
        if (a_Line == "Looping") l_Entities = g_EntityMap.size();
    });
    IPMITHREAD l_Thread(&l_Log, &m_StartupMutex);
    g_bAMCRTMOnlySimulation = true;
    Fake().Setup().m_bReportsConnection = false;
    Fake().EndLoopWhenIdle();
    EXPECT_THROW(l_Thread.run(), LOOP_ENDED);
    EXPECT_EQ(l_Entities, 0U);
    EXPECT_EQ(g_EntityMap.size(), 2U);
}

TEST_F(DomainThread, AddsNoSimulatedModulesOtherwise) {
    Fake().Setup().m_bReportsConnection = false;
    RunUntilIdle();
    EXPECT_TRUE(g_EntityMap.empty());
}

TEST_F(DomainThread, LoopsOnAfterAnOperationThatFailed) {
    Fake().Setup().m_PerformOneOpResults = {4, 0};
    RunUntilIdle();
    EXPECT_TRUE(Fake().Setup().m_PerformOneOpResults.empty());
    EXPECT_EQ(Fake().Domain()->m_EntityHandlers.m_Attempts, 1) << "the connection was reported afterwards";
}

TEST_F(DomainThread, GivesItsEventLoopNoTimeOut) {
    RunUntilIdle();
    EXPECT_EQ(Fake().Domain()->m_EntityHandlers.m_Attempts, 1) << "it ran";
    EXPECT_FALSE(Fake().Setup().m_bTimeOutGiven);
}

TEST_F(DomainThread, TakesTheLogLinesOfOpenIpmi) {
    RunUntilIdle();
    const os_vlog_t l_Hook = Fake().Setup().m_LogHandler;
    ASSERT_NE(l_Hook, nullptr);
    const auto l_Log = [&](const char* a_Format, ...) {
        va_list l_Arguments;
        va_start(l_Arguments, a_Format);
        l_Hook(IPMI_TEST_ACCESS::OsHandler(m_Thread), a_Format, IPMI_LOG_WARNING, l_Arguments);
        va_end(l_Arguments);
    };
    EXPECT_EQ(PrintedBy([&] { l_Log("lost %d of %s", 3, "them"); }), TEXTS{"WARN: lost 3 of them"});
}

// A controller that refuses the first request leaves a domain without entities, and an adaptor that may start.
TEST_F(DomainThread, ReleasesTheAdaptorWhenTheProbeFindsNothing) {
    RunUntilIdle();
    EXPECT_EQ(Fake().SentBytes(), std::vector<BYTES>{(BYTES{0x2C, 0x00, 0x00})});
    EXPECT_TRUE(g_EntityMap.empty());
    EXPECT_TRUE(Released());
}

// On a thread of its own, as in the product: the object outlives the test because its thread does.
TEST_F(DomainThread, RunsTheProbeOnItsOwnThreadAndReleasesTheWaiter) {
    static std::vector<std::unique_ptr<IPMITHREAD>> s_Threads;
    auto& l_Thread = *s_Threads.emplace_back(std::make_unique<IPMITHREAD>(nullptr, &m_StartupMutex));
    Fake().OnRequest({0x2C, 0x00, 0x00}, {0x00, 0x00, 0x22, 0x00}); // one FRU
    Fake().OnRequest({0x2C, 0x01, 0x00, 0x00},
                     {0x00, 0x00, 0x41, 0x82, 0xFF, 0x00, 0x03, 0x00}); // a front board in site 3
    ASSERT_EQ(l_Thread.Start(), 0);
    m_StartupMutex.Lock();
    Fake().WaitUntilIdle();
    ASSERT_EQ(g_EntityMap.size(), 1U);
    EXPECT_EQ(g_EntityMap.begin()->second->m_EntityID, 160);
    EXPECT_EQ(g_EntityMap.begin()->second->m_BayLocation, 3);
}

} // namespace
