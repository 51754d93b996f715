// The inventory's end: the entities go to the model, the domain thread is told, and the adaptor is released once.
#include "ProbeFixture.h"

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class ProbeStopCollection : public PROBE_TEST {};

TEST_F(ProbeStopCollection, EntersEachEntityUnderItsAddress) {
    IPMI_ENTITY& l_Third = GiveEntity(3, 0);
    IPMI_ENTITY& l_Board = GiveEntity(0, 0);
    l_Board.m_EntityID = 160;
    l_Board.m_EntityInstance = 0x60;
    m_Probe->StopCollection();
    ASSERT_EQ(g_EntityMap.size(), 2U);
    EXPECT_EQ(g_EntityMap.at({0, 0x20, 160, 0x60}), &l_Board);
    EXPECT_EQ(g_EntityMap.at({0, 0x20, 161, 3}), &l_Third);
    std::vector<LOG_LINE> l_Lines = m_Log.Lines();
    l_Lines.resize(5); // behind them the domain thread's begin
    EXPECT_THAT(l_Lines, ElementsAre(Trace("ENTITYCAPTURE :: StopCollection - adding stuff!!!"),
                                     Trace("ENTITYCAPTURE :: StopCollection adding FRU ID %i pointer=0x%p", 0,
                                           static_cast<void*>(&l_Board)),
                                     Trace("ENTITYCAPTURE :: StopCollection adding FRU ID %i ID=%i", 0, 160),
                                     Trace("ENTITYCAPTURE :: StopCollection adding FRU ID %i pointer=0x%p", 3,
                                           static_cast<void*>(&l_Third)),
                                     Trace("ENTITYCAPTURE :: StopCollection adding FRU ID %i ID=%i", 3, 161)));
}

TEST_F(ProbeStopCollection, FillsAnEntryThatHeldNoEntity) {
    g_EntityMap[{0, 0x20, 161, 1}] = nullptr;
    IPMI_ENTITY& l_Entity = GiveEntity(1, 0);
    m_Probe->StopCollection();
    EXPECT_EQ(g_EntityMap.size(), 1U);
    EXPECT_EQ(g_EntityMap.at({0, 0x20, 161, 1}), &l_Entity);
}

TEST_F(ProbeStopCollection, TellsTheDomainThreadWithTheMapFilled) {
    GiveEntity(1, 0);
    m_Probe->StopCollection();
    ExpectInOrder({Trace("ENTITYCAPTURE :: StopCollection adding FRU ID %i ID=%i", 1, 161),
                   Trace("IPMITHREAD :: EntityCaptured - entity map size=%i", 1)});
    EXPECT_TRUE(IsOver());
}

TEST_F(ProbeStopCollection, WithoutAnyEntityStillTellsTheDomainThread) {
    m_Probe->StopCollection();
    EXPECT_TRUE(IsOver());
    EXPECT_THAT(g_EntityMap, IsEmpty());
}

TEST_F(ProbeStopCollection, LeavesTheProbeIdle) {
    SetState(7);
    m_Probe->StopCollection();
    EXPECT_EQ(State(), 0);
}

TEST_F(ProbeStopCollection, ReleasesTheStartUpMutex) {
    EXPECT_FALSE(IsOver());
    m_Probe->StopCollection();
    ASSERT_TRUE(IsOver());
    m_StartupMutex.Lock(); // would never return if it were still held
    m_StartupMutex.Unlock();
}

// The adaptor destroys its mutex once it has it; a sanitizer sees any later touch.
TEST_F(ProbeStopCollection, TouchesTheStartUpMutexOnlyOnce) {
    auto l_Mutex = std::make_unique<OSAL::OSALMutex>();
    l_Mutex->Lock();
    ACCESS::pStartupMutex(*m_Thread) = l_Mutex.get();
    m_Probe->StopCollection();
    ASSERT_EQ(ACCESS::pStartupMutex(*m_Thread), nullptr);
    l_Mutex->Lock();
    l_Mutex.reset();
    m_Probe->StopCollection();
    m_Thread->EntityCaptured();
    EXPECT_TRUE(IsOver());
}

TEST_F(ProbeStopCollection, OfASupersededProbePublishesNothingAndTellsNobody) {
    GiveEntity(0, 0);
    m_Probe->Supersede();
    m_Probe->StopCollection();
    EXPECT_THAT(g_EntityMap, IsEmpty());
    EXPECT_FALSE(IsOver());
    EXPECT_NE(ACCESS::pStartupMutex(*m_Thread), nullptr);
}

TEST_F(ProbeStopCollection, NeverComesFromTheRepliesOfASupersededProbe) {
    const std::vector<SCRIPTED_FRU> l_FRUs = {{0, 0, 1, {2}, AreaOf16()}, {7, 1, 0, {}, AreaOf16()}};
    ScriptController(l_FRUs);
    const std::size_t l_Whole = Capture();
    ASSERT_TRUE(IsOver());
    for (std::size_t l_Late = 0; l_Late < l_Whole; ++l_Late) {
        SetUpAgain();
        ScriptController(l_FRUs);
        m_Probe->StartCapture();
        for (std::size_t i = 0; i < l_Late; ++i)
            Fake().DeliverReply();
        m_Probe->Supersede();
        const std::size_t l_Before = Fake().SentCount();
        EXPECT_TRUE(Fake().DeliverReply()) << l_Late;
        EXPECT_EQ(Fake().SentCount(), l_Before) << "after " << l_Late << " replies";
        EXPECT_THAT(g_EntityMap, IsEmpty());
        EXPECT_FALSE(IsOver());
    }
}

TEST_F(ProbeStopCollection, WithoutADomainThreadOnlyPublishes) {
    m_Probe.reset();
    m_Probe = std::make_unique<ENTITYCAPTURE>(Fake().Domain(), nullptr, &m_Log);
    GiveEntity(0, 0);
    m_Probe->StopCollection();
    EXPECT_EQ(g_EntityMap.size(), 1U);
}

} // namespace
