// OpenIPMI's reports of entities, controllers and controls.
#include "ThreadTest.h"
#include "fake/TestAccess.h"

#include <OpenIPMI/ipmi_bits.h>

#include <csignal>

using namespace BM_ADAPTOR;
using ::testing::ExitedWithCode;

namespace {

class EntityReport : public THREAD_TEST {
protected:
    void Report(ipmi_entity_t* a_Entity, enum ipmi_update_e a_Operation = IPMI_ADDED) {
        IPMITHREAD::s_EntityAdded(a_Operation, Fake().Domain(), a_Entity, &m_Thread);
    }
    /// Registrations attempted: control, FRU, hot swap.
    static std::vector<int> Attempts(const ipmi_entity_t& a_Entity) {
        return {a_Entity.m_ControlHandlers.m_Attempts, a_Entity.m_FRUHandlers.m_Attempts,
                a_Entity.m_HotSwapHandlers.m_Attempts};
    }

    ipmi_entity_t* m_Entity = Fake().AddEntity(0, 32, 161, 2, "AMC 2");
};

class ControllerReport : public THREAD_TEST {
protected:
    void Report(ipmi_mc_t* a_MC, enum ipmi_update_e a_Operation = IPMI_ADDED) {
        IPMITHREAD::s_MCAdded(a_Operation, Fake().Domain(), a_MC, &m_Thread);
    }
};

class ControlReport : public THREAD_TEST {
protected:
    TEXTS Report(int a_Type = IPMI_CONTROL_LIGHT, enum ipmi_update_e a_Operation = IPMI_ADDED) {
        auto* const l_Control = Fake().AddControl(m_Entity, "blue led", a_Type);
        return PrintedBy([&] { IPMITHREAD::s_ControlAdded(a_Operation, m_Entity, l_Control, &m_Thread); });
    }

    ipmi_entity_t* m_Entity = Fake().AddEntity(0, 32, 161, 2, "AMC 2");
};

TEST_F(EntityReport, IsTraced) {
    m_Entity->m_EntityIdString = "AdvancedTCA module";
    Report(m_Entity);
    EXPECT_EQ(m_Log.Lines(), (std::vector<LOG_LINE>{
                                 Trace("IPMITHREAD :: s_EntityAdded"), Trace("IPMITHREAD :: EntityAdded"),
                                 Trace("IPMITHREAD :: EntityAdded - ENTITY ADDED %d.%d.%d.%d.%s >%s< - Present %s\n", 0,
                                       32, 161, 2, "AMC 2", "AdvancedTCA module", "YES"),
                                 Trace("IPMITHREAD :: EntityAdded - operation=%i", 0)}));
}

TEST_F(EntityReport, TellsAnAbsentEntity) {
    m_Entity->m_bPresent = false;
    Report(m_Entity);
    EXPECT_TRUE(m_Log.Has("IPMITHREAD :: EntityAdded - ENTITY ADDED 0.32.161.2.AMC 2 >fake entity< - Present NO\n", 7));
}

TEST_F(EntityReport, RegistersTheEntitysHandlersWithTheThread) {
    Report(m_Entity);
    ASSERT_EQ(m_Entity->m_ControlHandlers.m_Handlers.size(), 1U);
    EXPECT_EQ(m_Entity->m_ControlHandlers.m_Handlers[0].first, &IPMITHREAD::s_ControlAdded);
    EXPECT_EQ(m_Entity->m_ControlHandlers.m_Handlers[0].second, &m_Thread);
    ASSERT_EQ(m_Entity->m_FRUHandlers.m_Handlers.size(), 1U);
    EXPECT_EQ(m_Entity->m_FRUHandlers.m_Handlers[0].first, &IPMITHREAD::s_FruAdded);
    EXPECT_EQ(m_Entity->m_FRUHandlers.m_Handlers[0].second, &m_Thread);
    ASSERT_EQ(m_Entity->m_HotSwapHandlers.m_Handlers.size(), 1U);
    EXPECT_EQ(m_Entity->m_HotSwapHandlers.m_Handlers[0].first, &IPMITHREAD::s_IPMIEntityHotSwapHandler);
    EXPECT_EQ(m_Entity->m_HotSwapHandlers.m_Handlers[0].second, &m_Thread);
}

TEST_F(EntityReport, RegistersForControlsThenForTheFruThenForHotSwap) {
    Report(m_Entity);
    EXPECT_EQ(Fake().Setup().m_Calls,
              (TEXTS{"ipmi_entity_add_control_update_handler", "ipmi_entity_add_fru_update_handler",
                     "ipmi_entity_add_hot_swap_handler"}));
}

TEST_F(EntityReport, PutsNothingIntoTheModel) {
    Report(m_Entity);
    EXPECT_TRUE(g_EntityMap.empty());
}

TEST_F(EntityReport, OfAChangeCountsAsAnAddition) {
    Report(m_Entity, IPMI_CHANGED);
    EXPECT_TRUE(m_Log.Has("IPMITHREAD :: EntityAdded - operation=2", 7));
    EXPECT_EQ(Attempts(*m_Entity), (std::vector<int>{1, 1, 1}));
}

TEST_F(EntityReport, OfARemovalIsIgnored) {
    Report(m_Entity, IPMI_DELETED);
    EXPECT_EQ(m_Log.Lines().back(), Trace("IPMITHREAD :: EntityAdded - op!=added %i", 1));
    EXPECT_EQ(Attempts(*m_Entity), (std::vector<int>{0, 0, 0}));
}

TEST_F(EntityReport, IsIgnoredTheSecondTime) {
    Report(m_Entity);
    Report(m_Entity);
    EXPECT_EQ(m_Log.Lines().back(), Trace("IPMITHREAD :: EntityAdded - entity found already - ignoring"));
    Report(m_Entity, IPMI_CHANGED);
    EXPECT_EQ(m_Log.Count("IPMITHREAD :: EntityAdded - entity found already - ignoring", 7), 2U);
    EXPECT_EQ(Attempts(*m_Entity), (std::vector<int>{1, 1, 1}));
}

TEST_F(EntityReport, IsIgnoredForAnEntityOfTheModel) {
    AddToModel({0, 32, 161, 2}, "AMC 2");
    Report(m_Entity);
    EXPECT_EQ(m_Log.Lines().back(), Trace("IPMITHREAD :: EntityAdded - entity found already - ignoring"));
    EXPECT_EQ(Attempts(*m_Entity), (std::vector<int>{0, 0, 0}));
}

TEST_F(EntityReport, OfAnotherInstanceIsAnotherEntity) {
    ipmi_entity_t* const l_Other = Fake().AddEntity(0, 32, 161, 3, "AMC 3");
    Report(m_Entity);
    Report(l_Other);
    EXPECT_EQ(Attempts(*l_Other), (std::vector<int>{1, 1, 1}));
}

TEST_F(EntityReport, CutsTheNameTo79Characters) {
    m_Entity->m_Id = std::string(200, 'n');
    for (const auto l_Type : {IPMI_ASCII_STR, IPMI_UNICODE_STR, IPMI_BINARY_STR}) {
        m_Log.Clear();
        m_Entity->m_IdType = l_Type;
        Report(m_Entity);
        EXPECT_TRUE(m_Log.Has("IPMITHREAD :: EntityAdded - ENTITY ADDED 0.32.161.2." + std::string(79, 'n') +
                              " >fake entity< - Present YES\n"))
            << l_Type;
    }
}

TEST_F(EntityReport, HasAnEmptyNameWhenOpenIpmiGivesNone) {
    m_Entity->m_bIdFails = true;
    Report(m_Entity);
    EXPECT_TRUE(m_Log.Has("IPMITHREAD :: EntityAdded - ENTITY ADDED 0.32.161.2. >fake entity< - Present YES\n", 7));
}

// The message is the last that is printed, and its line stays open.
TEST_F(EntityReport, EndsTheProcessWhenTheControlRegistrationFails) {
    m_Entity->m_ControlHandlers.m_Result = 0x16;
    EXPECT_EXIT((PrintToStderr(), Report(m_Entity)), ExitedWithCode(1),
                "^ipmi_entity_set_control_update_handler: 0x16$");
}

TEST_F(EntityReport, EndsTheProcessWhenTheFruRegistrationFails) {
    m_Entity->m_FRUHandlers.m_Result = 0x0C;
    EXPECT_EXIT((PrintToStderr(), Report(m_Entity)), ExitedWithCode(1), "^ipmi_entity_set_fru_update_handler: 0xc$");
}

TEST_F(EntityReport, EndsTheProcessWhenTheHotSwapRegistrationFails) {
    m_Entity->m_HotSwapHandlers.m_Result = 0x1000001;
    EXPECT_EXIT((PrintToStderr(), Report(m_Entity)), ExitedWithCode(1),
                "^ipmi_entity_add_hot_swap_handler: 0x1000001$");
}

TEST_F(ControllerReport, PutsTheControllerIntoItsEntity) {
    auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
    auto* const l_MC = Fake().AddMC(0, 32, "(0.20)");
    l_MC->m_Major = 3;
    l_MC->m_Minor = 14;
    l_MC->m_Aux = {1, 20, 255, 0};
    Report(l_MC);
    ASSERT_TRUE(l_Board.m_MCMap.contains("(0.20)"));
    const IPMI_MC& l_Stored = *l_Board.m_MCMap.at("(0.20)");
    EXPECT_EQ(l_Stored.m_Name, "(0.20)");
    EXPECT_EQ(l_Stored.m_MajorFWRevision, 3);
    EXPECT_EQ(l_Stored.m_MinorFWRevision, 14);
    EXPECT_EQ(l_Stored.m_AuxFWRevision, "1 20 255 0");
    EXPECT_EQ(m_Log.Lines(), (std::vector<LOG_LINE>{Trace("IPMITHREAD :: s_MCAdded"), Trace("IPMITHREAD :: MCAdded"),
                                                    Trace("IPMITHREAD :: MCAdded - getting address / channel"),
                                                    Trace("IPMITHREAD :: MCAdded - channel=%i address=%i", 0, 32)}));
}

TEST_F(ControllerReport, FindsTheBoardsOwnControllerOnTheSystemInterface) {
    auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
    Report(Fake().AddMC(15, 32, "(f.20)"));
    EXPECT_TRUE(m_Log.Has("IPMITHREAD :: MCAdded - channel=15 address=32", 7));
    EXPECT_TRUE(l_Board.m_MCMap.contains("(f.20)"));
}

TEST_F(ControllerReport, WithoutAnEntityLeavesANullEntryThatEveryWalkSkips) {
    Report(Fake().AddMC(0, 0x72, "(0.72)"));
    EXPECT_EQ(m_Log.Lines().back(), Trace("IPMITHREAD :: MCAdded - No Entity for this MC yet ignoring"));
    ASSERT_EQ(g_EntityMap.size(), 1U);
    EXPECT_EQ(g_EntityMap.begin()->first.m_Address, 0x72);
    EXPECT_EQ(g_EntityMap.begin()->second, nullptr);
    EXPECT_EQ(FirstEntity([](const IPMI_ENTITY&) { return true; }), nullptr);
    EXPECT_EQ(PrintedBy([&] { m_Thread.DomainFullyUp(Fake().Domain(), &m_Thread); }).size(), 1U);
    m_Thread.EntityCaptured();
    EXPECT_TRUE(Released());
}

TEST_F(ControllerReport, OfAKnownNameIsIgnored) {
    auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
    l_Board.m_MCMap["(0.20)"] = new IPMI_MC{"(0.20)", 1, 2, "3"};
    Report(Fake().AddMC(0, 32, "(0.20)"));
    EXPECT_EQ(m_Log.Lines().back(), Trace("IPMITHREAD :: MCAdded - Already have a MC ignoring"));
    EXPECT_EQ(l_Board.m_MCMap.at("(0.20)")->m_MajorFWRevision, 1);
}

TEST_F(ControllerReport, IsAnAdditionWhateverTheOperation) {
    auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
    Report(Fake().AddMC(0, 32, "changed"), IPMI_CHANGED);
    Report(Fake().AddMC(0, 32, "deleted"), IPMI_DELETED);
    EXPECT_TRUE(l_Board.m_MCMap.contains("changed"));
    EXPECT_TRUE(l_Board.m_MCMap.contains("deleted"));
}

TEST_F(ControllerReport, CutsTheNameTo63Characters) {
    auto& l_Board = AddToModel({0, 32, 160, 96}, "board");
    Report(Fake().AddMC(0, 32, std::string(100, 'n')));
    EXPECT_TRUE(l_Board.m_MCMap.contains(std::string(63, 'n')));
}

TEST_F(ControlReport, IsTracedWithTheNameOfItsType) {
    AddToModel({0, 32, 161, 2}, "AMC 2");
    EXPECT_EQ(Report(IPMI_CONTROL_ONE_SHOT_RESET), TEXTS{});
    EXPECT_EQ(m_Log.Lines(),
              (std::vector<LOG_LINE>{Trace("IPMITHREAD :: s_ControlAdded"), Trace("IPMITHREAD :: ControlAdded"),
                                     Trace("IPMITHREAD :: ControlAdded - %i.%i.%i.%i.%s type=%s\n", 0, 32, 161, 2,
                                           "blue led", "IPMI_CONTROL_ONE_SHOT_RESET")}));
}

TEST_F(ControlReport, OfAnUnknownEntityIsPrinted) {
    EXPECT_EQ(Report(), TEXTS{"        ENTITY NOT FOUND"});
    g_EntityMap[{0, 32, 161, 2}] = nullptr;
    EXPECT_EQ(Report(), TEXTS{"        ENTITY NOT FOUND"});
}

TEST_F(ControlReport, OfAnyOtherOperationIsIgnored) {
    for (const auto l_Operation : {IPMI_DELETED, IPMI_CHANGED}) {
        m_Log.Clear();
        EXPECT_EQ(Report(IPMI_CONTROL_LIGHT, l_Operation), TEXTS{});
        EXPECT_EQ(m_Log.Lines(),
                  (std::vector<LOG_LINE>{Trace("IPMITHREAD :: s_ControlAdded"), Trace("IPMITHREAD :: ControlAdded"),
                                         Trace("IPMITHREAD :: ControlAdded - op!=added %i", int(l_Operation))}));
    }
}

class HotSwapReport : public THREAD_TEST {};

TEST_F(HotSwapReport, IsTracedAndChangesNothing) {
    auto& l_Board = AddToModel({0, 32, 161, 2}, "AMC 2");
    ipmi_entity_t* const l_Entity = Fake().AddEntity(0, 32, 161, 2, "AMC 2");
    const int l_Result = IPMITHREAD::s_IPMIEntityHotSwapHandler(l_Entity, IPMI_HOT_SWAP_ACTIVE,
                                                                IPMI_HOT_SWAP_NOT_PRESENT, &m_Thread, nullptr);
    EXPECT_EQ(l_Result, IPMI_EVENT_NOT_HANDLED);
    EXPECT_EQ(m_Log.Lines(), (std::vector<LOG_LINE>{Trace("IPMITHREAD :: s_IPMIEntityHotSwapHandler"),
                                                    Trace("IPMITHREAD :: IPMIEntityHotSwapHandler")}));
    EXPECT_EQ(g_EntityMap.size(), 1U);
    EXPECT_EQ(g_EntityMap.begin()->second, &l_Board);
}

} // namespace
