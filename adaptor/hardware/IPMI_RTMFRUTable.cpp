// Parameter group 0x400: the RTM's framers, from its FRU's vendor record or from the override.
#include "adaptor/hardware/IPMI_RTMFRUTable.h"

#include "adaptor/hardware/IPMI_HardwareTable.h"
#include "adaptor/hardware/IPMI_Overrides.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_trace.h"

namespace BM_ADAPTOR {

namespace {

void AddFramers(CBMIParams& a_Row, const PSTN_DATA& a_Data) {
    AddInt(a_Row, BMI_HW_RTM_FRU_FRAMER_TYPE, a_Data.m_FramerType);
    AddInt(a_Row, BMI_HW_RTM_FRU_NUM_FRAMERS, a_Data.m_NumFramers);
    AddInt(a_Row, BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER, a_Data.m_TrunksPerFramer);
}

} // namespace

int RTM_FRU_TABLE::ReadParams(const CBMIKeys*, CBMIParams* a_Row) const {
    LogUnlessStarted(m_Frame, "IPMIAdaptor :: RTM_FRU_ReadParams -- In bad state %i");
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams");
    if (a_Row == nullptr) return RESULT_NOT_FOUND;
    PSTN_DATA l_Data;
    const int l_Mode =
        RTM_OVERRIDE(m_Frame).ReadRTMConfig(&l_Data.m_FramerType, &l_Data.m_NumFramers, &l_Data.m_TrunksPerFramer);
    LogTrace(
        m_Frame.m_Logger,
        "IPMIAdaptor :: RTM_FRU_ReadParams - file read rc=%i l_FramerType=%i l_NumFramers=%i l_NumTrunksPerFramer=%i",
        l_Mode, l_Data.m_FramerType, l_Data.m_NumFramers, l_Data.m_TrunksPerFramer);
    if (l_Mode == PSTN_MODE_SIMULATED) {
        AddFramers(*a_Row, l_Data);
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - returning Simulated OK ");
        return RESULT_OK;
    }
    if (l_Mode == PSTN_MODE_NO_RTM) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - returning simulated no RTM");
        return RESULT_NOT_FOUND;
    }
    if (l_Mode == PSTN_MODE_FRU_DATA) {
        LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - Using FRU data (no override)");
    }

    const auto l_RTM = FindHardwareWithFRU(m_Frame, ENTITY_ID_RTM, std::nullopt,
                                           "IPMIAdaptor :: RTM_FRU_ReadParams - NO RTM INSTALLED ",
                                           "IPMIAdaptor :: RTM_FRU_ReadParams - FRU data missing - internal error ");
    if (!l_RTM) return RESULT_NOT_FOUND;
    const auto& l_Record = l_RTM->m_FRU->m_RTM;
    if (!l_Record) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - error - not found");
        return RESULT_NOT_FOUND;
    }
    AddFramers(*a_Row, *l_Record);
    LogTrace(m_Frame.m_Logger, "IPMIAdaptor :: RTM_FRU_ReadParams - returning OK ");
    return RESULT_OK;
}

int RTM_FRU_TABLE::ReadTable(CBMITable*& a_Table) const {
    CBMITable& l_Table = BeginTable(m_Frame, a_Table, "IPMIAdaptor :: RTM_FRU_ReadTable -- In bad state %i");
    CBMIKeys l_Keys;
    AddKey(l_Keys, BMI_HW_AMC_BAY, RTM_BAY); // a key of the AMC table, kept; the handler does not look at it
    return AddRowRead(l_Table, [&](CBMIParams& a_Row) { return ReadParams(&l_Keys, &a_Row); });
}

} // namespace BM_ADAPTOR
