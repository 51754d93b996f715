// What start-up must know of the RTM: whether there is one, and its framers and trunks.
#include "adaptor/startup/IPMI_RTMInfo.h"

#include "common/veldo_common_guard.h"
#include "common/veldo_common_rows.h"

namespace BM_ADAPTOR {

int RTM_INFO::Take(int a_Result, std::span<const CBMIParams* const> a_Rows) {
    m_Values.m_Present = a_Result == RESULT_OK && !a_Rows.empty() ? 1 : 0;
    return m_Values.m_Present != 0 ? mKeepRow(a_Rows.front()) : a_Result;
}

int RTM_INFO::mKeepRow(const CBMIParams* a_Row) {
    if (a_Row == nullptr) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to get Row[0] of RTM Table in GetAmcRtmInfo()");
        return STARTUP_FAILED;
    }
    const auto l_NumFramers = IntParam(a_Row, BMI_HW_RTM_FRU_NUM_FRAMERS);
    if (!l_NumFramers) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to get BMI_HW_RTM_FRU_NUM_FRAMERS of RTM Table in mInitRTMInfo()");
        return STARTUP_FAILED;
    }
    m_Values.m_NumFramers = *l_NumFramers;
    m_Values.m_TrunksPerFramer = IntParam(a_Row, BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER).value_or(m_Values.m_TrunksPerFramer);
    m_Values.m_TrunkTotal = m_Values.m_NumFramers * m_Values.m_TrunksPerFramer;
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
