// The host's interface to the DSPs as the adaptor sees it: eth6's Ethernet address, IP addresses by name, which
// addresses are near each other, and the addresses of DSPs and CPUs that are counted from one base.
#include "adaptor/BoardTest.h"

#include <map>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::array<unsigned char, 6> MAC = {0x02, 0x00, 0x5e, 0xAB, 0x00, 0x09};

class HostInterface : public BOARD_TEST {
protected:
    /// The board with these interfaces and no others.
    void Give(const std::map<std::string, BOARD_INTERFACE>& a_Interfaces) {
        m_Board.m_Interfaces = a_Interfaces;
        Kernel().m_Interfaces.clear(); // for who asks the kernel itself
        for (const auto& [l_Name, l_Interface] : a_Interfaces)
            Kernel().m_Interfaces.push_back({l_Name, l_Interface.m_IP, l_Interface.m_Mac});
    }

    void SetUp() override { Give({{"lo", {"127.0.0.1"}}, {"eth6", {"192.168.0.1", MAC}}}); }
};

using HostMac = HostInterface;

TEST_F(HostMac, IsEth6sInSmallLetters) {
    std::string l_Mac;
    EXPECT_EQ(m_Adaptor.GetAMCFirstMac(l_Mac), 1);
    EXPECT_EQ(l_Mac, "02:00:5e:ab:00:09");
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(HostMac, WithoutEth6IsNoneAndTheTextIsLeftAlone) {
    Give({{"lo", {"127.0.0.1"}}, {"eth5", {"10.0.0.5", MAC}}});
    std::string l_Mac = "untouched";
    EXPECT_EQ(m_Adaptor.GetAMCFirstMac(l_Mac), 0);
    EXPECT_EQ(l_Mac, "untouched");
    EXPECT_THAT(Lines(), ElementsAre(Error("Fail to Get MAC of eth6")));
}

using HostAddress = HostInterface;

TEST_F(HostAddress, IsTheInterfacesOwn) {
    std::string l_IP;
    EXPECT_EQ(Access::mGetIPAddrByName(m_Adaptor, "eth6", l_IP), 1);
    EXPECT_EQ(l_IP, "192.168.0.1");
    EXPECT_EQ(Access::mGetIPAddrByName(m_Adaptor, "lo", l_IP), 1);
    EXPECT_EQ(l_IP, "127.0.0.1");
}

TEST_F(HostAddress, OfNoInterfaceGives0AndLeavesTheTextAlone) {
    std::string l_IP = "untouched";
    for (const char* l_Name : {"eth7", "", "a name that no interface can have"})
        EXPECT_EQ(Access::mGetIPAddrByName(m_Adaptor, l_Name, l_IP), 0) << l_Name;
    EXPECT_EQ(l_IP, "untouched");
}

struct SUBNET {
    const char* m_First;
    const char* m_Second;
    bool m_bSame;
};

void PrintTo(const SUBNET& a_Case, std::ostream* a_Stream) {
    *a_Stream << '"' << a_Case.m_First << "\" and \"" << a_Case.m_Second << '"';
}

class Subnet : public HostAddress, public testing::WithParamInterface<SUBNET> {};

TEST_P(Subnet, IsComparedUnderTheMask) {
    EXPECT_EQ(Access::mIsOnSameSubnet(m_Adaptor, GetParam().m_First, GetParam().m_Second, "255.255.255.0"),
              GetParam().m_bSame);
    EXPECT_EQ(Access::mIsOnSameSubnet(m_Adaptor, GetParam().m_Second, GetParam().m_First, "255.255.255.0"),
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

// ---- what is counted from a base address

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
    EXPECT_TRUE(IPMIAdaptor::CalculateDspMacAddr(GetParam().m_Base, static_cast<int>(l_Macs.size()), l_Macs.data()));
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
        EXPECT_FALSE(IPMIAdaptor::CalculateDspMacAddr(l_Base, 2, l_Macs.data())) << l_Base;
        EXPECT_THAT(l_Macs, ElementsAre("", "")) << l_Base;
    }
}

TEST(DspMacsOfARecord, AreAsManyAsItSays) {
    TEXTS l_Macs(255);
    EXPECT_TRUE(IPMIAdaptor::CalculateDspMacAddr("02:00:00:00:00:00", 255, l_Macs.data()));
    EXPECT_EQ(l_Macs.back(), "02:00:00:00:01:00");
}

TEST(CpuMacs, AreTheTwoBeforeTheSmallest) {
    MAC_ADDRESS l_CPU1;
    MAC_ADDRESS l_CPU2;
    IPMIAdaptor::CalculateCPUMacAddr("02:01:00:00:00:01", l_CPU1, l_CPU2);
    EXPECT_EQ(l_CPU1.Text(), "02:01:FF:FF:FF:FF");
    EXPECT_EQ(l_CPU2.Text(), "02:01:00:00:00:00");
    IPMIAdaptor::CalculateCPUMacAddr("no address at all", l_CPU1, l_CPU2);
    EXPECT_EQ(l_CPU1, MAC_ADDRESS{});
    EXPECT_EQ(l_CPU2, MAC_ADDRESS{});
}

} // namespace
