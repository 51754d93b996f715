// Parameter group 0x30200: what stands in the bays, and the run status of each.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "bm/Params.h"

#include <cstdint>
#include <map>
#include <mutex>

namespace BM_ADAPTOR {

/// Cached run status of one AMC bay.
struct CACHED_AMC_INFO {
    int32_t m_RunStatus = 0; ///< TELQ_HW_Device_RunStatus_e
};

/// Run status by bay, for all adaptors of the process. Entries are made by the first write and never removed; every
/// access holds the lock.
extern std::map<int, CACHED_AMC_INFO*>& sg_AMC_MAP;
extern std::mutex& sg_AMC_MAP_Lock;

/// Handlers of the group. Any host thread, several at once.
class AMC_HARDWARE_TABLE {
public:
    explicit AMC_HARDWARE_TABLE(const ADAPTOR_FRAME& a_Frame) : m_Frame(a_Frame) {}

    /// Fills the row of the AMC in the bay of key 0x30201; bay 9 is the RTM.
    /// @return 1; 12 when the key, the row, the module or its FRU is missing
    int ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row) const;
    /// Makes the table of bays 1 to 9, which is the caller's. 1, with any number of rows.
    int ReadTable(CBMITable*& a_Table) const;
    /// Keeps the run status of a bay, whether there is a module or not, and tells of it by an event.
    /// @return 1, whatever became of the event; 12 without the bay, 16 without a status
    int WriteParams(const CBMIKeys* a_Keys, const CBMIParams* a_Values, EVENT_SINK& a_Events) const;

private:
    ADAPTOR_FRAME m_Frame;
};

} // namespace BM_ADAPTOR
