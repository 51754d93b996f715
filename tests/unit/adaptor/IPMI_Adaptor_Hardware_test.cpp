// The adaptor's operations of the hardware tables, each of which hands its call on.
#include "adaptor/AdaptorTest.h"

#include "ipmi/IPMI_Probe.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::Optional;
using testing::SizeIs;

namespace {

class AdaptorHardware : public ADAPTOR_TEST {
protected:
    AdaptorHardware() {
        IPMI_ENTITY& l_Board = AddEntity(ENTITY_ID_BASEBOARD, 7);
        AddFRUWithTexts(l_Board, "B");
        AddMC(l_Board, "MC", 2, 17);
        AddMultiRecord(AddFRUWithTexts(AddEntity(ENTITY_ID_AMC, 3), "A"), AMCRecord(4, 1));
        AddMultiRecord(AddFRUWithTexts(AddEntity(ENTITY_ID_RTM, RTM_BAY), "R"), RTMRecord(8, 2, 6));
    }

    /// The first parameter of a row that reads by this key give.
    std::string Read(BMIGroup_e a_Group, const CBMIKeys& a_Keys) {
        CBMIParams* l_Row = nullptr;
        EXPECT_EQ(m_Adaptor.ReadParams(a_Group, &a_Keys, l_Row), 1);
        const std::unique_ptr<CBMIParams> l_Owner(l_Row);
        return TextsOf(*l_Row).front();
    }
};

TEST_F(AdaptorHardware, EveryGroupIsReadFromItsOwnTable) {
    EXPECT_EQ(Read(BMI_GROUP_HARDWARE_AMC_FRU_TABLE, KeyOf(BMI_HW_AMC_FRU_BAY, 3)), "0x303 i:3 key");
    EXPECT_EQ(Read(BMI_GROUP_HARDWARE_RTM_FRU_TABLE, {}), "0x401 i:2");
    EXPECT_EQ(Read(BMI_GROUP_HARDWARE_BOARD, {}), "0x30001 s:B board product name");
    EXPECT_EQ(Read(BMI_GROUP_HARDWARE_AMC_TABLE, KeyOf(BMI_HW_AMC_BAY, 3)), "0x30202 s:A board product name");
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_FRU_TABLE),
                Optional(ElementsAre(TEXTS{"0x303 i:3 key", "0x302 i:4", "0x301 i:1"})));
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_RTM_FRU_TABLE),
                Optional(ElementsAre(TEXTS{"0x401 i:2", "0x402 i:8", "0x403 i:6"})));
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_BOARD), Optional(SizeIs(1)));
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_TABLE), Optional(SizeIs(2)));
}

TEST_F(AdaptorHardware, RunStatusIsKeptAndToldToTheHost) {
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    CBMIParams l_Row = KeyOf(BMI_HW_AMC_RUN_STATUS, 4);
    EXPECT_EQ(m_Adaptor.WriteParams(BMI_GROUP_HARDWARE_AMC_TABLE, &l_Keys, &l_Row), 1);
    ASSERT_EQ(m_Manager.Events().size(), 1U);
    EXPECT_THAT(TextsOf(m_Manager.Events()[0].m_Params), ElementsAre("0x30208 i:4", "0x30201 i:3 key"));
    EXPECT_EQ(sg_AMC_MAP.at(3)->m_RunStatus, 4);
    IPMI_TEST_ACCESS::Manager(m_Adaptor) = nullptr;
    EXPECT_EQ(m_Adaptor.WriteParams(BMI_GROUP_HARDWARE_AMC_TABLE, &l_Keys, &l_Row), 1);
    EXPECT_EQ(m_Manager.Events().size(), 1U);
}

TEST_F(AdaptorHardware, BoardIsResetByTheProbe) {
    ENTITYCAPTURE l_Probe{Fake().Domain(), nullptr, &m_Log};
    g_ENTITYCapture = &l_Probe;
    CBMIKeys l_Keys;
    EXPECT_EQ(m_Adaptor.WriteParams(BMI_GROUP_HARDWARE_BOARD, &l_Keys, &m_Row), 1);
    g_ENTITYCapture = nullptr;
    EXPECT_EQ(Fake().SentBytes(), (std::vector<BYTES>{{0x2C, 0x04, 0x00, 0x00, 0x00}}));
}

TEST_F(AdaptorHardware, OverridesAreTheBoards) {
    m_Board.m_Environment["MAVK_RTM"] = "2184";
    m_Board.m_OverrideLines = TEXTS{"3", "5", "7", "9"};
    std::vector<int> l_Values(4);
    l_Values[0] = m_Adaptor.ReadRTMConfig(&l_Values[1], &l_Values[2], &l_Values[3]);
    EXPECT_THAT(l_Values, ElementsAre(2, 1, 8, 4));
    l_Values[0] = m_Adaptor.ReadRTMConfigFile(&l_Values[1], &l_Values[2], &l_Values[3]);
    EXPECT_THAT(l_Values, ElementsAre(3, 5, 7, 9));
}

TEST_F(AdaptorHardware, DriverIsToldByTheBoard) {
    EXPECT_EQ(m_Adaptor.WriteProcFile(), 1);
    EXPECT_THAT(m_Board.Records(), SizeIs(7));
}

} // namespace
