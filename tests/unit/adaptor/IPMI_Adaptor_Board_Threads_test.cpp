// DSPs and switch ports in several threads: readers while Init and Fin replace what they read.
#include "adaptor/BoardThreadTest.h"

#include "adaptor/switch/IPMI_SwitchPort.h"
#include "common/veldo_common_rows.h"

#include <atomic>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Each;
using testing::SizeIs;

namespace {

class BoardReaders : public BOARD_THREAD_TEST {
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
