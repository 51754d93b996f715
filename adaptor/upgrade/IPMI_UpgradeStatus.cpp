// The state of the last firmware upgrade: who may begin the next one, what a row and the event show.
#include "adaptor/upgrade/IPMI_UpgradeStatus.h"

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "common/veldo_common_guard.h"

namespace BM_ADAPTOR {

namespace {

// The group's integers are of the second integer type, and none of them is a key.
void AddUnsigned(CBMIParams& a_Row, BMIParamId_e a_Id, int32_t a_Value) {
    CBMIParam l_Param(BMI_PARAM_UINT, a_Id, false);
    l_Param.SetInt(a_Value);
    a_Row.Add(l_Param);
}

} // namespace

bool UPGRADE_STATUS::Begin(UPGRADETARGET a_Target, int32_t a_Bay) {
    if (m_bInProgress.exchange(true)) return false;
    m_Target = a_Target;
    m_Bay = a_Bay;
    m_State = UPGRADE_REQUESTED;
    return true;
}

void UPGRADE_STATUS::End() {
    int32_t l_NoOutcome = UPGRADE_REQUESTED;
    m_State.compare_exchange_strong(l_NoOutcome, UPGRADE_FAILED);
    m_bInProgress = false;
}

void UPGRADE_STATUS::SendEvent() const {
    Guarded("Firmware_Update event", [&] {
        CBMIEvParams l_Event;
        AddTo(l_Event);
        HOST_EVENTS(m_Manager).SendEvent(BMI_EVENT_FIRMWARE_UPDATE, BMI_EVENT_NUMBER, &l_Event);
        return static_cast<int>(RESULT_OK);
    });
}

void UPGRADE_STATUS::AddTo(CBMIParams& a_Row) const {
    AddUnsigned(a_Row, BMI_FW_UPDATE_TARGET, m_Target);
    AddUnsigned(a_Row, BMI_FW_UPDATE_BAY, m_Bay);
    AddUnsigned(a_Row, BMI_FW_UPDATE_STATE, m_State);
}

} // namespace BM_ADAPTOR
