// What the kernel says of the machine's network interfaces: an interface's Ethernet address and its IPv4 address.
#include "adaptor/board/IPMI_Network.h"

#include "adaptor/board/DoorTest.h"

#include <cerrno>

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;

namespace {

constexpr std::array<unsigned char, 6> MAC = {0x02, 0x00, 0x5e, 0xAB, 0x00, 0x09};

class Network : public DOOR_TEST {
protected:
    /// "none" when the interface has none.
    static std::string MacOf(const std::string& a_Interface) {
        const auto l_Mac = HardwareAddressOf(a_Interface);
        return l_Mac ? l_Mac->Text() : "none";
    }
    static std::string IPOf(const std::string& a_Interface) { return IPv4AddressOf(a_Interface).value_or("none"); }

    static void GiveEth6() { Kernel().m_Interfaces = {{"lo", "127.0.0.1"}, {"eth6", "192.168.0.1", MAC}}; }
};

// ---- the Ethernet address

using HardwareAddress = Network;

TEST_F(HardwareAddress, IsTheInterfacesOwn) {
    GiveEth6();
    EXPECT_EQ(MacOf("eth6"), "02:00:5E:AB:00:09");
    EXPECT_THAT(Kernel().m_Ioctls, ElementsAre(SIOCGIFCONF, SIOCGIFHWADDR));
    EXPECT_EQ(MacOf("lo"), "00:00:00:00:00:00");
}

TEST_F(HardwareAddress, IsTakenFromNoOtherInterface) {
    EXPECT_EQ(MacOf("eth6"), "none");
    Kernel().m_Interfaces = {{"eth", "10.0.0.1", MAC},
                             {"eth60", "10.0.0.2", MAC},
                             {"eth6:1", "10.0.0.3", MAC},
                             {"ETH6", "10.0.0.4", MAC},
                             {"eth6", "", MAC},             // not in the list
                             {"eth6", "10.0.0.5", MAC, 10}, // not an IPv4 address
                             {"0123456789abcdef", "10.0.0.6", MAC}};
    EXPECT_EQ(MacOf("eth6"), "none");
    EXPECT_EQ(MacOf(""), "none");
}

TEST_F(HardwareAddress, NameThatFillsItsFieldIsFound) {
    Kernel().m_Interfaces = {{"0123456789abcdef", "10.0.0.1", MAC}};
    EXPECT_EQ(MacOf("0123456789abcdef"), "02:00:5E:AB:00:09");
    EXPECT_EQ(MacOf("0123456789abcde"), "none");
}

TEST_F(HardwareAddress, IsFoundAfterManyInterfaces) {
    for (int i = 0; i < 100; ++i)
        Kernel().m_Interfaces.push_back({"veth" + std::to_string(i), "10.0.0.1"});
    Kernel().m_Interfaces.push_back({"eth6", "10.0.0.2", MAC});
    EXPECT_EQ(MacOf("eth6"), "02:00:5E:AB:00:09");
}

TEST_F(HardwareAddress, IsNotLookedForBeyondTheList) {
    for (int i = 0; i < 300; ++i)
        Kernel().m_Interfaces.push_back({"veth" + std::to_string(i), "10.0.0.1"});
    for (const int l_Length : {1 << 20, -5, 0, 7}) {
        Kernel().m_ListLength = l_Length;
        EXPECT_EQ(MacOf("eth6"), "none") << l_Length;
    }
}

TEST_F(HardwareAddress, IsNoneWhenTheKernelRefuses) {
    GiveEth6();
    for (const unsigned long l_Request : {SIOCGIFCONF, SIOCGIFHWADDR}) {
        Kernel().m_IoctlErrors = {{l_Request, EPERM}};
        EXPECT_EQ(MacOf("eth6"), "none") << l_Request;
        EXPECT_EQ(Kernel().m_Sockets, 0);
    }
    Kernel().m_IoctlErrors = {};
    Kernel().m_bNoSocket = true;
    EXPECT_EQ(MacOf("eth6"), "none");
}

// ---- the IPv4 address

using IPv4Address = Network;

TEST_F(IPv4Address, IsTheInterfacesOwn) {
    GiveEth6();
    EXPECT_EQ(IPOf("eth6"), "192.168.0.1");
    EXPECT_EQ(IPOf("lo"), "127.0.0.1");
}

TEST_F(IPv4Address, IsNoneWithoutTheInterfaceOrItsAddress) {
    Kernel().m_Interfaces = {{"eth6", ""}};
    for (const char* l_Name : {"eth6", "eth7", ""})
        EXPECT_EQ(IPOf(l_Name), "none") << l_Name;
}

TEST_F(IPv4Address, NameThatNoInterfaceCanHaveIsNotAskedFor) {
    for (const char* l_Name : {"0123456789abcdef", "a name that no interface can have"})
        EXPECT_EQ(IPOf(l_Name), "none") << l_Name;
    EXPECT_THAT(Kernel().m_Ioctls, testing::IsEmpty());
    Kernel().m_Interfaces = {{"0123456789abcde", "10.0.0.1"}}; // the longest
    EXPECT_EQ(IPOf("0123456789abcde"), "10.0.0.1");
}

TEST_F(IPv4Address, IsNoneWhenTheKernelRefuses) {
    GiveEth6();
    Kernel().m_IoctlErrors = {{SIOCGIFADDR, EPERM}};
    EXPECT_EQ(IPOf("eth6"), "none");
    EXPECT_EQ(Kernel().m_Sockets, 0);
    Kernel().m_IoctlErrors = {};
    Kernel().m_bNoSocket = true;
    EXPECT_EQ(IPOf("eth6"), "none");
}

TEST_F(Network, IsAskedByADatagramSocketThatNoToolInherits) {
    HardwareAddressOf("eth6");
    EXPECT_EQ(Kernel().m_SocketType, SOCK_DGRAM | SOCK_CLOEXEC);
    Kernel() = {};
    IPv4AddressOf("eth6");
    EXPECT_EQ(Kernel().m_SocketType, SOCK_DGRAM | SOCK_CLOEXEC);
}

} // namespace
