// Parameter group 0x600: starts firmware upgrades and tells how the last one went.
#include "adaptor/IPMI_FirmwareUpdate.h"

#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_guard.h"
#include "common/veldo_common_lock.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_trace.h"

#include <cstdio>
#include <utility>

namespace BM_ADAPTOR {

namespace {

// The group's integers are of the second integer type, and none of them is a key.
void AddUnsigned(CBMIParams& a_Row, BMIParamId_e a_Id, int32_t a_Value) {
    CBMIParam l_Param(BMI_PARAM_UINT, a_Id, false);
    l_Param.SetInt(a_Value);
    a_Row.Add(l_Param);
}

// The image's path up to its first NUL; empty when there is none.
std::string ImagePath(const CBMIParams& a_Values) {
    const CBMIParam* l_File = a_Values.GetParamById(BMI_FW_UPDATE_FILE);
    return l_File != nullptr && l_File->GetType() == BMI_PARAM_STRING ? l_File->GetString().c_str() : "";
}

} // namespace

// ---- the status

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
        IBMAdaptorMgr* const l_Manager = m_Manager;
        if (l_Manager != nullptr) l_Manager->SendEvent(BMI_GROUP_FIRMWARE_UPDATE, BMI_EVENT_NUMBER, &l_Event);
        return static_cast<int>(RESULT_OK);
    });
}

void UPGRADE_STATUS::AddTo(CBMIParams& a_Row) const {
    AddUnsigned(a_Row, BMI_FW_UPDATE_TARGET, m_Target);
    AddUnsigned(a_Row, BMI_FW_UPDATE_BAY, m_Bay);
    AddUnsigned(a_Row, BMI_FW_UPDATE_STATE, m_State);
}

// ---- the adaptor's side

// Made for the first upgrade, so that an adaptor which never ran one has nothing to leave behind.
std::shared_ptr<UPGRADE_STATUS> IPMIAdaptor::ShareUpgrade() {
    const OSAL_LOCK l_Lock(m_Mutex);
    if (m_UpgradeStatus == nullptr) m_UpgradeStatus = std::make_shared<UPGRADE_STATUS>();
    return m_UpgradeStatus;
}

int IPMIAdaptor::Firmware_Update_ReadParams(const CBMIKeys*, CBMIParams* a_Row) {
    if (a_Row == nullptr) return RESULT_NOT_FOUND;
    std::shared_ptr<UPGRADE_STATUS> l_Status;
    {
        const OSAL_LOCK l_Lock(m_Mutex);
        l_Status = m_UpgradeStatus;
    }
    if (l_Status != nullptr) {
        l_Status->AddTo(*a_Row);
    } else {
        UPGRADE_STATUS().AddTo(*a_Row);
    }
    return RESULT_OK;
}

int IPMIAdaptor::Firmware_Update_ReadTable(CBMITable*& a_Table) {
    a_Table = new CBMITable;
    CBMIParams l_Row;
    Firmware_Update_ReadParams(nullptr, &l_Row);
    a_Table->AddRow(l_Row);
    return RESULT_OK;
}

int IPMIAdaptor::Firmware_Update_WriteParams(CBMIKeys*, CBMIParams* a_Values) {
    const auto l_State = IntParam(a_Values, BMI_FW_UPDATE_STATE);
    if (!l_State) {
        LogError(m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - no state passed in");
        return RESULT_NO_VALUE;
    }
    if (*l_State != UPGRADE_REQUESTED) return RESULT_NOTHING_DONE;
    const auto l_Target = IntParam(a_Values, BMI_FW_UPDATE_TARGET);
    if (!l_Target) { // nobody's baseboard is upgraded by default
        LogError(m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - no target passed in");
        return RESULT_NO_VALUE;
    }
    const auto l_Bay = IntParam(a_Values, BMI_FW_UPDATE_BAY);
    if (!l_Bay) LogError(m_Logger, "AMC BAY NOT SPECIFIED IN UPGRADE - defaulting to 0");
    const std::string l_ImagePath = ImagePath(*a_Values);
    if (l_ImagePath.empty()) {
        LogError(m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - no image file passed in");
        return RESULT_NO_VALUE;
    }
    return mStartUpgrade(static_cast<UPGRADETARGET>(*l_Target), l_Bay.value_or(0), l_ImagePath);
}

int IPMIAdaptor::mStartUpgrade(UPGRADETARGET a_Target, int32_t a_Bay, const std::string& a_ImagePath) {
    const auto l_Status = ShareUpgrade();
    if (!l_Status->Begin(a_Target, a_Bay)) {
        LogError(m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - an upgrade is in progress");
        return RESULT_NOTHING_DONE;
    }
    UPGRADE_END l_End(*l_Status);
    l_Status->SetManager(m_Manager);
    const uint32_t l_Number = mNumberUpgrade();
    auto l_Thread = std::make_unique<UPGRADETHREAD>(this, m_Logger, a_Target, a_Bay, a_ImagePath.c_str());
    fputs("Starting Upgrade Thread\n", stdout);
    if (const int l_Error = l_Thread->Start(); l_Error != 0) {
        LogError(m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - starting the thread failed, errno %d",
                 l_Error);
        l_Status->SetOutcome(UPGRADE_FAILED);
        l_Status->SendEvent();
        return RESULT_NOTHING_DONE;
    }
    l_End.LeaveToThread();
    fputs("Starting Upgrade Thread - started?\n", stdout);
    mKeepUpgrade(std::move(l_Thread), l_Number);
    return RESULT_OK;
}

uint32_t IPMIAdaptor::mNumberUpgrade() {
    const OSAL_LOCK l_Lock(m_Mutex);
    return ++m_UpgradesBegun;
}

// A thread belongs to the host thread that starts it until its Start has come back, and to the adaptor from then on.
// Meanwhile it may have ended and a later one may have been kept. Of two the older one has ended, for the later one
// could begin: its thread does nothing more and is joined.
void IPMIAdaptor::mKeepUpgrade(std::unique_ptr<UPGRADETHREAD> a_Thread, uint32_t a_Number) {
    {
        const OSAL_LOCK l_Lock(m_Mutex);
        if (m_UpgradeKept < a_Number) {
            m_UpgradeThread.swap(a_Thread);
            m_UpgradeKept = a_Number;
        }
    }
    if (a_Thread != nullptr) a_Thread->Join();
}

// Of an upgrade that is under way.
void IPMIAdaptor::mSendUpgradeEventTo(IBMAdaptorMgr* a_Manager) {
    const OSAL_LOCK l_Lock(m_Mutex);
    if (m_UpgradeStatus != nullptr) m_UpgradeStatus->SetManager(a_Manager);
}

} // namespace BM_ADAPTOR
