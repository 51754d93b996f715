// The overrides of the environment: MAVK_AMC, MAVK_RTM, and the latter's form as a file.
#include "adaptor/hardware/IPMI_Overrides.h"

#include "adaptor/board/IPMI_Board.h"
#include "common/veldo_common_trace.h"

#include <cstddef>
#include <cstdlib>

namespace BM_ADAPTOR {

namespace {

int DigitValue(char a_Digit) {
    return a_Digit >= '0' && a_Digit <= '9' ? a_Digit - '0' : 0;
}

} // namespace

std::optional<AMC_OVERRIDE> AMCOverride(BOARD& a_Board) {
    const auto l_Text = a_Board.Environment("MAVK_AMC");
    if (!l_Text || l_Text->size() <= 3) return std::nullopt;
    return AMC_OVERRIDE{DigitValue((*l_Text)[1]), DigitValue((*l_Text)[2]), DigitValue((*l_Text)[3])};
}

int RTM_OVERRIDE::ReadRTMConfig(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer) const {
    const auto l_Text = m_Frame.m_Board.Environment("MAVK_RTM");
    if (!l_Text || l_Text->empty()) return PSTN_MODE_FRU_DATA;
    const int l_Mode = DigitValue(l_Text->front());
    if (l_Mode != PSTN_MODE_SIMULATED) return l_Mode;
    if (l_Text->size() < 4) {
        LogError(m_Frame.m_Logger, "Invalid simuation data = %s", l_Text->c_str());
        return PSTN_MODE_SIMULATED; // nevertheless: the caller goes on with the values it has
    }
    *a_FramerType = DigitValue((*l_Text)[1]);
    *a_NumFramers = DigitValue((*l_Text)[2]);
    *a_TrunksPerFramer = DigitValue((*l_Text)[3]);
    return PSTN_MODE_SIMULATED;
}

int RTM_OVERRIDE::ReadRTMConfigFile(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer) const {
    *a_FramerType = *a_NumFramers = *a_TrunksPerFramer = -1;
    const auto l_Lines = m_Frame.m_Board.OverrideLines();
    if (!l_Lines) return -1;
    int l_Mode = 0;
    std::size_t l_Read = 0;
    for (int* const l_Value : {&l_Mode, a_FramerType, a_NumFramers, a_TrunksPerFramer}) {
        if (l_Read == l_Lines->size()) return 0;
        *l_Value = static_cast<int>(strtol((*l_Lines)[l_Read++].c_str(), nullptr, 10)); // a line without a number is 0
    }
    return l_Mode;
}

} // namespace BM_ADAPTOR
