// For benchmarks: records every request that the adaptor sends through OpenIPMI, so that it can be sent again bare.
#pragma once

#include <OpenIPMI/ipmiif.h>

#include <vector>

namespace bench {

struct BareRequest {
    ipmi_addr_t m_address{};
    unsigned m_addressLength = 0;
    unsigned char m_netFn = 0;
    unsigned char m_command = 0;
    std::vector<unsigned char> m_data{};
};

/// While set, what is sent is appended to the list. One thread at a time may use it.
extern bool recording;
extern std::vector<BareRequest> recorded;
/// The domain through which the last recorded request went.
extern ipmi_domain_t* recordedDomain;

/// Sends without recording. 0 on success.
int SendBare(ipmi_domain_t* domain, BareRequest& request, ipmi_addr_response_handler_t handler, void* datum);

} // namespace bench
