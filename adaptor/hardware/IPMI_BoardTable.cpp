// Parameter group 0x30000: the baseboard, and its reset.
#include "adaptor/hardware/IPMI_BoardTable.h"

#include "adaptor/hardware/IPMI_HardwareTable.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"
#include "ipmi/IPMI_Probe.h"

namespace BM_ADAPTOR {

namespace {

constexpr int BASEBOARD_FRU_ID = 0;
constexpr int FRU_CONTROL_COLD_RESET = 0;

} // namespace

int BOARD_TABLE::ReadParams(const CBMIKeys*, CBMIParams* a_Row) const {
    // The line has always named the LED handler.
    LogUnlessStarted(m_Frame, "IPMIAdaptor :: Baseboard_LED_ReadParams -- In bad state %i");
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: Board_Hardware_ReadParams");
    if (a_Row == nullptr) return RESULT_NOT_FOUND;

    const auto l_Board =
        FindHardwareWithFRU(m_Frame, ENTITY_ID_BASEBOARD, std::nullopt, nullptr,
                            "IPMIAdaptor :: Board_Hardware_ReadParams - FRU data missing - internal error (no FRU)");
    if (!l_Board) return RESULT_NOT_FOUND;
    const auto& l_FRU = l_Board->m_FRU;
    AddText(*a_Row, BMI_HW_BOARD_PRODUCT_NAME, l_FRU->m_BoardProductName);
    AddInt(*a_Row, BMI_HW_BOARD_LOCATION, l_Board->m_BayLocation);
    AddText(*a_Row, BMI_HW_BOARD_MANUFACTURER, l_FRU->m_BoardManufacturer);
    AddText(*a_Row, BMI_HW_BOARD_PRODUCT_SERIAL, l_FRU->m_ProductSerialNumber);
    AddText(*a_Row, BMI_HW_BOARD_PRODUCT_VERSION, l_FRU->m_ProductVersion);
    AddText(*a_Row, BMI_HW_BOARD_PART_NUMBER, l_FRU->m_BoardPartNumber);
    const auto& l_MC = l_Board->m_MC;
    if (!l_MC) {
        LogError(m_Frame.m_Logger,
                 "IPMIAdaptor :: Board_Hardware_ReadParams - FRU data missing - internal error (NO MC)");
        return RESULT_NOT_FOUND;
    }
    AddText(*a_Row, BMI_HW_BOARD_FW_VERSION, FormatText("%i.%i", l_MC->m_MajorFWRevision, l_MC->m_MinorFWRevision));
    return RESULT_OK;
}

int BOARD_TABLE::ReadTable(CBMITable*& a_Table) const {
    CBMITable& l_Table = BeginTable(m_Frame, a_Table, "IPMIAdaptor :: Board_Hardware_ReadTable -- In bad state %i");
    return AddRowRead(l_Table, [&](CBMIParams& a_Row) { return ReadParams(nullptr, &a_Row); });
}

// Resets the board whatever the two flags say: they only reach the log.
int BOARD_TABLE::WriteParams(const CBMIParams* a_Values) const {
    LogUnlessStarted(m_Frame, "IPMIAdaptor :: Board_Hardware_WriteParams -- In bad state %i");
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: Board_Hardware_WriteParams");
    if (a_Values == nullptr) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: Board_Hardware_WriteParams - prow=null");
        return RESULT_NOT_FOUND;
    }
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: Board_Hardware_WriteParams - ResetBaseboard=%s ResetEntireCard=%s\n",
             BoolParam(a_Values, BMI_HW_BOARD_RESET_BASEBOARD) ? "TRUE" : "FALSE",
             BoolParam(a_Values, BMI_HW_BOARD_RESET_ENTIRE_CARD) ? "TRUE" : "FALSE");
    // Under the complete simulation there is no probe, and nothing to reset.
    ENTITYCAPTURE* const l_Probe = g_ENTITYCapture;
    if (l_Probe != nullptr) l_Probe->SendFRUControl(BASEBOARD_FRU_ID, FRU_CONTROL_COLD_RESET);
    LogTrace(m_Frame.m_Logger, "Board_Hardware_WriteParams - Sending Request - DONE");
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
