// The DSPs' addresses at start-up: which MACs become known, which IP addresses are stored, what one DSP's entry holds.
#include "adaptor/dsp/IPMI_DSPs.h"

#include "adaptor/BoardTest.h"
#include "fake/FakeParams.h"

#include <algorithm>
#include <utility>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::SizeIs;

namespace {

constexpr std::array<unsigned char, 6> ETH6_MAC = {0x02, 0, 0, 0, 0, 0x10};
constexpr const char* FILE_NAME = "telq_qub_dsp_iptable_cfg.xml";
constexpr const char* NO_TABLE = "Can not get DSP Info table";

class DspInfo : public BOARD_TEST {
protected:
    DspInfo() { GiveEth6(ETH6_MAC); }

    int InitInfo() { return Access::mInitDSPInfo(m_Adaptor); }
    DSP_MACS Macs() const { return Access::DspMacMap(m_Adaptor); }

    TEXTS StoredIPs() {
        TEXTS l_IPs;
        for (const auto& [l_Dsp, l_Row] : m_Storage.m_Files[FILE_NAME])
            l_IPs.push_back(std::to_string(l_Dsp) + " " + l_Row.GetParamById(BMI_HW_AMC_DSP_EX_IP)->GetString());
        return l_IPs;
    }
};

// ---- the MACs

TEST_F(DspInfo, DspsAreNumberedInTheOrderOfTheRows) {
    AddAMC(7, 1);
    AddAMC(2, 2);
    EXPECT_EQ(InitInfo(), 1);
    EXPECT_THAT(Macs(), ElementsAre(Pair(1, "02:00:00:00:00:12"), Pair(2, "02:00:00:00:00:13"),
                                    Pair(3, "02:00:00:00:00:12"))); // two AMCs have the same ones
    EXPECT_THAT(Lines(), Not(Contains(BmiError(NO_TABLE))));
}

TEST_F(DspInfo, WhatWasKnownBeforeIsReplacedByWhatIsFound) {
    Access::KnowDSPs(m_Adaptor, {{1, "old"}, {5, "older"}});
    AddAMC(3, 1);
    EXPECT_EQ(InitInfo(), 1);
    EXPECT_THAT(Macs(), ElementsAre(Pair(1, "02:00:00:00:00:12")));
    ResetProcess(); // no AMC any more
    EXPECT_EQ(InitInfo(), 1);
    EXPECT_THAT(Macs(), IsEmpty());
}

TEST_F(DspInfo, TableThatDoesNotGiveItsRowsMakesNoDspKnown) {
    AddAMC(2, 2);
    FakeParams().m_bHidesRows = true;
    EXPECT_EQ(InitInfo(), 1);
    FakeParams() = {};
    EXPECT_THAT(Macs(), IsEmpty());
    EXPECT_THAT(Lines(), Contains(BmiError("Can not get MAC Address of dsp[1]")));
}

TEST_F(DspInfo, WithoutDspsTheTableIsMissedAndTheIpTableSeeded) {
    EXPECT_EQ(InitInfo(), 1);
    EXPECT_THAT(Macs(), IsEmpty());
    EXPECT_THAT(Lines(), Contains(BmiError(NO_TABLE)));
    EXPECT_THAT(StoredIPs(), SizeIs(4));
    EXPECT_EQ(Kernel().m_Parameter, std::nullopt);
}

TEST_F(DspInfo, WithoutEth6NoDspIsKnown) {
    Kernel().m_Interfaces = {};
    AddAMC(3, 4);
    EXPECT_EQ(InitInfo(), 1);
    EXPECT_THAT(Macs(), IsEmpty());
    EXPECT_THAT(Errors(), Contains(NO_TABLE));
}

TEST_F(DspInfo, OutsideTheStartedStateNoDspIsKnown) {
    BeInState(1);
    AddAMC(3, 4);
    EXPECT_EQ(InitInfo(), 1);
    EXPECT_THAT(Macs(), IsEmpty());
}

TEST_F(DspInfo, ThreeDspsSetTheKernelParameterAndAnyOtherNumberClearsIt) {
    for (const uint8_t l_Count : {1, 2, 3, 4}) {
        AddAMC(3, l_Count);
        InitInfo();
        EXPECT_EQ(Kernel().m_Parameter, l_Count == 3 ? 1 : 0) << int{l_Count};
    }
}

TEST_F(DspInfo, RowWithoutAMacLeavesItsNumberFree) {
    AddAMC(3, 3);
    FakeParams().m_Hides = [](const CBMIParams& a_Row, unsigned a_Id) {
        return a_Id == BMI_HW_AMC_DSP_MAC && TextOf(*a_Row.Get(1)) == "0x1202 i:2 key";
    };
    EXPECT_EQ(InitInfo(), 1);
    FakeParams() = {};
    EXPECT_THAT(Macs(), ElementsAre(Pair(1, "02:00:00:00:00:12"), Pair(3, "02:00:00:00:00:14")));
    EXPECT_EQ(Kernel().m_Parameter, 1); // of three rows, two of which have a MAC
    EXPECT_THAT(Errors(), Not(Contains(testing::StartsWith("Can not get MAC"))));
}

TEST_F(DspInfo, MissingRowEndsTheWalk) {
    AddAMC(3, 3);
    FakeParams().m_HiddenRow = 1;
    EXPECT_EQ(InitInfo(), 1);
    FakeParams() = {};
    EXPECT_THAT(Macs(), ElementsAre(Pair(1, "02:00:00:00:00:12")));
    EXPECT_EQ(Kernel().m_Parameter, 1);
    EXPECT_THAT(Errors(), Contains("Can not get MAC Address of dsp[2]").Times(1));
}

TEST_F(DspInfo, CountIsAnErrorLineAndTheRecordsMacATrace) {
    AddMultiRecord(AddFRU(AddEntity(ENTITY_ID_AMC, 3), "FRU"),
                   {0x57, 0x01, 0x00, 0x02, 0x00, 0x01, 0x01, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC});
    InitInfo();
    EXPECT_THAT(Lines(), Contains(BmiTrace("12:34:56:78:9a:bc")));
    BM_LOG_LEVEL = 0;
    InitInfo();
    const auto l_Lines = Lines();
    EXPECT_EQ(l_Lines.back(), BmiError("IPMIAdaptor :: AMC_DSP_ReadTable -- Returning 1 found "));
    EXPECT_THAT(l_Lines, testing::Each(testing::Field(&LOG_LINE::m_Level, 3)));
}

// ---- the IP addresses

TEST_F(DspInfo, EmptyIpTableGetsTheFourDefaultsInDescendingOrder) {
    EXPECT_EQ(Access::mInitIPInfo(m_Adaptor), 1);
    EXPECT_THAT(StoredIPs(), ElementsAre("1 192.168.0.23", "2 192.168.0.22", "3 192.168.0.21", "4 192.168.0.20"));
    EXPECT_THAT(m_Storage.m_Calls,
                ElementsAre("StartTransaction", "RetrieveTable telq_qub_dsp_iptable_cfg.xml force 0",
                            "CreateRow telq_qub_dsp_iptable_cfg.xml 0x30d12 i:1 key | 0x30d12 i:1 key, "
                            "0x30d14 s:192.168.0.23",
                            "CreateRow telq_qub_dsp_iptable_cfg.xml 0x30d12 i:2 key | 0x30d12 i:2 key, "
                            "0x30d14 s:192.168.0.22",
                            "CreateRow telq_qub_dsp_iptable_cfg.xml 0x30d12 i:3 key | 0x30d12 i:3 key, "
                            "0x30d14 s:192.168.0.21",
                            "CreateRow telq_qub_dsp_iptable_cfg.xml 0x30d12 i:4 key | 0x30d12 i:4 key, "
                            "0x30d14 s:192.168.0.20",
                            "EndTransaction"));
}

TEST_F(DspInfo, OneAddressIsStoredInATransactionOfItsOwn) {
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 3, "10.0.0.3", true), 1);
    EXPECT_THAT(m_Storage.m_Calls,
                ElementsAre("StartTransaction",
                            "CreateRow telq_qub_dsp_iptable_cfg.xml 0x30d12 i:3 key | 0x30d12 i:3 key, "
                            "0x30d14 s:10.0.0.3",
                            "EndTransaction"));
}

// What refuses a row only once: the others must not stand alone.
class FORGETFUL_STORAGE : public FAKE_STORAGE {
public:
    explicit FORGETFUL_STORAGE(const std::string& a_Row) : m_Row(a_Row) {}
    int CreateRow(const std::string& a_File, const CBMIKeys& a_Keys, const CBMIParams& a_Row) override {
        if (std::to_string(a_Keys.Get(0)->GetInt()) == std::exchange(m_Row, "")) return 21;
        return FAKE_STORAGE::CreateRow(a_File, a_Keys, a_Row);
    }

private:
    std::string m_Row;
};

TEST_F(DspInfo, DefaultThatTheStorageRefusedIsTriedOnceMore) {
    FORGETFUL_STORAGE l_Storage("1");
    Access::Storage(m_Adaptor) = &l_Storage;
    EXPECT_EQ(Access::mInitIPInfo(m_Adaptor), 1);
    EXPECT_THAT(l_Storage.m_Files[FILE_NAME], SizeIs(4));
    EXPECT_EQ(std::ranges::count(l_Storage.m_Calls, "StartTransaction"), 1);
    Access::Storage(m_Adaptor) = &m_Storage;
}

TEST_F(DspInfo, StorageThatTakesNoDefaultIsAskedForEachOnce) {
    m_Storage.m_Refusals = {{"CreateRow", 21}};
    EXPECT_EQ(Access::mInitIPInfo(m_Adaptor), 21);
    EXPECT_THAT(m_Storage.m_Calls, SizeIs(2 + 4 + 1));
}

TEST_F(DspInfo, AnyStoredAddressKeepsTheDefaultsAway) {
    StoreIP(3, "10.0.0.3");
    EXPECT_EQ(Access::mInitIPInfo(m_Adaptor), 1);
    EXPECT_THAT(StoredIPs(), ElementsAre("3 10.0.0.3"));
}

TEST_F(DspInfo, TableThatCannotBeReadGetsTheDefaultsCreatedAndGivesTheLastResult) {
    m_Storage.m_Refusals = {{"RetrieveTable", 21}, {"CreateRow 4", 21}};
    EXPECT_EQ(InitInfo(), 21);
    m_Storage.m_Refusals = {{"RetrieveTable", 21}, {"CreateRow 1", 21}};
    m_Storage.m_Files.clear();
    EXPECT_EQ(InitInfo(), 1); // only the last one counts
}

TEST_F(DspInfo, WhatTheStorageCouldNotMakeDurableIsNotStored) {
    m_Storage.m_Refusals = {{"EndTransaction", 21}};
    EXPECT_EQ(Access::mInitIPInfo(m_Adaptor), 21);
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 1, "10.0.0.1", false), 21);
    m_Storage.m_Refusals = {{"EndTransaction", 0}};
    m_Storage.m_Files.clear();
    EXPECT_EQ(Access::mInitIPInfo(m_Adaptor), 0);
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 1, "10.0.0.1", false), 0);
}

TEST_F(DspInfo, NothingIsAskedOfAStorageThatGivesNoTransaction) {
    m_Storage.m_Refusals = {{"StartTransaction", 0}};
    EXPECT_EQ(InitInfo(), 0);
    std::string l_IP;
    EXPECT_EQ(Access::mGetDspIpAddrDB(m_Adaptor, 1, l_IP), 0);
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 1, "10.0.0.1", true), 0);
    m_Storage.m_Refusals = {{"StartTransaction", 21}};
    EXPECT_EQ(InitInfo(), 21);
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 1, "10.0.0.1", true), 21);
    EXPECT_THAT(m_Storage.m_Calls, testing::Each("StartTransaction"));
}

TEST_F(DspInfo, WithoutAStorageNothingIsStoredAndEveryAddressMissing) {
    Access::Storage(m_Adaptor) = nullptr;
    EXPECT_EQ(InitInfo(), 0);
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 1, "10.0.0.1", true), 0);
    Lines();
    std::string l_IP;
    EXPECT_EQ(Access::mGetDspIpAddrDB(m_Adaptor, 2, l_IP), 0);
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Can not get IP Address of dsp[2]")));
}

TEST_F(DspInfo, AddressIsReadInATransaction) {
    StoreIP(2, "10.0.0.2");
    std::string l_IP;
    EXPECT_EQ(Access::mGetDspIpAddrDB(m_Adaptor, 2, l_IP), 1);
    EXPECT_EQ(l_IP, "10.0.0.2");
    EXPECT_THAT(m_Storage.m_Calls,
                ElementsAre("StartTransaction", "RetrieveRow telq_qub_dsp_iptable_cfg.xml 0x30d12 i:2 key force 0",
                            "EndTransaction"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(DspInfo, AddressThatIsNotThereIsReported) {
    std::string l_IP = "untouched";
    EXPECT_EQ(Access::mGetDspIpAddrDB(m_Adaptor, 7, l_IP), 0);
    m_Storage.m_Files[FILE_NAME][7] = KeyOf(BMI_HW_AMC_DSP_EX_NUM, 7); // a row without an address
    EXPECT_EQ(Access::mGetDspIpAddrDB(m_Adaptor, 7, l_IP), 0);
    EXPECT_EQ(l_IP, "untouched");
    EXPECT_THAT(Lines(), testing::Each(BmiError("Can not get IP Address of dsp[7]")));
}

TEST_F(DspInfo, AddressIsCreatedOrReplacedAsAsked) {
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 2, "10.0.0.2", true), 1);
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 2, "10.0.0.9", true), 0); // the storage's refusal
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 2, "10.0.0.5", false), 1);
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 5, "10.0.0.6", false), 1); // not there before
    EXPECT_THAT(StoredIPs(), ElementsAre("2 10.0.0.5", "5 10.0.0.6"));
    m_Storage.m_Refusals = {{"SetRow", 21}};
    EXPECT_EQ(Access::mSetDspIpAddrDB(m_Adaptor, 2, "10.0.0.7", false), 21);
}

// ---- one DSP's entry

TEST_F(DspInfo, EntryHoldsMacAndIp) {
    KnowDSPs({"02:00:00:00:00:12", "02:00:00:00:00:13"});
    StoreIP(2, "10.0.0.2");
    std::array<IPMI_DSP_Info_S, 2> l_Table;
    EXPECT_EQ(Access::mFillDSPInfo(m_Adaptor, 1, 2, l_Table.data()), 1);
    EXPECT_EQ(l_Table[1].m_MAC, "02:00:00:00:00:13");
    EXPECT_EQ(l_Table[1].m_IP, "10.0.0.2");
    EXPECT_EQ(Access::mFillDSPInfo(m_Adaptor, 0, 1, l_Table.data()), 0); // no address
    EXPECT_EQ(l_Table[0].m_MAC, "02:00:00:00:00:12");
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Can not get IP Address of dsp[1]")));
}

TEST_F(DspInfo, EntryOfAnUnknownDspIsReported) {
    std::array<IPMI_DSP_Info_S, 1> l_Table;
    EXPECT_EQ(Access::mFillDSPInfo(m_Adaptor, 0, 3, l_Table.data()), 0);
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Fail to get MAC Address of DSP[3]")));
}

TEST_F(DspInfo, EntryOutsideTheTableIsNotWritten) {
    KnowDSPs({"02:00:00:00:00:12"});
    StoreIP(1, "10.0.0.1");
    std::array<IPMI_DSP_Info_S, 3> l_Table;
    for (const int l_Index : {-1, 1, 2})
        EXPECT_EQ(Access::mFillDSPInfo(m_Adaptor, l_Index, 1, &l_Table[1]), 0) << l_Index;
    EXPECT_EQ(Access::mFillDSPInfo(m_Adaptor, 0, 1, static_cast<IPMI_DSP_Info_S*>(nullptr)), 0);
    for (const IPMI_DSP_Info_S& l_Entry : l_Table)
        EXPECT_EQ(l_Entry.m_MAC, "");
}

} // namespace
