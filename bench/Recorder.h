// For benchmarks: every request that the adaptor sends through OpenIPMI is seen here on its way, and can be sent again
// bare.
#pragma once

#include <OpenIPMI/ipmiif.h>

#include <vector>

namespace BENCH {

struct BARE_REQUEST {
    ipmi_addr_t m_Address{};
    unsigned m_AddressLength = 0;
    unsigned char m_NetFn = 0;
    unsigned char m_Command = 0;
    std::vector<unsigned char> m_Data{};
};

/// While set, what is sent is appended to the list. Both are for one thread at a time.
extern bool g_Recording;
extern std::vector<BARE_REQUEST> g_Recorded;
/// The domain through which the last recorded request went.
extern ipmi_domain_t* g_RecordedDomain;

/// Sends without recording. 0 on success.
int SendBare(ipmi_domain_t* a_Domain, BARE_REQUEST& a_Request, ipmi_addr_response_handler_t a_Handler, void* a_Datum);

double MedianOf(std::vector<double> a_Values);

} // namespace BENCH
