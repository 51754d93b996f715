// The adaptor's DSP operations by their fixed names: each reaches the class that does the work, with the adaptor's
// members.
#include "adaptor/BoardTest.h"

#include "adaptor/dsp/IPMI_DSPStore.h"

#include <array>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

namespace {

class AdaptorDsp : public BOARD_TEST {
protected:
    AdaptorDsp() { GiveEth6({0x02, 0, 0, 0, 0, 0x10}); }
};

TEST_F(AdaptorDsp, MacsOfABayAreGroup0x1200) {
    AddAMC(3, 1);
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_TABLE),
                Optional(ElementsAre(TEXTS{"0x1201 i:3 key", "0x1202 i:1 key", "0x1203 s:02:00:00:00:00:12"})));
    CBMIKeys l_Keys = KeysOf({{BMI_HW_AMC_DSP_BAY, 3}, {BMI_HW_AMC_DSP_NUM, 1}});
    EXPECT_EQ(m_Adaptor.AMC_DSP_ReadParams(&l_Keys, &m_Row), 1);
    EXPECT_THAT(Row(), ElementsAre("0x1201 i:3 key", "0x1202 i:1 key", "0x1203 s:02:00:00:00:00:12"));
    EXPECT_EQ(m_Adaptor.WriteParams(0x1200, &l_Keys, &m_Row), 0);
}

TEST_F(AdaptorDsp, AddressesByNumberAreGroup0x30d10) {
    const TEXTS l_Expected = {"0x30d11 i:0 key", "0x30d12 i:1 key", "0x30d13 s:02:00:00:00:00:12",
                              "0x30d14 s:10.0.0.1"};
    KnowDSPs({"02:00:00:00:00:12"});
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, 1);
    CBMIParams l_Values = TextKeyOf(BMI_HW_AMC_DSP_EX_IP, "10.0.0.1");
    EXPECT_EQ(m_Adaptor.AMC_DSP_WriteParams(&l_Keys, &l_Values), 1);
    EXPECT_EQ(m_Adaptor.AMC_DSP_ReadParamsEx(&l_Keys, &m_Row), 1);
    EXPECT_EQ(Row(), l_Expected);
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), Optional(ElementsAre(l_Expected)));
}

TEST_F(AdaptorDsp, FirstMacIsEth6s) {
    std::string l_Mac;
    EXPECT_EQ(m_Adaptor.GetAMCFirstMac(l_Mac), 1);
    EXPECT_EQ(l_Mac, "02:00:00:00:00:10");
    std::array<std::string, 2> l_Macs;
    EXPECT_TRUE(IPMIAdaptor::CalculateDspMacAddr(l_Mac, 2, l_Macs.data()));
    EXPECT_THAT(l_Macs, ElementsAre("02:00:00:00:00:12", "02:00:00:00:00:13"));
}

TEST_F(AdaptorDsp, InfoIsTheMapTheDefaultsAndTheKernelParameter) {
    for (const uint8_t l_Count : {1, 2, 3, 4}) {
        AddAMC(3, l_Count);
        EXPECT_EQ(Access::mInitDSPInfo(m_Adaptor), 1);
        EXPECT_THAT(Access::DspMacMap(m_Adaptor), SizeIs(l_Count));
        EXPECT_EQ(m_Board.Remap(), l_Count == 3 ? 1 : 0) << int{l_Count};
    }
    EXPECT_THAT(m_Storage.m_Files[DSP_IP_FILE], SizeIs(4));
}

TEST_F(AdaptorDsp, InfoOfNoDspEmptiesTheMapAndLeavesTheKernelParameterAlone) {
    KnowDSPs({"old"});
    EXPECT_EQ(Access::mInitDSPInfo(m_Adaptor), 1);
    EXPECT_THAT(Access::DspMacMap(m_Adaptor), IsEmpty());
    EXPECT_EQ(m_Board.Remap(), std::nullopt);
}

TEST_F(AdaptorDsp, IpAddressesAreTheStorages) {
    EXPECT_EQ(Access::mInitIPInfo(m_Adaptor), 1);
    std::string l_IP;
    EXPECT_EQ(Access::mGetDspIpAddrDB(m_Adaptor, 4, l_IP), 1);
    EXPECT_EQ(l_IP, "192.168.0.20");
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 4, "10.0.0.4", true), 0); // it is there already
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 4, "10.0.0.4", false), 1);
    EXPECT_EQ(Access::mGetDspIpAddrDB(m_Adaptor, 4, l_IP), 1);
    EXPECT_EQ(l_IP, "10.0.0.4");
}

TEST_F(AdaptorDsp, EntryOfStartUpHasBothAddresses) {
    KnowDSPs({"02:00:00:00:00:12"});
    StoreIP(1, "192.168.0.23");
    std::array<IPMI_DSP_Info_S, 1> l_Table;
    EXPECT_EQ(Access::mFillDSPInfo(m_Adaptor, 0, 1, l_Table.data()), 1);
    EXPECT_EQ(l_Table[0].m_MAC, "02:00:00:00:00:12");
    EXPECT_EQ(l_Table[0].m_IP, "192.168.0.23");
    std::string l_HostIP;
    EXPECT_EQ(Access::mGetIPAddrByName(m_Adaptor, "eth6", l_HostIP), 1);
    EXPECT_EQ(l_HostIP, "192.168.0.1");
    EXPECT_TRUE(Access::mIsOnSameSubnet(m_Adaptor, l_Table[0].m_IP, l_HostIP, "255.255.255.0"));
    EXPECT_FALSE(Access::mIsOnSameSubnet(m_Adaptor, l_Table[0].m_IP, "192.168.1.1", "255.255.255.0"));
}

} // namespace
