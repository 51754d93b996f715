// Which requests the kernel's driver takes, and with which error it refuses the others.
#include "sim/driver/KernelRules.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

using namespace bladesim;

namespace {

constexpr unsigned char App = 0x06;

struct Case {
    const char* m_name;
    int m_type;
    short m_channel;
    unsigned char m_lun;
    unsigned char m_netFn;
    unsigned char m_command;
    unsigned short m_length;
    int m_expected;
};

void PrintTo(const Case& testCase, std::ostream* out) {
    *out << testCase.m_name;
}

constexpr int SystemInterfaceType = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
constexpr short BmcChannel = IPMI_BMC_CHANNEL;

constexpr Case Cases[] = {
    {"ARequest", SystemInterfaceType, BmcChannel, 0, App, 0x01, 0, 0},
    {"ALun", SystemInterfaceType, BmcChannel, 3, App, 0x01, 0, 0},
    {"ALunTooLarge", SystemInterfaceType, BmcChannel, 4, App, 0x01, 0, EINVAL},
    {"AnotherChannel", SystemInterfaceType, 0, 0, App, 0x01, 0, EINVAL},
    {"AResponse", SystemInterfaceType, BmcChannel, 0, App | 1, 0x01, 1, EINVAL},
    {"GetMessage", SystemInterfaceType, BmcChannel, 0, App, 0x33, 0, EINVAL},
    {"SendMessage", SystemInterfaceType, BmcChannel, 0, App, 0x34, 7, EINVAL},
    {"ReadEventMessageBuffer", SystemInterfaceType, BmcChannel, 0, App, 0x35, 0, EINVAL},
    {"TheSameNumberOfAnotherNetFn", SystemInterfaceType, BmcChannel, 0, 0x0A, 0x34, 0, 0},
    {"TheLongest", SystemInterfaceType, BmcChannel, 0, App, 0x01, 270, 0},
    {"OneByteTooLong", SystemInterfaceType, BmcChannel, 0, App, 0x01, 271, EMSGSIZE},
    {"IPMB", IPMI_IPMB_ADDR_TYPE, 0, 0, App, 0x01, 0, 0},
    {"IPMBBroadcast", IPMI_IPMB_BROADCAST_ADDR_TYPE, 0, 0, App, 0x01, 0, 0},
    {"IPMBResponse", IPMI_IPMB_ADDR_TYPE, 0, 0, App | 1, 0x01, 1, 0},
    {"IPMBOfAnotherChannel", IPMI_IPMB_ADDR_TYPE, 7, 0, App, 0x01, 0, EINVAL},
    {"IPMBTooLong", IPMI_IPMB_ADDR_TYPE, 0, 0, App, 0x01, 264, EMSGSIZE},
    {"Lan", IPMI_LAN_ADDR_TYPE, 1, 0, App, 0x01, 0, EINVAL},
    {"UnknownKind", 0x33, 0, 0, App, 0x01, 0, EINVAL},
};

ipmi_req Request(ipmi_system_interface_addr& address, std::vector<unsigned char>& data, unsigned char command) {
    ipmi_req request{};
    request.addr = reinterpret_cast<unsigned char*>(&address);
    request.addr_len = sizeof(address);
    request.msg = {App, command, static_cast<unsigned short>(data.size()), data.data()};
    return request;
}

} // namespace

class KernelRules : public testing::TestWithParam<Case> {};

TEST_P(KernelRules, TakeOrRefuse) {
    const Case& testCase = GetParam();
    std::vector<unsigned char> data(testCase.m_length);
    // The bytes of both kinds: type, channel, then the LUN, or the slave address and the LUN.
    ipmi_addr address{};
    address.addr_type = testCase.m_type;
    address.channel = testCase.m_channel;
    address.data[testCase.m_type == SystemInterfaceType ? 0 : 1] = static_cast<char>(testCase.m_lun);
    ipmi_req request{};
    request.addr = reinterpret_cast<unsigned char*>(&address);
    request.addr_len = sizeof(address);
    request.msg = {testCase.m_netFn, testCase.m_command, testCase.m_length, data.data()};
    EXPECT_EQ(CheckRequest(request), testCase.m_expected);
}

INSTANTIATE_TEST_SUITE_P(Requests, KernelRules, testing::ValuesIn(Cases),
                         [](const auto& testInfo) { return std::string(testInfo.param.m_name); });

TEST(KernelRulesForAddresses, RefuseALengthThatNoAddressHas) {
    ipmi_system_interface_addr address{SystemInterfaceType, BmcChannel, 0};
    std::vector<unsigned char> data;
    ipmi_req request = Request(address, data, 0x01);
    for (const unsigned int length : {0U, 7U, 41U}) {
        request.addr_len = length;
        EXPECT_EQ(CheckRequest(request), EINVAL) << length;
    }
}

TEST(KernelRulesForAddresses, RefuseANullPointerAsAFault) {
    ipmi_system_interface_addr address{SystemInterfaceType, BmcChannel, 0};
    std::vector<unsigned char> data;
    ipmi_req request = Request(address, data, 0x01);
    request.addr = nullptr;
    EXPECT_EQ(CheckRequest(request), EFAULT);
}
