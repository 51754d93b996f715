// The DSPs' MAC addresses by bay and DSP (0x1200): which there are, and from what they are counted.
#include "adaptor/dsp/IPMI_DSPMacs.h"

#include "adaptor/dsp/DSPTest.h"

#include <algorithm>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
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

class DspMac : public DSP_TEST {
protected:
    DspMac() { GiveEth6(LAST_MAC); }

    int Read(int a_Bay, int a_Dsp) {
        m_Row = {};
        const CBMIKeys l_Keys = KeysOf({{BMI_HW_AMC_DSP_BAY, a_Bay}, {BMI_HW_AMC_DSP_NUM, a_Dsp}});
        return m_Table.ReadRow(&l_Keys, &m_Row);
    }

    const DSP_MAC_TABLE m_Table{m_Frame};
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
        EXPECT_EQ(m_Table.ReadRow(l_Keys, &m_Row), 4);
        EXPECT_THAT(Lines(), ElementsAre(BmiError("IPMIAdaptor :: AMC_DSP_ReadParams - No Bay Location passed in")));
    }
    const CBMIKeys l_BayOnly = KeyOf(BMI_HW_AMC_DSP_BAY, 3);
    EXPECT_EQ(m_Table.ReadRow(&l_BayOnly, &m_Row), 4);
    EXPECT_THAT(Lines(), ElementsAre(BmiError("IPMIAdaptor :: AMC_DSP_ReadParams - No DSPNum passed in")));
    const CBMIKeys l_Keys = KeysOf({{BMI_HW_AMC_DSP_BAY, 3}, {BMI_HW_AMC_DSP_NUM, 1}});
    EXPECT_EQ(m_Table.ReadRow(&l_Keys, nullptr), 4);
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
    m_Board.m_Interfaces.clear();
    AddAMC(3, 1);
    EXPECT_EQ(Read(3, 1), 21);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(BmiTrace(Searching(3, 1)), BmiTrace(FOUND), Error("Fail to Get MAC of eth6"),
                                     BmiError(NO_MAC)));
}

// ---- MAVK_AMC

TEST_F(DspMac, OverrideGivesTheDspsOfItsBay) {
    SetOverride("x315");
    EXPECT_EQ(Read(3, 5), 1);
    EXPECT_THAT(Row(), ElementsAre("0x1201 i:3 key", "0x1202 i:5 key", "0x1203 s:00:11:22:33:45:04"));
    EXPECT_THAT(Lines(), ElementsAre(BmiTrace(Searching(3, 5))));
    m_Board.m_Interfaces.clear();
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
    SetOverride(GetParam().m_Variable);
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
    EXPECT_THAT(RowsOf(m_Table), ElementsAre(TEXTS{"0x1201 i:2 key", "0x1202 i:1 key", "0x1203 s:00:11:22:33:45:00"},
                                             TEXTS{"0x1201 i:2 key", "0x1202 i:2 key", "0x1203 s:00:11:22:33:45:01"},
                                             TEXTS{"0x1201 i:8 key", "0x1202 i:1 key", "0x1203 s:00:11:22:33:45:00"}));
}

TEST_F(DspMac, TableTakesFourDspsOfABayAtTheMost) {
    AddAMC(2, 9);
    EXPECT_THAT(RowsOf(m_Table), SizeIs(4));
}

TEST_F(DspMac, TableLooksAtAll32AndCountsWhatItFound) {
    AddAMC(2, 1);
    RowsOf(m_Table);
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
    EXPECT_THAT(RowsOf(m_Table), IsEmpty());
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

// ---- what they are counted from

TEST_F(DspMac, HostsMacIsEth6sInSmallLetters) {
    GiveEth6({0x02, 0x00, 0x5e, 0xAB, 0x00, 0x09});
    std::string l_Mac;
    EXPECT_EQ(m_Table.HostMac(l_Mac), 1);
    EXPECT_EQ(l_Mac, "02:00:5e:ab:00:09");
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(DspMac, HostWithoutEth6HasNoMacWhateverOtherInterfacesThereAre) {
    m_Board.m_Interfaces = {{"eth", {"10.0.0.1"}}, {"eth60", {"10.0.0.2"}}, {"ETH6", {"10.0.0.4"}}};
    std::string l_Mac = "untouched";
    EXPECT_EQ(m_Table.HostMac(l_Mac), 0);
    EXPECT_EQ(l_Mac, "untouched");
    EXPECT_THAT(Lines(), ElementsAre(Error("Fail to Get MAC of eth6")));
}

struct COUNTED_MACS {
    const char* m_Base;
    TEXTS m_Macs;
};

void PrintTo(const COUNTED_MACS& a_Case, std::ostream* a_Stream) {
    *a_Stream << a_Case.m_Base;
}

class DspMacs : public testing::TestWithParam<COUNTED_MACS> {};

TEST_P(DspMacs, AreCountedOnFromTheBaseByTwo) {
    TEXTS l_Macs(GetParam().m_Macs.size());
    EXPECT_TRUE(DSP_MAC_TABLE::Calculate(GetParam().m_Base, static_cast<int>(l_Macs.size()), l_Macs.data()));
    EXPECT_EQ(l_Macs, GetParam().m_Macs);
}

INSTANTIATE_TEST_SUITE_P(
    Bases, DspMacs,
    testing::Values(COUNTED_MACS{"00:11:22:33:44:fe", {"00:11:22:33:45:00", "00:11:22:33:45:01", "00:11:22:33:45:02"}},
                    COUNTED_MACS{"ab:cd:ef:00:00:00", {"AB:CD:EF:00:00:02", "AB:CD:EF:00:00:03"}},
                    COUNTED_MACS{"AB:CD:00:ff:ff:fe", {"AB:CD:01:00:00:00"}},
                    COUNTED_MACS{"02:01:ff:ff:ff:fd", {"02:01:FF:FF:FF:FF", "02:01:00:00:00:00", "02:01:00:00:00:01"}},
                    COUNTED_MACS{"02:01:ff:ff:ff:fe", {"02:01:00:00:00:00"}}, COUNTED_MACS{"02:01:00:00:00:00", {}}));

TEST(DspMacsOfABadBase, AreLeftEmpty) {
    for (const char* l_Base : {"", "00:11:22:33:44:5", "zz:11:22:33:44:55"}) {
        TEXTS l_Macs(2);
        EXPECT_FALSE(DSP_MAC_TABLE::Calculate(l_Base, 2, l_Macs.data())) << l_Base;
        EXPECT_THAT(l_Macs, ElementsAre("", "")) << l_Base;
    }
}

TEST(DspMacsOfARecord, AreAsManyAsItSays) {
    TEXTS l_Macs(255);
    EXPECT_TRUE(DSP_MAC_TABLE::Calculate("02:00:00:00:00:00", 255, l_Macs.data()));
    EXPECT_EQ(l_Macs.back(), "02:00:00:00:01:00");
}

} // namespace
