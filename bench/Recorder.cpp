// For benchmarks: every request that the adaptor sends through OpenIPMI is seen here on its way, and can be sent again
// bare.
#include "bench/Recorder.h"

#include <algorithm>

namespace BENCH {

bool g_Recording = false;
std::vector<BARE_REQUEST> g_Recorded;
ipmi_domain_t* g_RecordedDomain = nullptr;

} // namespace BENCH

extern "C" {
// The linker leads every call of ipmi_send_command_addr to the second.
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
int __real_ipmi_send_command_addr(ipmi_domain_t*, const ipmi_addr_t*, unsigned int, const ipmi_msg_t*,
                                  ipmi_addr_response_handler_t, void*, void*);

int __wrap_ipmi_send_command_addr(ipmi_domain_t* a_Domain, const ipmi_addr_t* a_Address, unsigned int a_Length,
                                  const ipmi_msg_t* a_Message, ipmi_addr_response_handler_t a_Handler, void* a_First,
                                  void* a_Second) {
    if (BENCH::g_Recording) {
        BENCH::BARE_REQUEST l_Request{{}, a_Length, a_Message->netfn, a_Message->cmd, {}};
        std::copy_n(reinterpret_cast<const unsigned char*>(a_Address), a_Length,
                    reinterpret_cast<unsigned char*>(&l_Request.m_Address));
        l_Request.m_Data.assign(a_Message->data, a_Message->data + a_Message->data_len);
        BENCH::g_Recorded.push_back(std::move(l_Request));
        BENCH::g_RecordedDomain = a_Domain;
    }
    return __real_ipmi_send_command_addr(a_Domain, a_Address, a_Length, a_Message, a_Handler, a_First, a_Second);
}
// NOLINTEND(bugprone-reserved-identifier)
}

namespace BENCH {

int SendBare(ipmi_domain_t* a_Domain, BARE_REQUEST& a_Request, ipmi_addr_response_handler_t a_Handler, void* a_Datum) {
    ipmi_msg_t l_Message{};
    l_Message.netfn = a_Request.m_NetFn;
    l_Message.cmd = a_Request.m_Command;
    l_Message.data = a_Request.m_Data.data();
    l_Message.data_len = static_cast<unsigned short>(a_Request.m_Data.size());
    return __real_ipmi_send_command_addr(a_Domain, &a_Request.m_Address, a_Request.m_AddressLength, &l_Message,
                                         a_Handler, a_Datum, nullptr);
}

double MedianOf(std::vector<double> a_Values) {
    const auto l_Middle = a_Values.begin() + static_cast<std::ptrdiff_t>(a_Values.size() / 2);
    std::nth_element(a_Values.begin(), l_Middle, a_Values.end());
    return *l_Middle;
}

} // namespace BENCH
