// Parameter group 0x400: the RTM's framers, from its FRU's vendor record or from the override.
#include "adaptor/hardware/IPMI_HardwareFacts.h"

#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_trace.h"

namespace BM_ADAPTOR {

namespace {

void AddFramers(CBMIParams& a_Row, int a_FramerType, int a_NumFramers, int a_TrunksPerFramer) {
    AddInt(a_Row, BMI_HW_RTM_FRU_FRAMER_TYPE, a_FramerType);
    AddInt(a_Row, BMI_HW_RTM_FRU_NUM_FRAMERS, a_NumFramers);
    AddInt(a_Row, BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER, a_TrunksPerFramer);
}

} // namespace

int IPMIAdaptor::RTM_FRU_ReadParams(const CBMIKeys*, CBMIParams* a_Row) {
    if (m_State != ADAPTOR_STARTED) {
        LogError(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams -- In bad state %i", m_State.load());
    }
    LogTrace(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams");
    if (a_Row == nullptr) return RESULT_NOT_FOUND;
    int l_FramerType = -1;
    int l_NumFramers = -1;
    int l_TrunksPerFramer = -1;
    const int l_Mode = ReadRTMConfig(&l_FramerType, &l_NumFramers, &l_TrunksPerFramer);
    LogTrace(
        m_Logger,
        "IPMIAdaptor :: RTM_FRU_ReadParams - file read rc=%i l_FramerType=%i l_NumFramers=%i l_NumTrunksPerFramer=%i",
        l_Mode, l_FramerType, l_NumFramers, l_TrunksPerFramer);
    if (l_Mode == PSTN_MODE_SIMULATED) {
        AddFramers(*a_Row, l_FramerType, l_NumFramers, l_TrunksPerFramer);
        LogTrace(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - returning Simulated OK ");
        return RESULT_OK;
    }
    if (l_Mode == PSTN_MODE_NO_RTM) {
        LogTrace(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - returning simulated no RTM");
        return RESULT_NOT_FOUND;
    }
    if (l_Mode == PSTN_MODE_FRU_DATA) {
        LogTrace(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - Using FRU data (no override)");
    }

    const auto l_RTM = FindHardware(ENTITY_ID_RTM);
    if (!l_RTM) {
        LogError(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - NO RTM INSTALLED ");
        return RESULT_NOT_FOUND;
    }
    if (!l_RTM->m_FRU) {
        LogError(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - FRU data missing - internal error ");
        return RESULT_NOT_FOUND;
    }
    const auto& l_Record = l_RTM->m_FRU->m_RTM;
    if (!l_Record) {
        LogError(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - error - not found");
        return RESULT_NOT_FOUND;
    }
    AddFramers(*a_Row, l_Record->m_FramerType, l_Record->m_NumFramers, l_Record->m_TrunksPerFramer);
    LogTrace(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - returning OK ");
    return RESULT_OK;
}

int IPMIAdaptor::RTM_FRU_ReadTable(CBMITable*& a_Table) {
    a_Table = new CBMITable;
    if (m_State != ADAPTOR_STARTED) {
        LogError(m_Logger, "IPMIAdaptor :: RTM_FRU_ReadTable -- In bad state %i", m_State.load());
    }
    CBMIKeys l_Keys;
    AddKey(l_Keys, BMI_HW_AMC_BAY, RTM_BAY); // a key of the AMC table, kept; the handler does not look at it
    CBMIParams l_Row;
    if (RTM_FRU_ReadParams(&l_Keys, &l_Row) != RESULT_OK) return RESULT_NOT_FOUND;
    a_Table->AddRow(l_Row);
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
