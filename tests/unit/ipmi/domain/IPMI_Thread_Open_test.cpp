// Connection reports: the probe they start, the handlers they register, the one release of the start-up mutex.
#include "ThreadTest.h"
#include "fake/TestAccess.h"
#include "ipmi/IPMI_Probe.h"

#include <memory>
#include <optional>

using namespace BM_ADAPTOR;

namespace {

const BYTES g_FirstRequest = {0x2C, 0x00, 0x00}; // Get PICMG Properties

class ConnectionReport : public THREAD_TEST {
protected:
    void Report(int a_Error = 0) { IPMITHREAD::s_DomainOpen(Fake().Domain(), a_Error, 0, 0, a_Error == 0, &m_Thread); }
    /// The current probe, which the next report supersedes; the product keeps it, the test deletes it.
    static std::unique_ptr<ENTITYCAPTURE> TakeProbe() { return std::unique_ptr<ENTITYCAPTURE>(g_ENTITYCapture); }
};

TEST_F(ConnectionReport, IsTracedAndStartsTheProbe) {
    Report();
    EXPECT_EQ(m_Log.Texts("IPMITHREAD"), (TEXTS{"IPMITHREAD :: s_DomainOpen", "IPMITHREAD :: DomainOpen"}));
    ASSERT_NE(g_ENTITYCapture, nullptr);
    EXPECT_EQ(IPMI_TEST_ACCESS::Domain(*g_ENTITYCapture), Fake().Domain());
    EXPECT_EQ(IPMI_TEST_ACCESS::Thread(*g_ENTITYCapture), &m_Thread);
    EXPECT_EQ(Fake().SentBytes(), std::vector<BYTES>{g_FirstRequest});
    EXPECT_EQ(Fake().Sent().front().m_Data1, g_ENTITYCapture);
}

TEST_F(ConnectionReport, StartsTheProbeBeforeItRegistersForReports) {
    int l_Registered = -1;
    WATCHING_LOG l_Log([&](const std::string& a_Line) {
        if (a_Line != "ENTITYCAPTURE :: SendGetPICMCProperties - rc=0") return;
        l_Registered = Fake().Domain()->m_EntityHandlers.m_Attempts + Fake().Domain()->m_MCHandlers.m_Attempts;
    });
    g_Logger2 = &l_Log;
    Report();
    EXPECT_EQ(l_Registered, 0) << "when the first request is out; -1: it never was";
}

TEST_F(ConnectionReport, StartsTheProbeEvenWhenItReportsAnError) {
    Report(110);
    EXPECT_EQ(Fake().SentBytes(), std::vector<BYTES>{g_FirstRequest});
}

TEST_F(ConnectionReport, DoesNotReleaseTheAdaptor) {
    Report();
    EXPECT_FALSE(Released());
    EXPECT_NE(IPMI_TEST_ACCESS::pStartupMutex(m_Thread), nullptr);
}

TEST_F(ConnectionReport, RegistersForEntitiesAndControllers) {
    Report();
    const auto& l_Entities = Fake().Domain()->m_EntityHandlers.m_Handlers;
    ASSERT_EQ(l_Entities.size(), 1U);
    EXPECT_EQ(l_Entities[0].first, &IPMITHREAD::s_EntityAdded);
    EXPECT_EQ(l_Entities[0].second, &m_Thread);
    const auto& l_MCs = Fake().Domain()->m_MCHandlers.m_Handlers;
    ASSERT_EQ(l_MCs.size(), 1U);
    EXPECT_EQ(l_MCs[0].first, &IPMITHREAD::s_MCAdded);
    EXPECT_EQ(l_MCs[0].second, &m_Thread);
}

TEST_F(ConnectionReport, PrintsNothingWhenAllGoesWell) {
    EXPECT_EQ(PrintedBy([&] { Report(); }), TEXTS{});
}

TEST_F(ConnectionReport, RegistersOnlyOnce) {
    Report();
    const auto l_First = TakeProbe();
    Report();
    EXPECT_EQ(Fake().Domain()->m_EntityHandlers.m_Attempts, 1);
    EXPECT_EQ(Fake().Domain()->m_MCHandlers.m_Attempts, 1);
}

TEST_F(ConnectionReport, PrintsAFailedEntityRegistrationAndStopsThere) {
    Fake().Domain()->m_EntityHandlers.m_Result = 22;
    EXPECT_EQ(PrintedBy([&] { Report(); }), TEXTS{"ipmi_domain_add_entity_update_handler return error: 22"});
    EXPECT_EQ(Fake().Domain()->m_MCHandlers.m_Attempts, 0);
}

TEST_F(ConnectionReport, PrintsAFailedControllerRegistration) {
    Fake().Domain()->m_MCHandlers.m_Result = 12;
    EXPECT_EQ(PrintedBy([&] { Report(); }), TEXTS{"ipmi_domain_add_mc_updated_handler return error: 12"});
    EXPECT_EQ(Fake().Domain()->m_EntityHandlers.m_Attempts, 1);
}

TEST_F(ConnectionReport, StartsTheProbeAnewWhileTheModelIsNotReady) {
    Report(110);
    const auto l_First = TakeProbe();
    Report();
    EXPECT_NE(g_ENTITYCapture, l_First.get());
    EXPECT_EQ(Fake().SentBytes(), (std::vector<BYTES>{g_FirstRequest, g_FirstRequest}));
    EXPECT_EQ(Fake().Sent().back().m_Data1, g_ENTITYCapture);
}

TEST_F(ConnectionReport, LeavesTheProbeAloneOnceTheModelIsReady) {
    Report();
    Fake().Run();
    ASSERT_TRUE(Released());
    const ENTITYCAPTURE* const l_Probe = g_ENTITYCapture;
    Report();
    EXPECT_EQ(g_ENTITYCapture, l_Probe);
    EXPECT_EQ(Fake().SentCount(), 1U);
}

TEST_F(ConnectionReport, MakesTheAnswersToTheOldProbeCountForNothing) {
    Report();
    const auto l_First = TakeProbe();
    Report();
    ASSERT_TRUE(Fake().DeliverReply()) << "to the first probe";
    EXPECT_FALSE(Released());
    ASSERT_TRUE(Fake().DeliverReply()) << "to the second";
    EXPECT_TRUE(Released());
}

// The adaptor's Init ends, and its mutex with it, as soon as it was unlocked.
TEST_F(ConnectionReport, NeverTouchesTheStartUpMutexAgainAfterUnlockingIt) {
    std::optional<OSAL::OSALMutex> l_Mutex(std::in_place);
    l_Mutex->Lock();
    IPMITHREAD l_Thread(&m_Log, &*l_Mutex);
    IPMITHREAD::s_DomainOpen(Fake().Domain(), 0, 0, 0, 1, &l_Thread);
    Fake().Run();
    l_Mutex->Lock();
    EXPECT_EQ(IPMI_TEST_ACCESS::pStartupMutex(l_Thread), nullptr);
    l_Mutex.reset();
    IPMITHREAD::s_DomainOpen(Fake().Domain(), 0, 0, 0, 1, &l_Thread);
    Fake().Run();
    l_Thread.EntityCaptured();
    g_bCompleteIPMISimulation = true;
    PrintedBy([&] { l_Thread.DomainFullyUp(Fake().Domain(), &l_Thread); });
    EXPECT_EQ(IPMI_TEST_ACCESS::bDomainReady(l_Thread), 1);
}

TEST_F(ConnectionReport, WorksWithoutALoggerAndWithoutAWaiter) {
    g_Logger2 = nullptr;
    IPMITHREAD l_Thread(nullptr, nullptr);
    IPMITHREAD::s_DomainOpen(Fake().Domain(), 0, 0, 0, 1, &l_Thread);
    Fake().Run();
    EXPECT_EQ(IPMI_TEST_ACCESS::bDomainReady(l_Thread), 1);
    EXPECT_TRUE(m_Log.Lines().empty());
}

} // namespace
