// What the hardware tables share: the run-status cache, the RTM override's modes, and one entity's facts.
#pragma once

#include "ipmi/IPMI_FRUParse.h"
#include "ipmi/model/IPMI_Model.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

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

/// What an AMC's vendor record tells.
struct AMC_FACTS {
    int32_t m_NumDSPs = 0;
    int32_t m_FirstDSPType = 0;
    std::optional<VENDOR_DSP> m_FirstDSP; ///< when the record is long enough for it
};

/// What the tables need of a FRU: texts, and its vendor records if it has them.
struct FRU_FACTS {
    std::string m_BoardManufacturer;
    std::string m_BoardProductName;
    std::string m_BoardSerialNumber;
    std::string m_BoardPartNumber;
    std::string m_ProductSerialNumber;
    std::string m_ProductVersion;
    std::optional<AMC_FACTS> m_AMC;
    std::optional<PSTN_DATA> m_RTM;
};

/// What the tables need of an entity. A copy: lines and rows are made of it after the model's lock was given back.
struct HARDWARE_FACTS {
    int32_t m_BayLocation = 0;
    std::optional<FRU_FACTS> m_FRU; ///< the first FRU's
    std::optional<IPMI_MC> m_MC;    ///< the first controller
};

/// The first entity of the id, in map order, and in the bay when one is given. Takes the model's lock, shared.
std::optional<HARDWARE_FACTS> FindHardware(int32_t a_EntityID, std::optional<int32_t> a_Bay = std::nullopt);

} // namespace BM_ADAPTOR
