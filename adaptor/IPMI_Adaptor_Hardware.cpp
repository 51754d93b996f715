// The hardware tables, the RTM's overrides and its export: on to their room.
#include "adaptor/IPMI_Adaptor.h"

#include "adaptor/hardware/IPMI_AMCFRUTable.h"
#include "adaptor/hardware/IPMI_AMCHardwareTable.h"
#include "adaptor/hardware/IPMI_BoardTable.h"
#include "adaptor/hardware/IPMI_Overrides.h"
#include "adaptor/hardware/IPMI_PSTN.h"
#include "adaptor/hardware/IPMI_RTMFRUTable.h"

namespace BM_ADAPTOR {

int IPMIAdaptor::AMC_FRU_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return AMC_FRU_TABLE(mFrame()).ReadParams(a_Keys, a_Row);
}

int IPMIAdaptor::AMC_FRU_ReadTable(CBMITable*& a_Table) {
    return AMC_FRU_TABLE(mFrame()).ReadTable(a_Table);
}

int IPMIAdaptor::RTM_FRU_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return RTM_FRU_TABLE(mFrame()).ReadParams(a_Keys, a_Row);
}

int IPMIAdaptor::RTM_FRU_ReadTable(CBMITable*& a_Table) {
    return RTM_FRU_TABLE(mFrame()).ReadTable(a_Table);
}

int IPMIAdaptor::Board_Hardware_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return BOARD_TABLE(mFrame()).ReadParams(a_Keys, a_Row);
}

int IPMIAdaptor::Board_Hardware_ReadTable(CBMITable*& a_Table) {
    return BOARD_TABLE(mFrame()).ReadTable(a_Table);
}

int IPMIAdaptor::Board_Hardware_WriteParams(CBMIKeys*, CBMIParams* a_Values) {
    return BOARD_TABLE(mFrame()).WriteParams(a_Values);
}

int IPMIAdaptor::AMC_HW_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    return AMC_HARDWARE_TABLE(mFrame()).ReadParams(a_Keys, a_Row);
}

int IPMIAdaptor::AMC_HW_ReadTable(CBMITable*& a_Table) {
    return AMC_HARDWARE_TABLE(mFrame()).ReadTable(a_Table);
}

int IPMIAdaptor::AMC_HW_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values) {
    HOST_EVENTS l_Events(m_Manager);
    return AMC_HARDWARE_TABLE(mFrame()).WriteParams(a_Keys, a_Values, l_Events);
}

int IPMIAdaptor::ReadRTMConfig(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer) {
    return RTM_OVERRIDE(mFrame()).ReadRTMConfig(a_FramerType, a_NumFramers, a_TrunksPerFramer);
}

int IPMIAdaptor::ReadRTMConfigFile(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer) {
    return RTM_OVERRIDE(mFrame()).ReadRTMConfigFile(a_FramerType, a_NumFramers, a_TrunksPerFramer);
}

int IPMIAdaptor::WriteProcFile() {
    return PSTN_EXPORT(mFrame()).WriteProcFile();
}

} // namespace BM_ADAPTOR
