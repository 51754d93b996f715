// Parameter group 0x600: what starts an upgrade, and who keeps its thread.
#include "adaptor/upgrade/IPMI_Upgrades.h"

#include "adaptor/IPMI_FirmwareUpdate.h"
#include "adaptor/board/IPMI_Board.h"
#include "adaptor/upgrade/IPMI_UpgradeStatus.h"
#include "common/veldo_common_lock.h"
#include "common/veldo_common_rows.h"
#include "common/veldo_common_trace.h"

#include <cstdio>
#include <utility>

namespace BM_ADAPTOR {

namespace {

// The image's path up to its first NUL; empty when there is none.
std::string ImagePath(const CBMIParams& a_Values) {
    const CBMIParam* l_File = a_Values.GetParamById(BMI_FW_UPDATE_FILE);
    return l_File != nullptr && l_File->GetType() == BMI_PARAM_STRING ? l_File->GetString().c_str() : "";
}

} // namespace

// An adaptor that never ran an upgrade has nothing to leave behind.
std::shared_ptr<UPGRADE_STATUS> UPGRADES::Share() {
    const OSAL_LOCK l_Lock(m_Lock);
    if (m_Record.m_Status == nullptr) m_Record.m_Status = std::make_shared<UPGRADE_STATUS>();
    return m_Record.m_Status;
}

int UPGRADES::Read(CBMIParams* a_Row) const {
    if (a_Row == nullptr) return RESULT_NOT_FOUND;
    std::shared_ptr<UPGRADE_STATUS> l_Status;
    {
        const OSAL_LOCK l_Lock(m_Lock);
        l_Status = m_Record.m_Status;
    }
    if (l_Status != nullptr) {
        l_Status->AddTo(*a_Row);
    } else {
        UPGRADE_STATUS().AddTo(*a_Row);
    }
    return RESULT_OK;
}

int UPGRADES::ReadTable(CBMITable*& a_Table) const {
    a_Table = new CBMITable;
    CBMIParams l_Row;
    Read(&l_Row);
    a_Table->AddRow(l_Row);
    return RESULT_OK;
}

int UPGRADES::Write(const CBMIParams* a_Values, IPMIAdaptor* a_Adaptor) {
    const auto l_State = IntParam(a_Values, BMI_FW_UPDATE_STATE);
    if (!l_State) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - no state passed in");
        return RESULT_NO_VALUE;
    }
    if (*l_State != UPGRADE_REQUESTED) return RESULT_NOTHING_DONE;
    const auto l_Target = IntParam(a_Values, BMI_FW_UPDATE_TARGET);
    if (!l_Target) { // nobody's baseboard is upgraded by default
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - no target passed in");
        return RESULT_NO_VALUE;
    }
    const auto l_Bay = IntParam(a_Values, BMI_FW_UPDATE_BAY);
    if (!l_Bay) LogError(m_Frame.m_Logger, "AMC BAY NOT SPECIFIED IN UPGRADE - defaulting to 0");
    const std::string l_ImagePath = ImagePath(*a_Values);
    if (l_ImagePath.empty()) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - no image file passed in");
        return RESULT_NO_VALUE;
    }
    return mStartUpgrade(static_cast<UPGRADETARGET>(*l_Target), l_Bay.value_or(0), l_ImagePath, a_Adaptor);
}

int UPGRADES::mStartUpgrade(UPGRADETARGET a_Target, int32_t a_Bay, const std::string& a_ImagePath,
                            IPMIAdaptor* a_Adaptor) {
    const auto l_Status = Share();
    if (!l_Status->Begin(a_Target, a_Bay)) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - an upgrade is in progress");
        return RESULT_NOTHING_DONE;
    }
    UPGRADE_END l_End(*l_Status);
    l_Status->SetManager(m_Manager);
    const uint32_t l_Number = mNumberUpgrade();
    auto l_Thread = std::make_unique<UPGRADETHREAD>(a_Adaptor, m_Frame.m_Logger, a_Target, a_Bay, a_ImagePath.c_str());
    fputs("Starting Upgrade Thread\n", stdout);
    if (const int l_Error = m_Frame.m_Board.StartThread(*l_Thread); l_Error != 0) {
        LogError(m_Frame.m_Logger, "IPMIAdaptor :: Firmware_Update_WriteParams - starting the thread failed, errno %d",
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

uint32_t UPGRADES::mNumberUpgrade() {
    const OSAL_LOCK l_Lock(m_Lock);
    return ++m_Record.m_Begun;
}

// A thread belongs to the host thread that starts it until its start has come back, and to the record from then on.
// Meanwhile it may have ended, and a later one may have been kept. Of the two the older one has ended, because the
// later one could begin: it does nothing more and is joined.
void UPGRADES::mKeepUpgrade(std::unique_ptr<UPGRADETHREAD> a_Thread, uint32_t a_Number) {
    {
        const OSAL_LOCK l_Lock(m_Lock);
        if (m_Record.m_Kept < a_Number) {
            m_Record.m_Thread.swap(a_Thread);
            m_Record.m_Kept = a_Number;
        }
    }
    if (a_Thread != nullptr) a_Thread->Join();
}

void UPGRADES::SendEventTo(IBMAdaptorMgr* a_Manager) {
    const OSAL_LOCK l_Lock(m_Lock);
    if (m_Record.m_Status != nullptr) m_Record.m_Status->SetManager(a_Manager);
}

} // namespace BM_ADAPTOR
