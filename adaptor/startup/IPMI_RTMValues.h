// What start-up knows of the RTM.
#pragma once

#include <atomic>
#include <cstdint>

namespace BM_ADAPTOR {

/// As the last Init that found an RTM read them; an Init may change them while another host thread starts the blade.
struct RTM_VALUES {
    std::atomic<int32_t> m_Present = 0;    ///< 1, or 0 when the last Init found none
    std::atomic<int32_t> m_NumFramers = 0; ///< -1 when the RTM does not tell; likewise the next
    std::atomic<int32_t> m_TrunksPerFramer = 0;
    std::atomic<int32_t> m_TrunkTotal = 0; ///< the product of both
};

} // namespace BM_ADAPTOR
