// The DSPs' addresses as words of a command line.
#include "adaptor/dsp/IPMI_DSPInfo.h"

#include "common/veldo_common_text.h"

namespace BM_ADAPTOR {

std::string DSPArguments(const IPMI_DSP_Info_S* a_DSPs, int a_NumDSPs) {
    std::string l_Arguments;
    for (int i = 0; a_DSPs != nullptr && i < a_NumDSPs; ++i) {
        const auto& [l_MAC, l_IP] = a_DSPs[i];
        l_Arguments += FormatText(" /%d/%s/%s", i, l_MAC.c_str(), l_IP.c_str());
    }
    return l_Arguments;
}

} // namespace BM_ADAPTOR
