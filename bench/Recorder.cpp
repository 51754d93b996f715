// For benchmarks: records every request that the adaptor sends through OpenIPMI, so that it can be sent again bare.
#include "bench/Recorder.h"

#include <algorithm>

namespace bench {

bool recording = false;
std::vector<BareRequest> recorded;
ipmi_domain_t* recordedDomain = nullptr;

} // namespace bench

extern "C" {
// The linker directs every call of ipmi_send_command_addr to the second function.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the linker's names
int __real_ipmi_send_command_addr(ipmi_domain_t*, const ipmi_addr_t*, unsigned int, const ipmi_msg_t*,
                                  ipmi_addr_response_handler_t, void*, void*);

int __wrap_ipmi_send_command_addr(ipmi_domain_t* domain, const ipmi_addr_t* address, unsigned int length,
                                  const ipmi_msg_t* message, ipmi_addr_response_handler_t handler, void* first,
                                  void* second) {
    if (bench::recording) {
        bench::BareRequest request{{}, length, message->netfn, message->cmd, {}};
        std::copy_n(reinterpret_cast<const unsigned char*>(address), length,
                    reinterpret_cast<unsigned char*>(&request.m_address));
        request.m_data.assign(message->data, message->data + message->data_len);
        bench::recorded.push_back(std::move(request));
        bench::recordedDomain = domain;
    }
    return __real_ipmi_send_command_addr(domain, address, length, message, handler, first, second);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
}

namespace bench {

int SendBare(ipmi_domain_t* domain, BareRequest& request, ipmi_addr_response_handler_t handler, void* datum) {
    ipmi_msg_t message{};
    message.netfn = request.m_netFn;
    message.cmd = request.m_command;
    message.data = request.m_data.data();
    message.data_len = static_cast<unsigned short>(request.m_data.size());
    return __real_ipmi_send_command_addr(domain, &request.m_address, request.m_addressLength, &message, handler, datum,
                                         nullptr);
}

} // namespace bench
