// The DSPs' IP addresses in the host's storage: the defaults, and one address at a time.
#include "adaptor/dsp/IPMI_DSPStore.h"

#include "adaptor/dsp/DSPTest.h"

#include <algorithm>
#include <utility>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr const char* FILE_NAME = "telq_qub_dsp_iptable_cfg.xml";

class DspStore : public DSP_TEST {
protected:
    TEXTS StoredIPs() {
        TEXTS l_IPs;
        for (const auto& [l_Dsp, l_Row] : m_Storage.m_Files[FILE_NAME])
            l_IPs.push_back(std::to_string(l_Dsp) + " " + l_Row.GetParamById(BMI_HW_AMC_DSP_EX_IP)->GetString());
        return l_IPs;
    }

    const DSP_IP_STORE m_IPs{m_UsedStorage};
};

TEST_F(DspStore, EmptyIpTableGetsTheFourDefaultsInDescendingOrder) {
    EXPECT_EQ(m_IPs.Seed(), 1);
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

TEST_F(DspStore, OneAddressIsStoredInATransactionOfItsOwn) {
    EXPECT_EQ(m_IPs.Set(3, "10.0.0.3", true), 1);
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

TEST_F(DspStore, DefaultThatTheStorageRefusedIsTriedOnceMore) {
    FORGETFUL_STORAGE l_Storage("1");
    m_UsedStorage = &l_Storage;
    EXPECT_EQ(m_IPs.Seed(), 1);
    EXPECT_THAT(l_Storage.m_Files[FILE_NAME], SizeIs(4));
    EXPECT_EQ(std::ranges::count(l_Storage.m_Calls, "StartTransaction"), 1);
    m_UsedStorage = &m_Storage;
}

TEST_F(DspStore, StorageThatTakesNoDefaultIsAskedForEachOnce) {
    m_Storage.m_Refusals = {{"CreateRow", 21}};
    EXPECT_EQ(m_IPs.Seed(), 21);
    EXPECT_THAT(m_Storage.m_Calls, SizeIs(2 + 4 + 1));
}

TEST_F(DspStore, AnyStoredAddressKeepsTheDefaultsAway) {
    StoreIP(3, "10.0.0.3");
    EXPECT_EQ(m_IPs.Seed(), 1);
    EXPECT_THAT(StoredIPs(), ElementsAre("3 10.0.0.3"));
}

TEST_F(DspStore, TableThatCannotBeReadGetsTheDefaultsCreatedAndGivesTheLastResult) {
    m_Storage.m_Refusals = {{"RetrieveTable", 21}, {"CreateRow 4", 21}};
    EXPECT_EQ(m_IPs.Seed(), 21);
    m_Storage.m_Refusals = {{"RetrieveTable", 21}, {"CreateRow 1", 21}};
    m_Storage.m_Files.clear();
    EXPECT_EQ(m_IPs.Seed(), 1); // only the last one counts
}

TEST_F(DspStore, WhatTheStorageCouldNotMakeDurableIsNotStored) {
    m_Storage.m_Refusals = {{"EndTransaction", 21}};
    EXPECT_EQ(m_IPs.Seed(), 21);
    EXPECT_EQ(m_IPs.Set(1, "10.0.0.1", false), 21);
    m_Storage.m_Refusals = {{"EndTransaction", 0}};
    m_Storage.m_Files.clear();
    EXPECT_EQ(m_IPs.Seed(), 0);
    EXPECT_EQ(m_IPs.Set(1, "10.0.0.1", false), 0);
}

TEST_F(DspStore, NothingIsAskedOfAStorageThatGivesNoTransaction) {
    m_Storage.m_Refusals = {{"StartTransaction", 0}};
    EXPECT_EQ(m_IPs.Seed(), 0);
    std::string l_IP;
    EXPECT_EQ(m_IPs.Get(1, l_IP), 0);
    EXPECT_EQ(m_IPs.Set(1, "10.0.0.1", true), 0);
    m_Storage.m_Refusals = {{"StartTransaction", 21}};
    EXPECT_EQ(m_IPs.Seed(), 21);
    EXPECT_EQ(m_IPs.Set(1, "10.0.0.1", true), 21);
    EXPECT_THAT(m_Storage.m_Calls, testing::Each("StartTransaction"));
}

TEST_F(DspStore, WithoutAStorageNothingIsStoredAndEveryAddressMissing) {
    m_UsedStorage = nullptr;
    EXPECT_EQ(m_IPs.Seed(), 0);
    EXPECT_EQ(m_IPs.Set(1, "10.0.0.1", true), 0);
    Lines();
    std::string l_IP;
    EXPECT_EQ(m_IPs.Get(2, l_IP), 0);
    EXPECT_THAT(Lines(), ElementsAre(BmiError("Can not get IP Address of dsp[2]")));
}

TEST_F(DspStore, AddressIsReadInATransaction) {
    StoreIP(2, "10.0.0.2");
    std::string l_IP;
    EXPECT_EQ(m_IPs.Get(2, l_IP), 1);
    EXPECT_EQ(l_IP, "10.0.0.2");
    EXPECT_THAT(m_Storage.m_Calls,
                ElementsAre("StartTransaction", "RetrieveRow telq_qub_dsp_iptable_cfg.xml 0x30d12 i:2 key force 0",
                            "EndTransaction"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(DspStore, AddressThatIsNotThereIsReported) {
    std::string l_IP = "untouched";
    EXPECT_EQ(m_IPs.Get(7, l_IP), 0);
    m_Storage.m_Files[FILE_NAME][7] = KeyOf(BMI_HW_AMC_DSP_EX_NUM, 7); // a row without an address
    EXPECT_EQ(m_IPs.Get(7, l_IP), 0);
    EXPECT_EQ(l_IP, "untouched");
    EXPECT_THAT(Lines(), testing::Each(BmiError("Can not get IP Address of dsp[7]")));
}

TEST_F(DspStore, AddressIsCreatedOrReplacedAsAsked) {
    EXPECT_EQ(m_IPs.Set(2, "10.0.0.2", true), 1);
    EXPECT_EQ(m_IPs.Set(2, "10.0.0.9", true), 0); // the storage's refusal
    EXPECT_EQ(m_IPs.Set(2, "10.0.0.5", false), 1);
    EXPECT_EQ(m_IPs.Set(5, "10.0.0.6", false), 1); // not there before
    EXPECT_THAT(StoredIPs(), ElementsAre("2 10.0.0.5", "5 10.0.0.6"));
    m_Storage.m_Refusals = {{"SetRow", 21}};
    EXPECT_EQ(m_IPs.Set(2, "10.0.0.7", false), 21);
}

} // namespace
