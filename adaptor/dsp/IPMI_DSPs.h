// The DSPs' addresses, as start-up hands them on.
#pragma once

#include <map>
#include <string>

namespace BM_ADAPTOR {

/// One DSP's addresses, as text.
struct IPMI_DSP_Info_S {
    std::string m_MAC;
    std::string m_IP;
};

/// DSP number, from 1, to its MAC. Its size is the number of DSPs known; numbers may be missing.
using DSP_MACS = std::map<int, std::string>;

/// The DSPs as words of a tool's command line, counted from 0, each with a blank before it; "" for a null table.
std::string DSPArguments(const IPMI_DSP_Info_S* a_DSPs, int a_NumDSPs);

/// An AMC has this many DSPs at the most.
inline constexpr int DSPS_PER_AMC = 4;

/// Storage file of the DSPs' IP addresses: a row for each DSP number.
inline constexpr const char* DSP_IP_FILE = "telq_qub_dsp_iptable_cfg.xml";

} // namespace BM_ADAPTOR
