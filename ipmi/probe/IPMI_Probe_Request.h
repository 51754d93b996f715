// One kind of request of the probe: what is the same each time that it is sent.
#pragma once

#include <OpenIPMI/ipmiif.h>

namespace BM_ADAPTOR {

struct PROBE_REQUEST {
    unsigned char m_NetFn;
    unsigned char m_Command;
    ipmi_addr_response_handler_t m_Received; ///< takes the reply
    void (*m_TraceResult)(int a_Result);     ///< writes what OpenIPMI answered to the request
};

} // namespace BM_ADAPTOR
