// DSPs and switch ports in several threads: writers of one port, readers while Init and Fin replace what they read.
#include "adaptor/BoardTest.h"

#include "adaptor/switch/IPMI_SwitchPort.h"
#include "common/veldo_common_rows.h"
#include "fake/TurnStorage.h"

#include <array>
#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Each;
using testing::SizeIs;

namespace {

constexpr int BACKEND = 5;

// Does what it is given once, whichever thread comes first.
class ONCE {
public:
    explicit ONCE(std::function<void()> a_Work) : m_Work(std::move(a_Work)) {}
    void operator()() {
        if (!m_bDone.exchange(true)) m_Work();
    }

private:
    std::function<void()> m_Work;
    std::atomic<bool> m_bDone = false;
};

void InAnotherThread(const std::function<void()>& a_Work) {
    std::thread(a_Work).join();
}

// Tells of a line before it is kept.
class HOOKED_LOG : public RECORDING_LOG {
public:
    std::function<void(const std::string& a_Text)> m_AtLine{};

    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        if (m_AtLine) m_AtLine(a_Text);
        RECORDING_LOG::Log(a_Level, a_Component, a_Text);
    }
};

class BoardThreads : public BOARD_TEST {
protected:
    BoardThreads() {
        Access::Storage(m_Adaptor) = &m_Turns;
        RecordBmiLogTo(&m_Hooked);
        GiveEth6({0x02, 0, 0, 0, 0, 0x10});
    }
    ~BoardThreads() override {
        BoardDriver().m_AtCall = {};
        RecordBmiLogTo(&m_Log);
        EXPECT_EQ(m_Turns.m_Misuses, 0);
        EXPECT_FALSE(m_Turns.m_IsOpen);
    }

    TURN_STORAGE m_Turns;
    HOOKED_LOG m_Hooked;
};

// ---- writers of one port

class SwitchWriters : public BoardThreads {
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

// ---- readers while Init and Fin replace what they read

class BoardReaders : public BoardThreads {
protected:
    BoardReaders() {
        AddAMC(3, 2);
        Access::mInitDSPInfo(m_Adaptor);
        Access::mInitSwitchInfo(m_Adaptor);
    }

    std::vector<TEXTS> Rows(BMIGroup_e a_Group) {
        CBMITable* l_Made = nullptr;
        EXPECT_EQ(m_Adaptor.GetParamTable(a_Group, l_Made), 1);
        const std::unique_ptr<CBMITable> l_Table(l_Made);
        return TextsOf(*l_Table);
    }
};

TEST_F(BoardReaders, PortsStayForTheTableThatIsBeingMade) {
    const std::weak_ptr<IPMI_SWITCHPORT> l_Port = Access::SwitchPortMap(m_Adaptor).at(1);
    ONCE l_Fin([&] {
        InAnotherThread([&] { m_Adaptor.Fin(); });
        EXPECT_FALSE(l_Port.expired());
    });
    BoardDriver().m_AtCall = [&](const std::string&) { l_Fin(); };
    const auto l_Rows = Rows(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE);
    EXPECT_THAT(l_Rows, SizeIs(4));
    EXPECT_THAT(l_Rows, Each(SizeIs(6)));
    EXPECT_TRUE(l_Port.expired());
    EXPECT_THAT(Rows(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE), SizeIs(0));
}

TEST_F(BoardReaders, PortStaysForItsWriter) {
    ONCE l_Gone([&] { InAnotherThread([&] { m_Adaptor.Fin(); }); });
    BoardDriver().m_AtCall = [&](const std::string&) { l_Gone(); };
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 2);
    CBMIParams l_Values;
    AddInt(l_Values, BMI_HW_AMC_SWITCHPORT_ADMIN, 1);
    EXPECT_EQ(m_Adaptor.WriteParams(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, &l_Keys, &l_Values), 1);
    EXPECT_EQ(TextOf(*m_Turns.m_Files[SWITCH_PORT_FILE][2].GetParamById(BMI_HW_AMC_SWITCHPORT_ADMIN)), "0x30e03 i:1");
}

TEST_F(BoardReaders, DspsStayForTheTableThatIsBeingMade) {
    ONCE l_Gone([&] { InAnotherThread([&] { KnowDSPs({}); }); });
    m_Turns.m_AtRow = [&] { l_Gone(); };
    EXPECT_THAT(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), SizeIs(2));
    EXPECT_THAT(Rows(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), SizeIs(0));
}

TEST_F(BoardReaders, HostInATransactionOfItsOwnIsRefusedTheAddresses) {
    ASSERT_EQ(m_Turns.StartTransaction(), 1);
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, 1);
    CBMIParams l_Values = TextKeyOf(BMI_HW_AMC_DSP_EX_IP, "10.0.0.1");
    EXPECT_EQ(m_Adaptor.AMC_DSP_ReadParamsEx(&l_Keys, &m_Row), 21);
    EXPECT_EQ(m_Adaptor.AMC_DSP_WriteParams(&l_Keys, &l_Values), 0);
    EXPECT_EQ(m_Turns.EndTransaction(), 1);
    EXPECT_EQ(m_Adaptor.AMC_DSP_WriteParams(&l_Keys, &l_Values), 1);
}

TEST_F(BoardReaders, ReadAndWriteWhileInitAndFinGoOn) {
    constexpr int ROUNDS = 50;
    BM_LOG_LEVEL = 0;
    std::atomic<bool> l_bStop = false;
    std::atomic<int> l_Rows = 0;
    std::latch l_Begun(4);
    const auto l_Reader = [&](auto a_Read) {
        a_Read();
        l_Begun.count_down();
        while (!l_bStop)
            a_Read();
    };
    const auto l_Write = [&](BMIGroup_e a_Group, BMIParamId_e a_Key, const CBMIParams& a_Values) {
        CBMIKeys l_Keys = KeyOf(a_Key, 1);
        CBMIParams l_Values = a_Values;
        EXPECT_THAT(m_Adaptor.WriteParams(a_Group, &l_Keys, &l_Values), testing::AnyOf(1, 4));
    };
    std::vector<std::thread> l_Threads;
    l_Threads.emplace_back(l_Reader, [&] {
        CBMITable* l_Made = nullptr;
        EXPECT_EQ(m_Adaptor.AMC_DSP_ReadTableEx(l_Made), 1);
        l_Rows += std::unique_ptr<CBMITable>(l_Made)->GetSize();
    });
    l_Threads.emplace_back(l_Reader, [&] {
        CBMITable* l_Made = nullptr;
        EXPECT_EQ(m_Adaptor.AMC_SwitchPort_ReadTable(l_Made), 1);
        l_Rows += std::unique_ptr<CBMITable>(l_Made)->GetSize();
    });
    l_Threads.emplace_back(l_Reader, [&] {
        l_Write(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, BMI_HW_AMC_DSP_EX_NUM,
                TextKeyOf(BMI_HW_AMC_DSP_EX_IP, "10.0.0.1"));
    });
    l_Threads.emplace_back(l_Reader, [&] {
        CBMIParams l_Values;
        AddInt(l_Values, BMI_HW_AMC_SWITCHPORT_ADMIN, 1);
        l_Write(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE, BMI_HW_AMC_SWITCHPORT_NUM, l_Values);
    });
    l_Begun.wait();
    for (int l_Round = 0; l_Round < ROUNDS; ++l_Round) {
        m_Adaptor.Fin();
        KnowDSPs({});
        EXPECT_EQ(Access::mInitDSPInfo(m_Adaptor), 1);
        EXPECT_EQ(Access::mInitSwitchInfo(m_Adaptor), 1);
    }
    l_bStop = true;
    for (std::thread& l_Thread : l_Threads)
        l_Thread.join();
    EXPECT_GT(l_Rows, 0);
}

} // namespace
