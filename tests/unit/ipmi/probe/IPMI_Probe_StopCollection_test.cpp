// The inventory's end: the entities go to the model, the domain thread is told, and the adaptor is released once.
#include "ProbeFixture.h"
#include "ipmi/LiveMemory.h"

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

// The board's instance is 96, and that of every other FRU its id: a FRU 96 on a front board's site has the board's
// address.
class ProbeFRU96 : public PROBE_TEST {
protected:
    void GiveBoards() {
        for (const uint8_t l_FRUID : {uint8_t{0}, uint8_t{96}}) {
            IPMI_ENTITY& l_Entity = GiveEntity(l_FRUID, l_FRUID == 0 ? 3 : 1);
            l_Entity.m_EntityID = 160;
            l_Entity.m_EntityInstance = 96;
            l_Entity.m_FRUDeviceID = l_FRUID;
            auto l_FRU = std::make_unique<IPMI_FRU>(l_Entity.Address(), Text("FRU %i", l_FRUID));
            ACCESS::FRUs(*m_Probe)[l_FRUID] = l_FRU.get();
            l_Entity.m_FRUMap[l_FRU->m_Name] = l_FRU.get();
            l_FRU.release();
        }
    }
};

TEST_F(ProbeFRU96, OfAFrontBoardTakesFRU0sPlaceInTheModel) {
    std::vector<SCRIPTED_FRU> l_FRUs(97, SCRIPTED_FRU{7, 1});
    l_FRUs[0] = {0, 5, 3, {2, 4}, AreaOf(64, "board")};
    l_FRUs[96] = {0, 5, 1, {2}, AreaOf(64, "second")};
    ScriptController(l_FRUs);
    Capture();
    EXPECT_TRUE(IsOver());
    EXPECT_EQ(g_EntityMap.size(), 96U);
    const IPMI_ENTITY* l_Shown = g_EntityMap.at({0, 0x20, 160, 96});
    EXPECT_EQ(l_Shown, ACCESS::FRUEntities(*m_Probe).at(96));
    EXPECT_EQ(l_Shown->FirstFRU()->m_BoardProductName, "second");
    const IPMI_ENTITY* l_First = ACCESS::FRUEntities(*m_Probe).at(0);
    EXPECT_EQ(l_First->m_LEDMap.size(), 2U) << "FRU 0's own record still answers for its LEDs";
    EXPECT_EQ(l_First->FirstFRU()->m_BoardProductName, "board");
    ExpectInOrder({Trace("ENTITYCAPTURE :: StopCollection adding FRU ID %i ID=%i", 0, 160),
                   Trace("ENTITYCAPTURE :: StopCollection adding FRU ID %i ID=%i", 96, 160)});
}

TEST_F(ProbeFRU96, TakesFRU0sPlaceForGood) {
    GiveBoards();
    m_Probe->StopCollection();
    m_Probe->StopCollection();
    EXPECT_EQ(g_EntityMap.at({0, 0x20, 160, 96}), ACCESS::FRUEntities(*m_Probe).at(96));
}

TEST_F(ProbeFRU96, LeavesNoRecordThatNobodyOwns) {
    constexpr int ROUNDS = 500;
    const auto l_Round = [this] {
        GiveBoards();
        m_Probe->StopCollection();
        m_Probe->StopCollection();
        SetUpAgain();
    };
    for (int i = 0; i < 5; ++i)
        l_Round();
    const std::size_t l_Before = LiveBytes();
    for (int i = 0; i < ROUNDS; ++i)
        l_Round();
    EXPECT_LT(LiveBytes(), l_Before + ROUNDS * sizeof(IPMI_ENTITY) / 4);
}

class ProbeThatHandedOver : public PROBE_TEST {
protected:
    ProbeThatHandedOver() {
        ScriptController({{0, 0, 3, {2, 4}, AreaOf(64, "board")}, {7, 1, 1, {2}, AreaOf(64, "AMC")}});
        Capture();
        m_Sent = Fake().SentCount();
        m_Log.Clear();
    }

    std::size_t m_Sent = 0;
};

#ifdef NDEBUG
TEST_F(ProbeThatHandedOver, DoesNotStartAgain) {
    std::vector<IPMI_ENTITY*> l_Entities;
    for (const auto& [l_Address, l_Entity] : g_EntityMap)
        l_Entities.push_back(l_Entity);
    m_Probe->StartCapture();
    Fake().Run();
    EXPECT_EQ(Fake().SentCount(), m_Sent);
    EXPECT_EQ(State(), 0);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(Warning("ENTITYCAPTURE :: StartCapture - the model has the entities")));
    ASSERT_EQ(ACCESS::FRUEntities(*m_Probe).size(), l_Entities.size());
    for (const IPMI_ENTITY* l_Entity : l_Entities) {
        EXPECT_EQ(ACCESS::FRUEntities(*m_Probe).at(static_cast<uint8_t>(l_Entity->m_FRUDeviceID)), l_Entity);
    }
}
#else
TEST_F(ProbeThatHandedOver, IsNotStartedAgainInADebugBuild) {
    EXPECT_DEATH(m_Probe->StartCapture(), "the model has the entities");
}
#endif

TEST_F(ProbeStopCollection, WithoutADomainThreadOnlyPublishes) {
    m_Probe.reset();
    m_Probe = std::make_unique<ENTITYCAPTURE>(Fake().Domain(), nullptr, &m_Log);
    GiveEntity(0, 0);
    m_Probe->StopCollection();
    EXPECT_EQ(g_EntityMap.size(), 1U);
}

} // namespace
