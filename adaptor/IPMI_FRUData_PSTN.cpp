// The RTM's PSTN configuration: the override that replaces its FRU data.
#include "adaptor/IPMI_FRUData.h"

#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_trace.h"

#include <cstdlib>
#include <string_view>

namespace BM_ADAPTOR {

int IPMIAdaptor::ReadRTMConfig(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer) {
    const char* l_Value = getenv("MAVK_RTM");
    if (l_Value == nullptr) return PSTN_MODE_FRU_DATA;
    const int l_Mode = DigitValue(l_Value[0]); // an empty value is mode 0 too
    if (l_Mode != PSTN_MODE_SIMULATED) return l_Mode;
    if (std::string_view(l_Value).size() < 4) {
        LogError(m_Logger, "Invalid simuation data = %s", l_Value);
        return PSTN_MODE_SIMULATED; // all the same: the caller goes on with the values it has
    }
    *a_FramerType = DigitValue(l_Value[1]);
    *a_NumFramers = DigitValue(l_Value[2]);
    *a_TrunksPerFramer = DigitValue(l_Value[3]);
    return PSTN_MODE_SIMULATED;
}

} // namespace BM_ADAPTOR
