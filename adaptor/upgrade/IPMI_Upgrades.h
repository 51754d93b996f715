// Parameter group 0x600: the host starts firmware upgrades and reads how the last one went.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "adaptor/upgrade/IPMI_UpgradeRecord.h"
#include "common/veldo_common_protocol.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace OSAL {
class OSALMutex;
}

namespace BM_ADAPTOR {

class IPMIAdaptor;

/// Made for one call. Any host thread, several at once; none of the operations waits for an upgrade.
class UPGRADES {
public:
    /// @param a_Manager  gets the events; may hold null
    /// @param a_Lock     the record's; held for as long as a copy takes
    UPGRADES(const ADAPTOR_FRAME& a_Frame, const std::atomic<IBMAdaptorMgr*>& a_Manager, OSAL::OSALMutex& a_Lock,
             UPGRADE_RECORD& a_Record)
        : m_Frame(a_Frame),
          m_Manager(a_Manager),
          m_Lock(a_Lock),
          m_Record(a_Record) {}

    /// Adds target, bay and state of the last upgrade to the row.
    /// @return 1; 12 for a null row
    int Read(CBMIParams* a_Row) const;
    /// Allocates a table of that one row, which becomes the caller's.
    int ReadTable(CBMITable*& a_Table) const;
    /// Starts an upgrade when the values ask for one.
    /// @param a_Adaptor  for the upgrade's thread
    /// @return 1 when it was started; 0 when none was asked for, one is under way or no thread could be started;
    ///         23 when a value is missing
    int Write(const CBMIParams* a_Values, IPMIAdaptor* a_Adaptor);

    /// The status that an upgrade's thread shares with the adaptor; made for the first upgrade.
    std::shared_ptr<UPGRADE_STATUS> Share();
    /// Who gets the event of an upgrade that is under way, null for nobody.
    void SendEventTo(IBMAdaptorMgr* a_Manager);

private:
    int mStartUpgrade(UPGRADETARGET a_Target, int32_t a_Bay, const std::string& a_ImagePath, IPMIAdaptor* a_Adaptor);
    uint32_t mNumberUpgrade();
    void mKeepUpgrade(std::unique_ptr<UPGRADETHREAD> a_Thread, uint32_t a_Number);

    ADAPTOR_FRAME m_Frame;
    const std::atomic<IBMAdaptorMgr*>& m_Manager;
    OSAL::OSALMutex& m_Lock;
    UPGRADE_RECORD& m_Record;
};

} // namespace BM_ADAPTOR
