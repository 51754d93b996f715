// What start-up must know of the RTM, and the kernel parameter that goes with the number of DSPs.
#include "adaptor/IPMI_Adaptor.h"

#include "common/veldo_common_guard.h"
#include "common/veldo_common_rows.h"

#include <array>
#include <memory>

#include <linux/sysctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace BM_ADAPTOR {

namespace {

// Named by two numbers; what it does is the board driver's. Kernels that no longer have the system call refuse it.
bool SetRemap(int a_Value) {
    std::array<int, 2> l_Name = {555, 2};
    __sysctl_args l_Arguments{};
    l_Arguments.name = l_Name.data();
    l_Arguments.nlen = static_cast<int>(l_Name.size());
    l_Arguments.newval = &a_Value;
    l_Arguments.newlen = sizeof(a_Value);
    return syscall(SYS__sysctl, &l_Arguments) == 0;
}

} // namespace

int IPMIAdaptor::mInitRTMInfo() {
    CBMITable* l_Made = nullptr;
    const int l_Result = RTM_FRU_ReadTable(l_Made);
    const std::unique_ptr<CBMITable> l_Table(l_Made);
    m_RTMPresent = l_Result == RESULT_OK && l_Table->GetSize() > 0 ? 1 : 0;
    return m_RTMPresent != 0 ? mKeepRTMInfo(l_Table->Get(0)) : l_Result;
}

int IPMIAdaptor::mKeepRTMInfo(const CBMIParams* a_Row) {
    if (a_Row == nullptr) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to get Row[0] of RTM Table in GetAmcRtmInfo()");
        return STARTUP_FAILED;
    }
    const auto l_NumFramers = IntParam(a_Row, BMI_HW_RTM_FRU_NUM_FRAMERS);
    if (!l_NumFramers) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI, "Fail to get BMI_HW_RTM_FRU_NUM_FRAMERS of RTM Table in mInitRTMInfo()");
        return STARTUP_FAILED;
    }
    m_NumFramers = *l_NumFramers;
    m_TrunksPerFramer = IntParam(a_Row, BMI_HW_RTM_FRU_TRUNKS_PER_FRAMER).value_or(m_TrunksPerFramer);
    m_TrunkTotal = m_NumFramers * m_TrunksPerFramer;
    return RESULT_OK;
}

int IPMIAdaptor::mSetDepop(int a_Count) {
    if (!SetRemap(a_Count == 3 ? 1 : 0)) {
        bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "Fail to set REMAP value with %d DSPs", a_Count);
    }
    return RESULT_OK;
}

} // namespace BM_ADAPTOR
