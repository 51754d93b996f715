// eth6 among the machine's interfaces: its Ethernet address, its IP address, and which addresses are near it.
#include "adaptor/BoardTest.h"

#include <cerrno>
#include <net/if.h>
#include <sys/ioctl.h>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::array<unsigned char, 6> MAC = {0x02, 0x00, 0x5e, 0xAB, 0x00, 0x09};

class HostMac : public BOARD_TEST {
protected:
    /// "none" after a failure that was logged.
    std::string Get() {
        std::string l_Mac = "untouched";
        Lines();
        if (m_Adaptor.GetAMCFirstMac(l_Mac) == 1) return l_Mac;
        EXPECT_EQ(l_Mac, "untouched");
        EXPECT_THAT(Lines(), ElementsAre(Error("Fail to Get MAC of eth6")));
        return "none";
    }
};

TEST_F(HostMac, IsEth6sInSmallLetters) {
    GiveEth6(MAC);
    EXPECT_EQ(Get(), "02:00:5e:ab:00:09");
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Kernel().m_Ioctls, ElementsAre(SIOCGIFCONF, SIOCGIFHWADDR));
}

TEST_F(HostMac, IsTakenFromNoOtherInterface) {
    Kernel().m_Interfaces = {};
    EXPECT_EQ(Get(), "none");
    Kernel().m_Interfaces = {{"eth", "10.0.0.1", MAC},
                             {"eth60", "10.0.0.2", MAC},
                             {"eth6:1", "10.0.0.3", MAC},
                             {"ETH6", "10.0.0.4", MAC},
                             {"eth6", "", MAC},
                             {"eth6", "10.0.0.5", MAC, 10},
                             {"0123456789abcdef", "10.0.0.6", MAC}};
    EXPECT_EQ(Get(), "none");
}

TEST_F(HostMac, IsFoundBehindManyInterfaces) {
    for (int i = 0; i < 100; ++i)
        Kernel().m_Interfaces.push_back({"veth" + std::to_string(i), "10.0.0.1"});
    Kernel().m_Interfaces.push_back({"eth6", "10.0.0.2", MAC});
    EXPECT_EQ(Get(), "02:00:5e:ab:00:09");
}

TEST_F(HostMac, IsNotLookedForBehindTheBuffer) {
    for (int i = 0; i < 300; ++i)
        Kernel().m_Interfaces.push_back({"veth" + std::to_string(i), "10.0.0.1"});
    for (const int l_Length : {1 << 20, -5, 0, 7}) {
        Kernel().m_ListLength = l_Length;
        EXPECT_EQ(Get(), "none") << l_Length;
    }
}

TEST_F(HostMac, IsNoneWhenTheKernelRefuses) {
    GiveEth6(MAC);
    for (const unsigned long l_Request : {SIOCGIFCONF, SIOCGIFHWADDR}) {
        Kernel().m_IoctlErrors = {{l_Request, EPERM}};
        EXPECT_EQ(Get(), "none") << l_Request;
    }
    Kernel().m_IoctlErrors = {};
    Kernel().m_bNoSocket = true;
    EXPECT_EQ(Get(), "none");
}

class HostAddress : public BOARD_TEST {};

TEST_F(HostAddress, IsTheInterfacesOwn) {
    GiveEth6(MAC);
    std::string l_IP;
    EXPECT_EQ(Access::mGetIPAddrByName(m_Adaptor, "eth6", l_IP), 1);
    EXPECT_EQ(l_IP, "192.168.0.1");
    EXPECT_EQ(Access::mGetIPAddrByName(m_Adaptor, "lo", l_IP), 1);
    EXPECT_EQ(l_IP, "127.0.0.1");
}

TEST_F(HostAddress, OfNoInterfaceGives0AndLeavesTheTextAlone) {
    Kernel().m_Interfaces = {{"eth6", ""}};
    std::string l_IP = "untouched";
    for (const char* l_Name : {"eth6", "eth7", "", "a name that no interface can have"})
        EXPECT_EQ(Access::mGetIPAddrByName(m_Adaptor, l_Name, l_IP), 0) << l_Name;
    Kernel().m_bNoSocket = true;
    EXPECT_EQ(Access::mGetIPAddrByName(m_Adaptor, "eth6", l_IP), 0);
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

} // namespace
