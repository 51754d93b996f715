// The DSPs' addresses as one room hands them to another: plain records.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace BM_ADAPTOR {

/// One DSP's addresses, as text.
struct IPMI_DSP_Info_S {
    std::string m_MAC;
    std::string m_IP;
};

/// The DSPs in the order of their numbers, from 1.
using DSP_TABLE = std::vector<IPMI_DSP_Info_S>;

/// DSP number, from 1, to its MAC. Its size is the number of DSPs known; numbers may be missing.
using DSP_MACS = std::map<int, std::string>;

/// The DSPs as words of a tool's command line, counted from 0, each with a blank before it; "" for a null table.
std::string DSPArguments(const IPMI_DSP_Info_S* a_DSPs, int a_NumDSPs);

} // namespace BM_ADAPTOR
