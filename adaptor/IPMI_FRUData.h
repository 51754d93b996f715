// What the hardware tables share: the run-status cache and the RTM override's modes.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>

namespace BM_ADAPTOR {

/// Cached run status of one AMC bay.
struct CACHED_AMC_INFO {
    int32_t m_RunStatus = 0; ///< TELQ_HW_Device_RunStatus_e
};

/// Run status by bay, for all adaptors of the process. Entries are made by the first write and never removed; every
/// access holds the lock.
extern std::map<int, CACHED_AMC_INFO*>& sg_AMC_MAP;
extern std::mutex& sg_AMC_MAP_Lock;

/// Modes of the RTM override, the first digit of MAVK_RTM. Other digits are returned as they are.
enum PSTN_MODE_e : int {
    PSTN_MODE_FRU_DATA = 0, ///< no override
    PSTN_MODE_NO_RTM = 1,   ///< simulate that there is no RTM
    PSTN_MODE_SIMULATED = 2 ///< simulate an RTM: the next three digits are framer type, framers, trunks per framer
};

/// The number of a single decimal digit; 0 for any other character.
inline int DigitValue(char a_Digit) {
    return a_Digit >= '0' && a_Digit <= '9' ? a_Digit - '0' : 0;
}

/// The RTM's framers as the PCI driver is told; -1 while nothing is known.
struct PSTN_DATA {
    int m_FramerType = -1;
    int m_NumFramers = -1;
    int m_TrunksPerFramer = -1;
};

/// The override for AMCs without FRU data: MAVK_AMC, four digits or more. The first is not looked at.
struct AMC_OVERRIDE {
    int m_Bay;
    int m_FieldA;
    int m_FieldB; ///< number of DSPs
};

std::optional<AMC_OVERRIDE> AMCOverride();

} // namespace BM_ADAPTOR
