// Parameter group 0x300: the AMCs' hardware facts, from their FRUs' vendor records.
#include "adaptor/hardware/IPMI_HardwareFacts.h"

#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

#include <cstdlib>
#include <string_view>

namespace BM_ADAPTOR {

std::optional<AMC_OVERRIDE> AMCOverride() {
    const char* l_Value = getenv("MAVK_AMC");
    const std::string_view l_Text = l_Value != nullptr ? l_Value : "";
    if (l_Text.size() <= 3) return std::nullopt;
    return AMC_OVERRIDE{DigitValue(l_Text[1]), DigitValue(l_Text[2]), DigitValue(l_Text[3])};
}

int IPMIAdaptor::AMC_FRU_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) {
    if (m_State != ADAPTOR_STARTED) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams -- In bad state %i", m_State.load());
    }
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams");
    const auto l_Bay = IntParam(a_Keys, BMI_HW_AMC_FRU_BAY);
    if (!l_Bay) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - No Bay Location passed in");
        return RESULT_NOT_FOUND;
    }
    if (a_Row == nullptr) return RESULT_NOT_FOUND;
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - target bay location =%i", *l_Bay);
    AddKey(*a_Row, BMI_HW_AMC_FRU_BAY, *l_Bay);

    if (const auto l_Override = AMCOverride()) {
        if (l_Override->m_Bay != *l_Bay) return RESULT_NOT_FOUND;
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - Found AMC Bay Location %i", *l_Bay);
        // Texts, and the other way round than below: on purpose.
        AddText(*a_Row, BMI_HW_AMC_FRU_FIELD_A, FormatText("%i", l_Override->m_FieldA));
        AddText(*a_Row, BMI_HW_AMC_FRU_FIELD_B, FormatText("%i", l_Override->m_FieldB));
        return RESULT_OK;
    }

    const auto l_AMC = FindHardware(ENTITY_ID_AMC, *l_Bay);
    if (!l_AMC) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - FRU not found");
        return RESULT_NOT_FOUND;
    }
    if (!l_AMC->m_FRU) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - FRU data missing - internal error ");
        return RESULT_NOT_FOUND;
    }
    const auto& l_Record = l_AMC->m_FRU->m_AMC;
    if (!l_Record) return RESULT_NOT_FOUND;
    AddInt(*a_Row, BMI_HW_AMC_FRU_FIELD_B, l_Record->m_NumDSPs);
    AddInt(*a_Row, BMI_HW_AMC_FRU_FIELD_A, l_Record->m_FirstDSPType);
    LogTrace(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadParams - returning OK");
    return RESULT_OK;
}

int IPMIAdaptor::AMC_FRU_ReadTable(CBMITable*& a_Table) {
    a_Table = new CBMITable;
    if (m_State != ADAPTOR_STARTED) {
        LogError(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadTable -- In bad state %i", m_State.load());
    }
    for (int32_t l_Bay = AMC_BAY_FIRST; l_Bay <= AMC_BAY_LAST; ++l_Bay) {
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadTable -- looking for AMC in Bay  %i", l_Bay);
        CBMIKeys l_Keys;
        AddKey(l_Keys, BMI_HW_AMC_FRU_BAY, l_Bay);
        CBMIParams l_Row;
        if (AMC_FRU_ReadParams(&l_Keys, &l_Row) != RESULT_OK) continue;
        LogTrace(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadTable -- Found AMC in Bay  %i", l_Bay);
        a_Table->AddRow(l_Row);
    }
    LogError(m_Logger, "IPMIAdaptor :: AMC_FRU_ReadTable -- Returning %i found ", a_Table->GetSize()); // at level 3
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
