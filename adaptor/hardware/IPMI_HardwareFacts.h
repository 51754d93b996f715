// What the model tells of one entity: the facts from which the tables' rows are made.
#pragma once

#include "ipmi/IPMI_FRUParse.h"
#include "ipmi/model/IPMI_Model.h"

#include <cstdint>
#include <optional>
#include <string>

namespace BM_ADAPTOR {

/// The RTM's framers as the PCI driver is told; -1 while nothing is known.
struct PSTN_DATA {
    int m_FramerType = -1;
    int m_NumFramers = -1;
    int m_TrunksPerFramer = -1;
};

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
