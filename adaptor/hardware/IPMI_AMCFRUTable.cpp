// Parameter group 0x300: the AMCs' hardware facts, from their FRUs' vendor records or from the override.
#include "adaptor/hardware/IPMI_AMCFRUTable.h"

#include "adaptor/hardware/IPMI_HardwareTable.h"
#include "adaptor/hardware/IPMI_Overrides.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

namespace BM_ADAPTOR {

int AMC_FRU_TABLE::ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) const {
    LogUnlessStarted(m_Frame, "IPMIAdaptor :: AMC_FRU_ReadParams -- In bad state %i");
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams");
    const auto l_Bay = IntParam(a_Keys, BMI_HW_AMC_FRU_BAY);
    if (!l_Bay) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - No Bay Location passed in");
        return RESULT_NOT_FOUND;
    }
    if (a_Row == nullptr) return RESULT_NOT_FOUND;
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - target bay location =%i", *l_Bay);
    AddKey(*a_Row, BMI_HW_AMC_FRU_BAY, *l_Bay);

    if (const auto l_Override = AMCOverride(m_Frame.m_Board)) {
        if (l_Override->m_Bay != *l_Bay) return RESULT_NOT_FOUND;
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - Found AMC Bay Location %i", *l_Bay);
        // Texts, and the other way round than below: on purpose.
        AddText(*a_Row, BMI_HW_AMC_FRU_FIELD_A, FormatText("%i", l_Override->m_FieldA));
        AddText(*a_Row, BMI_HW_AMC_FRU_FIELD_B, FormatText("%i", l_Override->m_FieldB));
        return RESULT_OK;
    }

    const auto l_AMC =
        FindHardwareWithFRU(m_Frame, ENTITY_ID_AMC, *l_Bay, "IPMIAdaptor :: AMC_FRU_ReadParams - FRU not found",
                            "IPMIAdaptor :: AMC_FRU_ReadParams - FRU data missing - internal error ");
    if (!l_AMC) return RESULT_NOT_FOUND;
    const auto& l_Record = l_AMC->m_FRU->m_AMC;
    if (!l_Record) return RESULT_NOT_FOUND;
    AddInt(*a_Row, BMI_HW_AMC_FRU_FIELD_B, l_Record->m_NumDSPs);
    AddInt(*a_Row, BMI_HW_AMC_FRU_FIELD_A, l_Record->m_FirstDSPType);
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - returning OK");
    return RESULT_OK;
}

int AMC_FRU_TABLE::ReadTable(CBMITable*& a_Table) const {
    CBMITable& l_Table = BeginTable(m_Frame, a_Table, "IPMIAdaptor :: AMC_FRU_ReadTable -- In bad state %i");
    for (int32_t l_Bay = AMC_BAY_FIRST; l_Bay <= AMC_BAY_LAST; ++l_Bay) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_FRU_ReadTable -- looking for AMC in Bay  %i", l_Bay);
        CBMIKeys l_Keys;
        AddKey(l_Keys, BMI_HW_AMC_FRU_BAY, l_Bay);
        const auto l_Read = [&](CBMIParams& a_Row) {
            const int l_Result = ReadParams(&l_Keys, &a_Row);
            if (l_Result == RESULT_OK) {
                LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: AMC_FRU_ReadTable -- Found AMC in Bay  %i", l_Bay);
            }
            return l_Result;
        };
        AddRowRead(l_Table, l_Read);
    }
    LogError(m_Frame.m_Logger, "IPMIAdaptor :: AMC_FRU_ReadTable -- Returning %i found ",
             l_Table.GetSize()); // at level 3
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
