// One port of the switch and several writers: driver, shown and stored state agree in the end, and nobody waits for
// another.
#include "adaptor/switch/IPMI_SwitchPort.h"

#include "adaptor/BoardThreadTest.h"

#include <latch>
#include <thread>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;

namespace {

constexpr int BACKEND = 5;

class SwitchWriters : public BOARD_THREAD_TEST {
protected:
    SwitchWriters() : m_Port(3, BACKEND, TELQ_EXT_IF_RTM, "Port three", &m_Adaptor) {}

    int Stored() {
        const CBMIParam* const l_State = m_Turns.m_Files[SWITCH_PORT_FILE][3].GetParamById(BMI_HW_AMC_SWITCHPORT_ADMIN);
        return l_State != nullptr ? l_State->GetInt() : -1;
    }

    // Driven, shown and stored state are this one.
    void ExpectEverywhere(int a_Admin) {
        EXPECT_EQ(BoardDriver().m_Enabled[BACKEND], a_Admin == 1 ? 1 : 0);
        EXPECT_EQ(m_Port.GetAdminStatus(), a_Admin);
        EXPECT_EQ(Stored(), a_Admin);
    }

    IPMI_SWITCHPORT m_Port;
};

TEST_F(SwitchWriters, LaterOneBetweenTheDriverAndTheStorageOfAnEarlierOneCountsEverywhere) {
    ONCE l_Later([&] { InAnotherThread([&] { EXPECT_EQ(m_Port.SetSwitch(0), 1); }); });
    m_Turns.m_AtStart = [&] { l_Later(); };
    EXPECT_EQ(m_Port.SetSwitch(1), 1);
    ExpectEverywhere(0);
}

TEST_F(SwitchWriters, LaterOneBeforeTheDriverOfAnEarlierOneCountsEverywhere) {
    ONCE l_Later([&] { InAnotherThread([&] { EXPECT_EQ(m_Port.SetSwitch(5), 1); }); });
    BoardDriver().m_AtCall = [&](const std::string&) { l_Later(); };
    EXPECT_EQ(m_Port.SetSwitch(1), 1);
    ExpectEverywhere(5);
}

TEST_F(SwitchWriters, OneThatComesWhileTheStatesAreBroughtTogetherCountsEverywhere) {
    int l_Drives = 0;
    BoardDriver().m_AtCall = [&](const std::string&) {
        // Before the first order's call, and before its call that brings the second order about once more.
        if (++l_Drives == 1) InAnotherThread([&] { m_Port.SetSwitch(0); });
        if (l_Drives == 3) InAnotherThread([&] { m_Port.SetSwitch(7); });
    };
    EXPECT_EQ(m_Port.SetSwitch(1), 1);
    ExpectEverywhere(7);
}

TEST_F(SwitchWriters, OneThatTheDriverRefusesLeavesTheOtherEverywhere) {
    BoardDriver().m_Errors = {{"PortEnable 5 mode 0", 9}};
    ONCE l_Later([&] { InAnotherThread([&] { EXPECT_EQ(m_Port.SetSwitch(0), 0); }); });
    m_Turns.m_AtStart = [&] { l_Later(); };
    EXPECT_EQ(m_Port.SetSwitch(1), 1);
    ExpectEverywhere(1);
}

// An earlier order is driven and stored while a later one is under way, which is then carried out once more.
TEST_F(SwitchWriters, ResultIsThatOfTheLastTimeTheStateWasStored) {
    std::latch l_HasEntered(1);
    std::latch l_MayGoOn(1);
    BoardDriver().m_AtCall = [&](const std::string& a_Call) {
        if (a_Call != "PortEnable 5 mode 0") return;
        l_HasEntered.count_down();
        l_MayGoOn.wait();
    };
    std::thread l_Earlier([&] { EXPECT_EQ(m_Port.SetSwitch(0), 1); });
    l_HasEntered.wait();
    ONCE l_LetItPass([&] {
        l_MayGoOn.count_down();
        l_Earlier.join();
    });
    const auto l_Later = std::this_thread::get_id();
    m_Turns.m_AtStart = [&] {
        if (std::this_thread::get_id() == l_Later) l_LetItPass();
    };
    int l_Stored = 0;
    m_Turns.m_AtRow = [&] {
        if (++l_Stored == 3) m_Turns.m_Refusals = {{"SetRow", 21}};
    };
    EXPECT_EQ(m_Port.SetSwitch(1), 21);
    EXPECT_EQ(l_Stored, 3);
    ExpectEverywhere(1);
}

// A host's logger may write the port again, or wait for a thread that does.
TEST_F(SwitchWriters, LineOfAnOrderMayGiveAnother) {
    for (const bool l_IsOtherThread : {false, true}) {
        ONCE l_Inner([&] {
            const auto l_Write = [&] { EXPECT_EQ(m_Port.SetSwitch(0), 1); };
            l_IsOtherThread ? InAnotherThread(l_Write) : l_Write();
        });
        m_Hooked.m_AtLine = [&](const std::string&) { l_Inner(); };
        EXPECT_EQ(m_Port.SetSwitch(1), 1);
        ExpectEverywhere(1); // it had not been driven yet when the other came
    }
}

TEST_F(SwitchWriters, LineOfARefusedOrderMayGiveAnother) {
    BoardDriver().m_Errors = {{"PortEnable 5 mode 1", 9}};
    ONCE l_Inner([&] { InAnotherThread([&] { EXPECT_EQ(m_Port.SetSwitch(5), 1); }); });
    m_Hooked.m_AtLine = [&](const std::string& a_Text) {
        if (a_Text.starts_with("Fail to set")) l_Inner();
    };
    EXPECT_EQ(m_Port.SetSwitch(1), 0);
    ExpectEverywhere(5);
}

// The storage lets one of them in at a time: the writer waits for the host's transaction, and the host must not wait
// for the writer.
TEST_F(SwitchWriters, HostInATransactionOfItsOwnIsRefusedAndWaitsForNobody) {
    ASSERT_EQ(m_Turns.StartTransaction(), 1);
    std::latch l_IsAtStorage(1);
    ONCE l_Tell([&] { l_IsAtStorage.count_down(); });
    m_Turns.m_AtStart = [&] { l_Tell(); };
    int l_Result = -1;
    std::thread l_Writer([&] { l_Result = m_Port.SetSwitch(1); });
    l_IsAtStorage.wait();
    EXPECT_EQ(m_Port.SetSwitch(0), 0);
    EXPECT_EQ(m_Port.GetOperStatus(), 0);
    EXPECT_EQ(m_Turns.EndTransaction(), 1);
    l_Writer.join();
    EXPECT_EQ(l_Result, 1);
    ExpectEverywhere(0);
}

TEST_F(SwitchWriters, OfManyOneCountsEverywhere) {
    constexpr int ROUNDS = 100;
    constexpr int WRITERS = 4;
    for (int l_Round = 0; l_Round < ROUNDS; ++l_Round) {
        std::latch l_Begin(WRITERS);
        std::vector<std::thread> l_Writers;
        for (int i = 0; i < WRITERS; ++i) {
            l_Writers.emplace_back([&, i] {
                l_Begin.arrive_and_wait();
                for (const int l_Admin : {i, i + WRITERS, i % 2})
                    EXPECT_EQ(m_Port.SetSwitch(l_Admin), 1);
            });
        }
        for (std::thread& l_Writer : l_Writers)
            l_Writer.join();
        ExpectEverywhere(Stored());
    }
}

} // namespace
