// The adaptor's switch operations by their fixed names: each reaches the class that does the work, with the adaptor's
// members.
#include "adaptor/BoardTest.h"

#include "adaptor/board/IPMI_MAC.h"
#include "adaptor/switch/IPMI_SwitchPort.h"
#include "common/veldo_common_rows.h"

#include <array>
#include <memory>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

namespace {

class AdaptorSwitch : public BOARD_TEST {
protected:
    AdaptorSwitch() { KnowDSPs({"02:00:00:00:00:12"}); }
};

TEST_F(AdaptorSwitch, PortsAreGroup0x30e00AndStoredByTheAdaptorsStorage) {
    EXPECT_EQ(Access::mInitSwitchInfo(m_Adaptor), 1);
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_SWITCHPORT_TABLE), Optional(SizeIs(4)));
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_SWITCHPORT_NUM, 3);
    CBMIParams l_Values;
    AddInt(l_Values, BMI_HW_AMC_SWITCHPORT_ADMIN, 1);
    EXPECT_EQ(m_Adaptor.AMC_SwitchPort_WriteParams(&l_Keys, &l_Values), 1);
    EXPECT_EQ(TextOf(*m_Storage.m_Files[SWITCH_PORT_FILE][3].GetParamById(BMI_HW_AMC_SWITCHPORT_ADMIN)), "0x30e03 i:1");
    EXPECT_EQ(m_Adaptor.AMC_SwitchPort_ReadParams(&l_Keys, &m_Row), 1);
    EXPECT_THAT(Row(), ElementsAre("0x30e01 i:0 key", "0x30e02 i:3 key", "0x30e06 i:3 key",
                                   "0x30e05 s:Switch Port RTM 1", "0x30e03 i:1", "0x30e04 i:0"));
}

TEST_F(AdaptorSwitch, PortObjectsAreMadeWithoutOpeningTheDriver) {
    Access::mCreateSwitchPortObjects(m_Adaptor);
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), SizeIs(4));
    EXPECT_THAT(BoardDriver().m_Opened, IsEmpty());
}

TEST_F(AdaptorSwitch, FinTakesThePortsAndClosesTheHandleButKeepsTheDsps) {
    Access::mInitSwitchInfo(m_Adaptor);
    const std::weak_ptr<IPMI_SWITCHPORT> l_Port = Access::SwitchPortMap(m_Adaptor).at(1);
    EXPECT_EQ(m_Adaptor.Fin(), 1);
    EXPECT_THAT(Access::SwitchPortMap(m_Adaptor), IsEmpty());
    EXPECT_TRUE(l_Port.expired());
    EXPECT_THAT(BoardDriver().m_Closed, ElementsAre(BoardDriver().m_Opened[0].m_Handle));
    EXPECT_THAT(Access::DspMacMap(m_Adaptor), SizeIs(1));
}

TEST_F(AdaptorSwitch, TeachingTellsTheDspsAndBothCpus) {
    const std::array<IPMI_DSP_Info_S, 2> l_Table = {{{"02:00:00:00:00:13", ""}, {"02:00:00:00:00:12", ""}}};
    EXPECT_EQ(Access::mFindSmallestMac(m_Adaptor, l_Table.data(), 2), 1);
    EXPECT_EQ(Access::mTeachSwitch(m_Adaptor, l_Table.data(), 2), 1);
    EXPECT_THAT(BoardDriver().m_Calls, ElementsAre("LearnByDSP 0 02:00:00:00:00:13", "LearnByDSP 1 02:00:00:00:00:12",
                                                   "Learn 7 02:00:00:00:00:10", "Learn 8 02:00:00:00:00:11"));
    MAC_ADDRESS l_CPU1;
    MAC_ADDRESS l_CPU2;
    IPMIAdaptor::CalculateCPUMacAddr("02:00:00:00:00:12", l_CPU1, l_CPU2);
    EXPECT_EQ(l_CPU1.Text(), "02:00:00:00:00:10");
    EXPECT_EQ(l_CPU2.Text(), "02:00:00:00:00:11");
}

} // namespace
