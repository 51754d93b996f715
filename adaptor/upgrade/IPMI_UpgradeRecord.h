// What an adaptor keeps of its firmware upgrades.
#pragma once

#include <cstdint>
#include <memory>

namespace BM_ADAPTOR {

class UPGRADE_STATUS;
class UPGRADETHREAD;

/// Read and written under the adaptor's lock.
struct UPGRADE_RECORD {
    std::shared_ptr<UPGRADE_STATUS> m_Status; ///< of the last upgrade; null before the first one
    std::unique_ptr<UPGRADETHREAD> m_Thread;  ///< of the latest upgrade whose start has come back
    uint32_t m_Kept = 0;                      ///< that upgrade's number
    uint32_t m_Begun = 0;                     ///< number of the latest upgrade that was begun, counted from 1
};

} // namespace BM_ADAPTOR
