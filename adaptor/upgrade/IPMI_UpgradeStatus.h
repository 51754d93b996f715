// The state of the last firmware upgrade, or of the one under way, as the host follows it.
#pragma once

#include "bm/BaseAdaptor.h"
#include "common/veldo_common_protocol.h"

#include <atomic>
#include <cstdint>

namespace BM_ADAPTOR {

/// The adaptor shares it with the upgrade's thread, which may outlive the adaptor. Any thread; nothing in it waits.
class UPGRADE_STATUS {
public:
    /// Who gets the event, null for nobody. An event that another thread has begun to send is not waited for.
    void SetManager(IBMAdaptorMgr* a_Manager) { m_Manager = a_Manager; }
    /// Claims the next upgrade. False when one is under way: then nothing changes.
    bool Begin(UPGRADETARGET a_Target, int32_t a_Bay);
    /// Enters the outcome.
    void SetOutcome(UPGRADE_STATE_e a_Outcome) { m_State = a_Outcome; }
    /// Sends the event with target, bay and state. Whatever the manager throws is logged.
    void SendEvent() const;
    /// Lets the next upgrade begin; one without an outcome has failed.
    void End();

    /// Adds target, bay and state to a row.
    void AddTo(CBMIParams& a_Row) const;

private:
    std::atomic<bool> m_bInProgress = false;
    std::atomic<int32_t> m_Target = UPGRADETARGET_BASEBOARD;
    std::atomic<int32_t> m_Bay = 0;
    std::atomic<int32_t> m_State = UPGRADE_DONE; ///< before the first upgrade too
    std::atomic<IBMAdaptorMgr*> m_Manager = nullptr;
};

/// Ends a begun upgrade with its scope, whatever happens there, unless the upgrade has been left to its thread.
class UPGRADE_END {
public:
    explicit UPGRADE_END(UPGRADE_STATUS& a_Status) : m_Status(&a_Status) {}
    UPGRADE_END(const UPGRADE_END&) = delete;
    UPGRADE_END& operator=(const UPGRADE_END&) = delete;
    ~UPGRADE_END() {
        if (m_Status != nullptr) m_Status->End();
    }

    void LeaveToThread() { m_Status = nullptr; }

private:
    UPGRADE_STATUS* m_Status;
};

} // namespace BM_ADAPTOR
