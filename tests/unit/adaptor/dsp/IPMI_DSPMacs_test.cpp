// The DSP tables: MACs by bay and DSP (0x1200), MAC and IP address by DSP number (0x30d10).
#include "adaptor/BoardTest.h"

#include <algorithm>
#include <cstdlib>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;

namespace {

constexpr std::array<unsigned char, 6> LAST_MAC = {0x00, 0x11, 0x22, 0x33, 0x44, 0xfe};
constexpr const char* FOUND = "IPMIAdaptor :: AMC_DSP_ReadParams - AMC Multirecord found";
constexpr const char* RETURNING_OK = "IPMIAdaptor :: AMC_DSP_ReadParams - returning OK";
constexpr const char* NO_MAC = "Can not find the ethernet(eth6) MAC of AMC";

std::string Searching(int a_Bay, int a_Dsp) {
    return "IPMIAdaptor :: AMC_DSP_ReadParams - Searching BayLocation=" + std::to_string(a_Bay) +
           " DSPNum=" + std::to_string(a_Dsp);
}

// ---- MACs by bay and DSP

class DspMac : public BOARD_TEST {
protected:
    DspMac() { GiveEth6(LAST_MAC); }

    int Read(int a_Bay, int a_Dsp) {
        m_Row = {};
        const CBMIKeys l_Keys = KeysOf({{BMI_HW_AMC_DSP_BAY, a_Bay}, {BMI_HW_AMC_DSP_NUM, a_Dsp}});
        return m_Adaptor.AMC_DSP_ReadParams(&l_Keys, &m_Row);
    }
};

TEST_F(DspMac, RowHoldsBayDspAndMac) {
    AddAMC(3, 3);
    EXPECT_EQ(Read(3, 1), 1);
    EXPECT_THAT(Row(), ElementsAre("0x1201 i:3 key", "0x1202 i:1 key", "0x1203 s:00:11:22:33:45:00"));
    EXPECT_THAT(Lines(), ElementsAre(BmiTrace(Searching(3, 1)), BmiTrace(FOUND), BmiTrace(RETURNING_OK)));
    EXPECT_EQ(Read(3, 3), 1);
    EXPECT_THAT(Row(), ElementsAre("0x1201 i:3 key", "0x1202 i:3 key", "0x1203 s:00:11:22:33:45:02"));
}

TEST_F(DspMac, MacOfTheRecordIsTracedAndNotTaken) {
    BYTES l_Record = AMCRecord(1, 1);
    l_Record.insert(l_Record.end(), {0x12, 0x34, 0x56, 0x78, 0x9A, 0x00});
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 3), "FRU"), l_Record);
    EXPECT_EQ(Read(3, 1), 1);
    EXPECT_THAT(Row(), Contains("0x1203 s:00:11:22:33:45:00"));
    EXPECT_THAT(Lines(), Contains(BmiTrace("12:34:56:78:9a:00")));
}

TEST_F(DspMac, DspOutsideOfTheRecordIsNoRow) {
    AddAMC(3, 2);
    for (const int l_Dsp : {3, 4, 0, -1, 100}) {
        EXPECT_EQ(Read(3, l_Dsp), 4) << l_Dsp;
        EXPECT_THAT(Row(), IsEmpty()) << l_Dsp;
    }
}

TEST_F(DspMac, MoreDspsThanFourCanBeRead) {
    AddAMC(3, 255);
    EXPECT_EQ(Read(3, 255), 1);
    EXPECT_THAT(Row(), Contains("0x1203 s:00:11:22:33:45:FE"));
}

TEST_F(DspMac, WithoutItsKeysItIsNoRow) {
    AddAMC(3, 1);
    const CBMIKeys l_NoKeys;
    const CBMIKeys l_Text = TextKeyOf(BMI_HW_AMC_DSP_BAY, "3");
    for (const CBMIKeys* l_Keys : std::initializer_list<const CBMIKeys*>{nullptr, &l_NoKeys, &l_Text}) {
        EXPECT_EQ(m_Adaptor.AMC_DSP_ReadParams(l_Keys, &m_Row), 4);
        EXPECT_THAT(Lines(), ElementsAre(BmiError("IPMIAdaptor :: AMC_DSP_ReadParams - No Bay Location passed in")));
    }
    const CBMIKeys l_BayOnly = KeyOf(BMI_HW_AMC_DSP_BAY, 3);
    EXPECT_EQ(m_Adaptor.AMC_DSP_ReadParams(&l_BayOnly, &m_Row), 4);
    EXPECT_THAT(Lines(), ElementsAre(BmiError("IPMIAdaptor :: AMC_DSP_ReadParams - No DSPNum passed in")));
    const CBMIKeys l_Keys = KeysOf({{BMI_HW_AMC_DSP_BAY, 3}, {BMI_HW_AMC_DSP_NUM, 1}});
    EXPECT_EQ(m_Adaptor.AMC_DSP_ReadParams(&l_Keys, nullptr), 4);
    EXPECT_THAT(Row(), IsEmpty());
}

TEST_F(DspMac, OutsideTheStartedStateItFails) {
    AddAMC(3, 1);
    for (const int l_State : {0, 1, 3}) {
        BeInState(l_State);
        EXPECT_EQ(Read(3, 1), 0);
        EXPECT_THAT(Lines(), ElementsAre(BmiError("IPMIAdaptor :: AMC_FRU_ReadParams -- In bad state " +
                                                  std::to_string(l_State)))); // the other handler's name
    }
}

TEST_F(DspMac, EmptyBayIsNoRow) {
    AddAMC(3, 1);
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_RTM, 4), "RTM"), AMCRecord(4, 1));
    g_EntityMap[{0, 0, ENTITY_ID_AMC, 0}] = nullptr;
    for (const int l_Bay : {4, 0, 9}) {
        EXPECT_EQ(Read(l_Bay, 1), 4);
        EXPECT_THAT(Errors(), ElementsAre("IPMIAdaptor :: AMC_DSP_ReadParams - FRU not found"));
    }
}

TEST_F(DspMac, AmcWithoutFruDataIsAnInternalError) {
    AddEntity(ENTITY_ID_AMC, 3).m_FRUMap["null"] = nullptr;
    EXPECT_EQ(Read(3, 1), 4);
    EXPECT_THAT(Errors(), ElementsAre("IPMIAdaptor :: AMC_DSP_ReadParams - FRU data missing - internal error "));
}

TEST_F(DspMac, AmcWithoutAVendorRecordIsNoRow) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 3), "FRU"), RTMRecord(1, 1, 1));
    EXPECT_EQ(Read(3, 1), 4);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(DspMac, WithoutEth6TheMacCannotBeObtained) {
    Kernel().m_Interfaces = {};
    AddAMC(3, 1);
    EXPECT_EQ(Read(3, 1), 21);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(BmiTrace(Searching(3, 1)), BmiTrace(FOUND), Error("Fail to Get MAC of eth6"),
                                     BmiError(NO_MAC)));
}

// ---- MAVK_AMC

TEST_F(DspMac, OverrideGivesTheDspsOfItsBay) {
    m_Board.m_Environment["MAVK_AMC"] = "x315";
    EXPECT_EQ(Read(3, 5), 1);
    EXPECT_THAT(Row(), ElementsAre("0x1201 i:3 key", "0x1202 i:5 key", "0x1203 s:00:11:22:33:45:04"));
    EXPECT_THAT(Lines(), ElementsAre(BmiTrace(Searching(3, 5))));
    Kernel().m_Interfaces = {};
    EXPECT_EQ(Read(3, 1), 21);
    EXPECT_THAT(Errors(), ElementsAre("Fail to Get MAC of eth6", NO_MAC));
}

struct OVERRIDE_CASE {
    const char* m_Variable;
    int m_Bay;
    int m_Dsp;
    int m_Result;
};

void PrintTo(const OVERRIDE_CASE& a_Case, std::ostream* a_Stream) {
    *a_Stream << "MAVK_AMC=" << a_Case.m_Variable << " bay " << a_Case.m_Bay << " DSP " << a_Case.m_Dsp;
}

class DspOverride : public DspMac, public testing::WithParamInterface<OVERRIDE_CASE> {};

TEST_P(DspOverride, LeavesTheRestToTheHardware) {
    AddAMC(5, 2);
    m_Board.m_Environment["MAVK_AMC"] = GetParam().m_Variable;
    EXPECT_EQ(Read(GetParam().m_Bay, GetParam().m_Dsp), GetParam().m_Result);
}

INSTANTIATE_TEST_SUITE_P(
    Values, DspOverride,
    testing::Values(OVERRIDE_CASE{"x312", 3, 1, 1}, OVERRIDE_CASE{"x312", 3, 2, 1}, OVERRIDE_CASE{"x312", 3, 3, 4},
                    OVERRIDE_CASE{"x312", 5, 2, 1}, OVERRIDE_CASE{"x312", 4, 1, 4}, // another bay: the hardware's
                    OVERRIDE_CASE{"x511", 5, 2, 1}, OVERRIDE_CASE{"x511", 5, 3, 4}, // more than the override's
                    OVERRIDE_CASE{"x31", 3, 1, 4}, OVERRIDE_CASE{"", 3, 1, 4},      // too short
                    OVERRIDE_CASE{"x31x", 3, 1, 4}, OVERRIDE_CASE{"x319", 3, 9, 1}, OVERRIDE_CASE{"x31277", 3, 2, 1}));

// ---- the table of MACs

TEST_F(DspMac, TableHoldsTheDspsOfBays1To8InOrder) {
    AddAMC(8, 1);
    AddAMC(2, 2);
    AddAMC(9, 1);
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_TABLE),
                Optional(ElementsAre(TEXTS{"0x1201 i:2 key", "0x1202 i:1 key", "0x1203 s:00:11:22:33:45:00"},
                                     TEXTS{"0x1201 i:2 key", "0x1202 i:2 key", "0x1203 s:00:11:22:33:45:01"},
                                     TEXTS{"0x1201 i:8 key", "0x1202 i:1 key", "0x1203 s:00:11:22:33:45:00"})));
}

TEST_F(DspMac, TableTakesFourDspsOfABayAtTheMost) {
    AddAMC(2, 9);
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_TABLE), Optional(SizeIs(4)));
}

TEST_F(DspMac, TableLooksAtAll32AndCountsWhatItFound) {
    AddAMC(2, 1);
    Table(BMI_GROUP_HARDWARE_AMC_DSP_TABLE);
    const auto l_Lines = Lines();
    for (int l_Bay = 1; l_Bay <= 8; ++l_Bay) {
        EXPECT_EQ(std::ranges::count(l_Lines, BmiTrace("IPMIAdaptor :: AMC_DSP_ReadTable -- looking for AMC in Bay  " +
                                                       std::to_string(l_Bay))),
                  1);
        for (int l_Dsp = 1; l_Dsp <= 4; ++l_Dsp)
            EXPECT_EQ(std::ranges::count(l_Lines, BmiTrace(Searching(l_Bay, l_Dsp))), 1);
    }
    EXPECT_EQ(std::ranges::count(l_Lines, BmiTrace("IPMIAdaptor :: AMC_DSP_ReadTable -- Found AMC in Bay  2")), 1);
    EXPECT_EQ(l_Lines.back(), BmiError("IPMIAdaptor :: AMC_DSP_ReadTable -- Returning 1 found "));
}

TEST_F(DspMac, TableOutsideTheStartedStateIsEmptyAndSuccess) {
    AddAMC(2, 1);
    BeInState(1);
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_TABLE), Optional(IsEmpty()));
    const auto l_Errors = Errors();
    ASSERT_THAT(l_Errors, SizeIs(1 + 32 + 1));
    EXPECT_EQ(l_Errors.front(), "IPMIAdaptor :: AMC_DSP_ReadTable -- In bad state 1");
    EXPECT_EQ(l_Errors.back(), "IPMIAdaptor :: AMC_DSP_ReadTable -- Returning 0 found ");
}

TEST_F(DspMac, TracesAreOffUnlessAskedFor) {
    AddAMC(2, 4);
    BM_LOG_LEVEL = 0;
    EXPECT_EQ(Read(2, 1), 1);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(DspMac, TableIsNotWritten) {
    CBMIKeys l_Keys;
    EXPECT_EQ(m_Adaptor.WriteParams(0x1200, &l_Keys, &m_Row), 0);
}

// ---- MAC and IP address by DSP number

class DspEx : public BOARD_TEST {
protected:
    DspEx() {
        KnowDSPs({"02:00:00:00:00:12", "02:00:00:00:00:13"});
        StoreIP(1, "10.0.0.1");
        StoreIP(2, "10.0.0.2");
    }

    int Read(int a_Dsp) {
        m_Row = {};
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
        return m_Adaptor.AMC_DSP_ReadParamsEx(&l_Keys, &m_Row);
    }

    int Write(int a_Dsp, const std::string& a_IP) {
        CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
        CBMIParams l_Values = TextKeyOf(BMI_HW_AMC_DSP_EX_IP, a_IP);
        return m_Adaptor.WriteParams(0x30d10, &l_Keys, &l_Values);
    }
};

TEST_F(DspEx, RowHoldsIndexNumberMacAndIp) {
    EXPECT_EQ(Read(2), 1);
    EXPECT_THAT(Row(),
                ElementsAre("0x30d11 i:0 key", "0x30d12 i:2 key", "0x30d13 s:02:00:00:00:00:13", "0x30d14 s:10.0.0.2"));
}

TEST_F(DspEx, UnknownDspIsNoRow) {
    for (const int l_Dsp : {0, 3, -1}) {
        EXPECT_EQ(Read(l_Dsp), 4) << l_Dsp;
        EXPECT_THAT(Row(), IsEmpty());
    }
    Access::KnowDSPs(m_Adaptor, {{0, "never a DSP"}});
    EXPECT_EQ(Read(0), 4);
}

TEST_F(DspEx, WithoutItsKeyItIsNoRow) {
    const CBMIKeys l_NoKeys;
    const CBMIKeys l_Text = TextKeyOf(BMI_HW_AMC_DSP_EX_NUM, "1");
    for (const CBMIKeys* l_Keys : std::initializer_list<const CBMIKeys*>{nullptr, &l_NoKeys, &l_Text})
        EXPECT_EQ(m_Adaptor.AMC_DSP_ReadParamsEx(l_Keys, &m_Row), 4);
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, 1);
    EXPECT_EQ(m_Adaptor.AMC_DSP_ReadParamsEx(&l_Keys, nullptr), 4);
}

TEST_F(DspEx, AddressThatCannotBeReadIsNotObtained) {
    m_Storage.m_Refusals = {{"RetrieveRow", 21}};
    EXPECT_EQ(Read(1), 21);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Can not get IP Address of dsp[1]")));
}

TEST_F(DspEx, TableHoldsEveryDspInOrder) {
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE),
                Optional(ElementsAre(
                    TEXTS{"0x30d11 i:0 key", "0x30d12 i:1 key", "0x30d13 s:02:00:00:00:00:12", "0x30d14 s:10.0.0.1"},
                    TEXTS{"0x30d11 i:0 key", "0x30d12 i:2 key", "0x30d13 s:02:00:00:00:00:13", "0x30d14 s:10.0.0.2"})));
}

TEST_F(DspEx, TableWithoutDspsIsEmptyAndSuccess) {
    KnowDSPs({});
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), Optional(IsEmpty()));
    EXPECT_THAT(m_Storage.m_Calls, IsEmpty());
}

TEST_F(DspEx, TableLeavesOutADspWithoutAddressAndGivesTheLastLookUpsResult) {
    m_Storage.m_Refusals = {{"RetrieveRow 1", 4}};
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, 1), Optional(SizeIs(1)));
    m_Storage.m_Refusals = {{"RetrieveRow 2", 4}};
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE, 0), Optional(SizeIs(1)));
}

TEST_F(DspEx, TableWalksAsManyNumbersAsThereAreDsps) {
    Access::KnowDSPs(m_Adaptor, {{1, "02:00:00:00:00:12"}, {3, "02:00:00:00:00:14"}});
    StoreIP(3, "10.0.0.3");
    EXPECT_THAT(Table(BMI_GROUP_HARDWARE_AMC_DSP_EX_TABLE), Optional(SizeIs(1)));
}

TEST_F(DspEx, WriteStoresTheAddressAsItCame) {
    for (const char* l_IP : {"10.1.1.1", "no address at all; reboot", ""}) {
        EXPECT_EQ(Write(2, l_IP), 1);
        EXPECT_EQ(Read(2), 1);
        EXPECT_THAT(Row(), Contains(std::string("0x30d14 s:") + l_IP));
    }
    EXPECT_THAT(m_Storage.m_Calls, Contains("SetRow telq_qub_dsp_iptable_cfg.xml 0x30d12 i:2 key | 0x30d12 i:2 key, "
                                            "0x30d14 s:10.1.1.1"));
}

TEST_F(DspEx, WriteForADspWithoutMacStoresNothing) {
    for (const int l_Dsp : {0, 3})
        EXPECT_EQ(Write(l_Dsp, "10.1.1.1"), 4) << l_Dsp;
    EXPECT_THAT(m_Storage.m_Calls, IsEmpty());
}

TEST_F(DspEx, WriteWithoutKeyOrValueMissesIt) {
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, 1);
    CBMIKeys l_NoKeys;
    CBMIParams l_Values = TextKeyOf(BMI_HW_AMC_DSP_EX_IP, "10.1.1.1");
    CBMIParams l_Number = KeyOf(BMI_HW_AMC_DSP_EX_IP, 10);
    EXPECT_EQ(m_Adaptor.AMC_DSP_WriteParams(nullptr, &l_Values), 23);
    EXPECT_EQ(m_Adaptor.AMC_DSP_WriteParams(&l_Keys, nullptr), 23);
    EXPECT_EQ(m_Adaptor.AMC_DSP_WriteParams(nullptr, nullptr), 23);
    EXPECT_EQ(m_Adaptor.AMC_DSP_WriteParams(&l_NoKeys, &l_Values), 23);
    EXPECT_EQ(m_Adaptor.AMC_DSP_WriteParams(&l_Keys, &m_Row), 23);
    EXPECT_EQ(m_Adaptor.AMC_DSP_WriteParams(&l_Keys, &l_Number), 23);
    EXPECT_THAT(m_Storage.m_Calls, IsEmpty());
}

TEST_F(DspEx, WriteGivesTheStoragesResult) {
    m_Storage.m_Refusals = {{"SetRow", 21}};
    EXPECT_EQ(Write(1, "10.1.1.1"), 21);
    m_Storage.m_Refusals = {{"EndTransaction", 0}};
    EXPECT_EQ(Write(1, "10.1.1.1"), 0);
}

} // namespace
