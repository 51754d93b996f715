// Which requests the kernel's driver takes, and with which error it refuses the others.
#include "sim/driver/KernelRules.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

using namespace BLADESIM;

namespace {

constexpr unsigned char g_App = 0x06;

struct CASE {
    const char* m_Name;
    int m_Type;
    short m_Channel;
    unsigned char m_Lun;
    unsigned char m_NetFn;
    unsigned char m_Command;
    unsigned short m_Length;
    int m_Expected;
};

void PrintTo(const CASE& a_Case, std::ostream* a_Out) {
    *a_Out << a_Case.m_Name;
}

constexpr int g_SI = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
constexpr short g_BMC = IPMI_BMC_CHANNEL;

constexpr CASE g_Cases[] = {
    {"ARequest", g_SI, g_BMC, 0, g_App, 0x01, 0, 0},
    {"ALun", g_SI, g_BMC, 3, g_App, 0x01, 0, 0},
    {"ALunTooLarge", g_SI, g_BMC, 4, g_App, 0x01, 0, EINVAL},
    {"AnotherChannel", g_SI, 0, 0, g_App, 0x01, 0, EINVAL},
    {"AResponse", g_SI, g_BMC, 0, g_App | 1, 0x01, 1, EINVAL},
    {"GetMessage", g_SI, g_BMC, 0, g_App, 0x33, 0, EINVAL},
    {"SendMessage", g_SI, g_BMC, 0, g_App, 0x34, 7, EINVAL},
    {"ReadEventMessageBuffer", g_SI, g_BMC, 0, g_App, 0x35, 0, EINVAL},
    {"TheSameNumberOfAnotherNetFn", g_SI, g_BMC, 0, 0x0A, 0x34, 0, 0},
    {"TheLongest", g_SI, g_BMC, 0, g_App, 0x01, 270, 0},
    {"OneByteTooLong", g_SI, g_BMC, 0, g_App, 0x01, 271, EMSGSIZE},
    {"IPMB", IPMI_IPMB_ADDR_TYPE, 0, 0, g_App, 0x01, 0, 0},
    {"IPMBBroadcast", IPMI_IPMB_BROADCAST_ADDR_TYPE, 0, 0, g_App, 0x01, 0, 0},
    {"IPMBResponse", IPMI_IPMB_ADDR_TYPE, 0, 0, g_App | 1, 0x01, 1, 0},
    {"IPMBOfAnotherChannel", IPMI_IPMB_ADDR_TYPE, 7, 0, g_App, 0x01, 0, EINVAL},
    {"IPMBTooLong", IPMI_IPMB_ADDR_TYPE, 0, 0, g_App, 0x01, 264, EMSGSIZE},
    {"Lan", IPMI_LAN_ADDR_TYPE, 1, 0, g_App, 0x01, 0, EINVAL},
    {"UnknownKind", 0x33, 0, 0, g_App, 0x01, 0, EINVAL},
};

ipmi_req Request(ipmi_system_interface_addr& a_Address, std::vector<unsigned char>& a_Data, unsigned char a_Command) {
    ipmi_req l_Request{};
    l_Request.addr = reinterpret_cast<unsigned char*>(&a_Address);
    l_Request.addr_len = sizeof(a_Address);
    l_Request.msg = {g_App, a_Command, static_cast<unsigned short>(a_Data.size()), a_Data.data()};
    return l_Request;
}

} // namespace

class KernelRules : public testing::TestWithParam<CASE> {};

TEST_P(KernelRules, TakeOrRefuse) {
    const CASE& l_Case = GetParam();
    std::vector<unsigned char> l_Data(l_Case.m_Length);
    // The bytes of both kinds: type, channel, then the LUN, or the slave address and the LUN.
    ipmi_addr l_Address{};
    l_Address.addr_type = l_Case.m_Type;
    l_Address.channel = l_Case.m_Channel;
    l_Address.data[l_Case.m_Type == g_SI ? 0 : 1] = static_cast<char>(l_Case.m_Lun);
    ipmi_req l_Request{};
    l_Request.addr = reinterpret_cast<unsigned char*>(&l_Address);
    l_Request.addr_len = sizeof(l_Address);
    l_Request.msg = {l_Case.m_NetFn, l_Case.m_Command, l_Case.m_Length, l_Data.data()};
    EXPECT_EQ(CheckRequest(l_Request), l_Case.m_Expected);
}

INSTANTIATE_TEST_SUITE_P(Requests, KernelRules, testing::ValuesIn(g_Cases),
                         [](const auto& a_Info) { return std::string(a_Info.param.m_Name); });

TEST(KernelRulesForAddresses, RefuseALengthThatNoAddressHas) {
    ipmi_system_interface_addr l_Address{g_SI, g_BMC, 0};
    std::vector<unsigned char> l_Data;
    ipmi_req l_Request = Request(l_Address, l_Data, 0x01);
    for (const unsigned int l_Length : {0U, 7U, 41U}) {
        l_Request.addr_len = l_Length;
        EXPECT_EQ(CheckRequest(l_Request), EINVAL) << l_Length;
    }
}

TEST(KernelRulesForAddresses, RefuseANullPointerAsAFault) {
    ipmi_system_interface_addr l_Address{g_SI, g_BMC, 0};
    std::vector<unsigned char> l_Data;
    ipmi_req l_Request = Request(l_Address, l_Data, 0x01);
    l_Request.addr = nullptr;
    EXPECT_EQ(CheckRequest(l_Request), EFAULT);
}
