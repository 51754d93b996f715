// The DSPs' addresses: MAC and IP address by DSP number (0x30d10), which DSPs Init makes known, one DSP's entry for
// start-up.
#include "adaptor/dsp/IPMI_DSPs.h"

#include "adaptor/dsp/DSPTest.h"
#include "adaptor/dsp/IPMI_DSPStore.h"

#include <array>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::SizeIs;

namespace {

constexpr const char* NO_TABLE = "Can not get DSP Info table";

// ---- MAC and IP address by DSP number

class DspEx : public DSP_TEST {
protected:
    DspEx() {
        KnowDSPs({{1, "02:00:00:00:00:12"}, {2, "02:00:00:00:00:13"}});
        StoreIP(1, "10.0.0.1");
        StoreIP(2, "10.0.0.2");
    }

    int Read(int a_Dsp) {
        m_Row = {};
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
        return m_DSPs.ReadRow(&l_Keys, &m_Row);
    }

    int Write(int a_Dsp, const std::string& a_IP) {
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, a_Dsp);
        const CBMIParams l_Values = TextKeyOf(BMI_HW_AMC_DSP_EX_IP, a_IP);
        return m_DSPs.Write(&l_Keys, &l_Values);
    }

    const DSP_ADDRESSES m_DSPs{m_Frame, m_Macs};
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
    KnowDSPs({{0, "never a DSP"}});
    EXPECT_EQ(Read(0), 4);
}

TEST_F(DspEx, WithoutItsKeyItIsNoRow) {
    const CBMIKeys l_NoKeys;
    const CBMIKeys l_Text = TextKeyOf(BMI_HW_AMC_DSP_EX_NUM, "1");
    for (const CBMIKeys* l_Keys : std::initializer_list<const CBMIKeys*>{nullptr, &l_NoKeys, &l_Text})
        EXPECT_EQ(m_DSPs.ReadRow(l_Keys, &m_Row), 4);
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, 1);
    EXPECT_EQ(m_DSPs.ReadRow(&l_Keys, nullptr), 4);
}

TEST_F(DspEx, AddressThatCannotBeReadIsNotObtained) {
    m_Storage.m_Refusals = {{"RetrieveRow", 21}};
    EXPECT_EQ(Read(1), 21);
    EXPECT_THAT(Row(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Can not get IP Address of dsp[1]")));
}

TEST_F(DspEx, TableHoldsEveryDspInOrder) {
    EXPECT_THAT(
        RowsOf(m_DSPs),
        ElementsAre(TEXTS{"0x30d11 i:0 key", "0x30d12 i:1 key", "0x30d13 s:02:00:00:00:00:12", "0x30d14 s:10.0.0.1"},
                    TEXTS{"0x30d11 i:0 key", "0x30d12 i:2 key", "0x30d13 s:02:00:00:00:00:13", "0x30d14 s:10.0.0.2"}));
}

TEST_F(DspEx, TableWithoutDspsIsEmptyAndSuccess) {
    KnowDSPs({});
    EXPECT_THAT(RowsOf(m_DSPs), IsEmpty());
    EXPECT_THAT(m_Storage.m_Calls, IsEmpty());
}

TEST_F(DspEx, TableLeavesOutADspWithoutAddressAndGivesTheLastLookUpsResult) {
    m_Storage.m_Refusals = {{"RetrieveRow 1", 4}};
    EXPECT_THAT(RowsOf(m_DSPs, 1), SizeIs(1));
    m_Storage.m_Refusals = {{"RetrieveRow 2", 4}};
    EXPECT_THAT(RowsOf(m_DSPs, 0), SizeIs(1));
}

TEST_F(DspEx, TableWalksAsManyNumbersAsThereAreDsps) {
    KnowDSPs({{1, "02:00:00:00:00:12"}, {3, "02:00:00:00:00:14"}});
    StoreIP(3, "10.0.0.3");
    EXPECT_THAT(RowsOf(m_DSPs), SizeIs(1));
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
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_DSP_EX_NUM, 1);
    const CBMIKeys l_NoKeys;
    const CBMIParams l_Values = TextKeyOf(BMI_HW_AMC_DSP_EX_IP, "10.1.1.1");
    const CBMIParams l_Number = KeyOf(BMI_HW_AMC_DSP_EX_IP, 10);
    EXPECT_EQ(m_DSPs.Write(nullptr, &l_Values), 23);
    EXPECT_EQ(m_DSPs.Write(&l_Keys, nullptr), 23);
    EXPECT_EQ(m_DSPs.Write(nullptr, nullptr), 23);
    EXPECT_EQ(m_DSPs.Write(&l_NoKeys, &l_Values), 23);
    EXPECT_EQ(m_DSPs.Write(&l_Keys, &m_Row), 23);
    EXPECT_EQ(m_DSPs.Write(&l_Keys, &l_Number), 23);
    EXPECT_THAT(m_Storage.m_Calls, IsEmpty());
}

TEST_F(DspEx, WriteGivesTheStoragesResult) {
    m_Storage.m_Refusals = {{"SetRow", 21}};
    EXPECT_EQ(Write(1, "10.1.1.1"), 21);
    m_Storage.m_Refusals = {{"EndTransaction", 0}};
    EXPECT_EQ(Write(1, "10.1.1.1"), 0);
}

// ---- Init

class DspInit : public DSP_TEST {
protected:
    DspInit() { GiveEth6({0x02, 0, 0, 0, 0, 0x10}); }

    int Init() {
        return DSP_ADDRESSES(m_Frame, m_Macs).Init([&](int a_Count) { m_Counts.push_back(a_Count); });
    }

    /// The counts that Init told of.
    std::vector<int> m_Counts{};
};

TEST_F(DspInit, DspsAreNumberedInTheOrderOfTheRows) {
    AddAMC(7, 1);
    AddAMC(2, 2);
    EXPECT_EQ(Init(), 1);
    EXPECT_THAT(Macs(), ElementsAre(Pair(1, "02:00:00:00:00:12"), Pair(2, "02:00:00:00:00:13"),
                                    Pair(3, "02:00:00:00:00:12"))); // two AMCs have the same ones
    EXPECT_THAT(m_Counts, ElementsAre(3));
    EXPECT_THAT(Lines(), Not(Contains(BmiError(NO_TABLE))));
}

TEST_F(DspInit, CountIsToldBeforeTheDspsAreKnown) {
    AddAMC(3, 2);
    std::size_t l_Known = 99;
    DSP_ADDRESSES(m_Frame, m_Macs).Init([&](int) { l_Known = Macs().size(); });
    EXPECT_EQ(l_Known, 0U);
    EXPECT_THAT(Macs(), SizeIs(2));
}

TEST_F(DspInit, WhatWasKnownBeforeIsReplacedByWhatIsFound) {
    KnowDSPs({{1, "old"}, {5, "older"}});
    AddAMC(3, 1);
    EXPECT_EQ(Init(), 1);
    EXPECT_THAT(Macs(), ElementsAre(Pair(1, "02:00:00:00:00:12")));
    ResetProcess(); // no AMC any more
    EXPECT_EQ(Init(), 1);
    EXPECT_THAT(Macs(), IsEmpty());
}

TEST_F(DspInit, WithoutDspsTheTableIsMissedAndTheIpTableSeeded) {
    EXPECT_EQ(Init(), 1);
    EXPECT_THAT(Macs(), IsEmpty());
    EXPECT_THAT(m_Counts, IsEmpty());
    EXPECT_THAT(Lines(), Contains(BmiError(NO_TABLE)));
    EXPECT_THAT(m_Storage.m_Files[DSP_IP_FILE], SizeIs(4));
}

TEST_F(DspInit, WithoutEth6NoDspIsKnown) {
    m_Board.m_Interfaces.clear();
    AddAMC(3, 4);
    EXPECT_EQ(Init(), 1);
    EXPECT_THAT(Macs(), IsEmpty());
    EXPECT_THAT(Errors(), Contains(NO_TABLE));
}

TEST_F(DspInit, OutsideTheStartedStateNoDspIsKnown) {
    BeInState(1);
    AddAMC(3, 4);
    EXPECT_EQ(Init(), 1);
    EXPECT_THAT(Macs(), IsEmpty());
}

TEST_F(DspInit, ResultIsThatOfStoringTheDefaults) {
    AddAMC(3, 1);
    m_Storage.m_Refusals = {{"CreateRow", 21}};
    EXPECT_EQ(Init(), 21);
    EXPECT_THAT(Macs(), SizeIs(1));
    m_UsedStorage = nullptr;
    EXPECT_EQ(Init(), 0);
    EXPECT_THAT(Macs(), SizeIs(1));
}

TEST_F(DspInit, CountIsAnErrorLineAndTheRecordsMacATrace) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 3), "FRU"),
                   {0x57, 0x01, 0x00, 0x02, 0x00, 0x01, 0x01, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC});
    Init();
    EXPECT_THAT(Lines(), Contains(BmiTrace("12:34:56:78:9a:bc")));
    BM_LOG_LEVEL = 0;
    Init();
    const auto l_Lines = Lines();
    EXPECT_EQ(l_Lines.back(), BmiError("IPMIAdaptor :: AMC_DSP_ReadTable -- Returning 1 found "));
    EXPECT_THAT(l_Lines, testing::Each(testing::Field(&LOG_LINE::m_Level, 3)));
}

// ---- the rows of 0x1200

class DspRows : public DSP_TEST {
protected:
    static CBMIParams MacRow(const std::string& a_Mac) { return TextKeyOf(BMI_HW_AMC_DSP_MAC, a_Mac); }

    const CBMIParams m_First = MacRow("02:00:00:00:00:12");
    const CBMIParams m_Bare = KeyOf(BMI_HW_AMC_DSP_NUM, 2);
    const CBMIParams m_Third = MacRow("02:00:00:00:00:14");
};

TEST_F(DspRows, RowWithoutAMacLeavesItsNumberFree) {
    EXPECT_THAT(DSP_ADDRESSES::MacsIn(std::array{&m_First, &m_Bare, &m_Third}),
                ElementsAre(Pair(1, "02:00:00:00:00:12"), Pair(3, "02:00:00:00:00:14")));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(DspRows, MissingRowEndsTheWalkWithOneLine) {
    const CBMIParams* const l_Missing = nullptr;
    EXPECT_THAT(DSP_ADDRESSES::MacsIn(std::array{&m_First, l_Missing, &m_Third, l_Missing}),
                ElementsAre(Pair(1, "02:00:00:00:00:12")));
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Can not get MAC Address of dsp[2]")));
    EXPECT_THAT(DSP_ADDRESSES::MacsIn(std::array{l_Missing, &m_First}), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Can not get MAC Address of dsp[1]")));
}

// ---- one DSP's entry in the table of start-up

class DspEntry : public DSP_TEST {
protected:
    const DSP_ADDRESSES m_DSPs{m_Frame, m_Macs};
};

TEST_F(DspEntry, EntryHoldsMacAndIp) {
    KnowDSPs({{1, "02:00:00:00:00:12"}, {2, "02:00:00:00:00:13"}});
    StoreIP(2, "10.0.0.2");
    std::array<IPMI_DSP_Info_S, 2> l_Table;
    EXPECT_EQ(m_DSPs.Fill(1, 2, l_Table.data()), 1);
    EXPECT_EQ(l_Table[1].m_MAC, "02:00:00:00:00:13");
    EXPECT_EQ(l_Table[1].m_IP, "10.0.0.2");
    EXPECT_EQ(m_DSPs.Fill(0, 1, l_Table.data()), 0); // no address
    EXPECT_EQ(l_Table[0].m_MAC, "02:00:00:00:00:12");
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Can not get IP Address of dsp[1]")));
}

TEST_F(DspEntry, EntryOfAnUnknownDspIsReported) {
    std::array<IPMI_DSP_Info_S, 1> l_Table;
    EXPECT_EQ(m_DSPs.Fill(0, 3, l_Table.data()), 0);
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Fail to get MAC Address of DSP[3]")));
}

TEST_F(DspEntry, EntryOutsideTheTableIsNotWritten) {
    KnowDSPs({{1, "02:00:00:00:00:12"}});
    StoreIP(1, "10.0.0.1");
    std::array<IPMI_DSP_Info_S, 3> l_Table;
    for (const int l_Index : {-1, 1, 2})
        EXPECT_EQ(m_DSPs.Fill(l_Index, 1, &l_Table[1]), 0) << l_Index;
    EXPECT_EQ(m_DSPs.Fill(0, 1, nullptr), 0);
    for (const IPMI_DSP_Info_S& l_Entry : l_Table)
        EXPECT_EQ(l_Entry.m_MAC, "");
}

// ---- the host's address

TEST_F(DspEntry, HostsAddressIsTheInterfacesOwn) {
    GiveEth6({});
    std::string l_IP;
    EXPECT_EQ(m_DSPs.HostIP("eth6", l_IP), 1);
    EXPECT_EQ(l_IP, "192.168.0.1");
    EXPECT_EQ(m_DSPs.HostIP("eth7", l_IP), 0);
    EXPECT_EQ(l_IP, "192.168.0.1"); // left as it was
}

struct SUBNET {
    const char* m_First;
    const char* m_Second;
    bool m_bSame;
};

void PrintTo(const SUBNET& a_Case, std::ostream* a_Stream) {
    *a_Stream << '"' << a_Case.m_First << "\" and \"" << a_Case.m_Second << '"';
}

class Subnet : public testing::TestWithParam<SUBNET> {};

TEST_P(Subnet, IsComparedUnderTheMask) {
    EXPECT_EQ(DSP_ADDRESSES::IsOnSameSubnet(GetParam().m_First, GetParam().m_Second, "255.255.255.0"),
              GetParam().m_bSame);
    EXPECT_EQ(DSP_ADDRESSES::IsOnSameSubnet(GetParam().m_Second, GetParam().m_First, "255.255.255.0"),
              GetParam().m_bSame);
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, Subnet,
    testing::Values(SUBNET{"192.168.0.23", "192.168.0.1", true}, SUBNET{"192.168.0.255", "192.168.0.0", true},
                    SUBNET{"192.168.1.23", "192.168.0.1", false}, SUBNET{"10.168.0.23", "192.168.0.1", false},
                    SUBNET{"0xC0.0xA8.0.5", "192.168.0.1", true}, SUBNET{"0XC0A80005", "192.168.0.1", true},
                    SUBNET{"192.168.0.23 ;reboot", "192.168.0.1", false}, // inet_addr stops at the blank
                    SUBNET{"192.168.0.23\n", "192.168.0.1", false}, SUBNET{"192.168.0.$(id)", "192.168.0.1", false},
                    SUBNET{"", "", false}, SUBNET{"", "192.168.0.1", false}, SUBNET{"fed", "fed", false},
                    SUBNET{"192.168.0.256", "192.168.0.256", false},
                    SUBNET{"255.255.255.255", "255.255.255.1", false})); // the value of no address

} // namespace
