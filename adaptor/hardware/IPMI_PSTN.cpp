// The export of the RTM's PSTN configuration to the board's PCI driver.
#include "adaptor/hardware/IPMI_PSTN.h"

#include "adaptor/board/IPMI_Board.h"
#include "adaptor/hardware/IPMI_HardwareTable.h"
#include "adaptor/hardware/IPMI_Overrides.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

#include <array>
#include <cstddef>
#include <string>
#include <system_error>

namespace BM_ADAPTOR {

namespace {

// One record for the driver, and what is logged when the driver does not take it.
struct PSTN_RECORD {
    std::string m_Text;
    const char* m_Failure;
};

PSTN_RECORD DataValid() {
    return {FormatText("DataValid=%i", 1), "IPMIAdaptor :: WriteProcFile - error - Can't write DataValid"};
}

PSTN_RECORD RtmDetected(int a_Detected) {
    return {FormatText("RtmDetected=%i", a_Detected), "IPMIAdaptor :: WriteProcFile - error - Can't write RtmDetected"};
}

// One opening of the driver's file. The records that the driver took stay, whatever became of those after them.
template <std::size_t COUNT>
bool WritePass(const ADAPTOR_FRAME& a_Frame, const char* a_OpenFailure,
               const std::array<PSTN_RECORD, COUNT>& a_Records) {
    std::array<std::string, COUNT> l_Texts;
    for (std::size_t i = 0; i < COUNT; ++i)
        l_Texts[i] = a_Records[i].m_Text;
    const DRIVER_PASS l_Pass = a_Frame.m_Board.WriteDriverFile(l_Texts);
    if (l_Pass.m_OpenError != 0) {
        LogError(a_Frame.m_Logger, "OS Error ID = %d OS Error String=%s", l_Pass.m_OpenError,
                 std::generic_category().message(l_Pass.m_OpenError).c_str());
        LogLine(a_Frame.m_Logger, BM_LOG_ERROR, a_OpenFailure);
        return false;
    }
    if (l_Pass.m_Taken == COUNT) return true;
    LogLine(a_Frame.m_Logger, BM_LOG_ERROR, a_Records[l_Pass.m_Taken].m_Failure);
    return false;
}

// True for any RTM with a FRU: without the vendor record the data stay as they are.
bool ReadPSTNData(const ADAPTOR_FRAME& a_Frame, PSTN_DATA& a_Data) {
    LogTrace(a_Frame.m_Logger, "IPMIAdaptor :: WriteProcFile - Using FRU data (no override)");
    LogTrace(a_Frame.m_Logger, "IPMIAdaptor :: WriteProcFile");
    const auto l_RTM = FindHardwareWithFRU(a_Frame, ENTITY_ID_RTM, std::nullopt,
                                           "IPMIAdaptor :: WriteProcFile - NO AMC INSTALLED ", // it means the RTM
                                           "IPMIAdaptor :: WriteProcFile - No RTM data ");
    if (!l_RTM) return false;
    if (const auto& l_Record = l_RTM->m_FRU->m_RTM) {
        a_Data = *l_Record;
        LogTrace(a_Frame.m_Logger, "IPMIAdaptor :: WriteProcFile - returning OK ");
    }
    return true;
}

} // namespace

int PSTN_EXPORT::WriteProcFile() const {
    if (!WritePass(m_Frame, "IPMIAdaptor :: WriteProcFile - error - Can't open pci Driver for initial write",
                   std::array{DataValid(), RtmDetected(0)})) {
        return RESULT_NOTHING_DONE;
    }
    PSTN_DATA l_Data;
    const int l_Mode =
        RTM_OVERRIDE(m_Frame).ReadRTMConfig(&l_Data.m_FramerType, &l_Data.m_NumFramers, &l_Data.m_TrunksPerFramer);
    LogTrace(m_Frame.m_Logger,
             "IPMIAdaptor :: WriteProcFile - file read rc=%i l_FramerType=%i l_NumFramers=%i l_NumTrunksPerFramer=%i",
             l_Mode, l_Data.m_FramerType, l_Data.m_NumFramers, l_Data.m_TrunksPerFramer);
    if (l_Mode == PSTN_MODE_SIMULATED) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: WriteProcFile - Using simulated data");
    } else if (l_Mode == PSTN_MODE_NO_RTM) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: WriteProcFile - returning simulated no RTM");
        return RESULT_NOT_FOUND;
    } else if (l_Mode == PSTN_MODE_FRU_DATA && !ReadPSTNData(m_Frame, l_Data)) {
        return RESULT_NOT_FOUND;
    }
    const bool l_Written =
        WritePass(m_Frame, "IPMIAdaptor::WriteProcFile - error - Can't open pci Driver",
                  std::array{PSTN_RECORD{FormatText("FramerType=%i", l_Data.m_FramerType),
                                         "IPMIAdaptor :: WriteProcFile - error - Can't write FramerType"},
                             PSTN_RECORD{FormatText("NumberOfFramers=%i", l_Data.m_NumFramers),
                                         "IPMIAdaptor :: WriteProcFile - error - Can't write NumberOfFramers"},
                             PSTN_RECORD{FormatText("TrunksPerFramer=%i", l_Data.m_TrunksPerFramer),
                                         "IPMIAdaptor :: WriteProcFile - error - Can't write TrunksPerFramer"},
                             DataValid(), RtmDetected(1)});
    return l_Written ? RESULT_OK : RESULT_NOTHING_DONE;
}

} // namespace BM_ADAPTOR
