// What a start tells the health monitor of the blade.
#pragma once

#include <string>

namespace BM_ADAPTOR {

/// The names of the flags are older than their meaning.
struct MONITOR_ORDER {
    bool m_bAMCCheckMode = false;       ///< there is an RTM
    bool m_bInterfaceCheckMode = false; ///< the RTM has no framers
    std::string m_DSPGroups{};          ///< the DSPs in the diagnostic's words, each with a blank before it
};

} // namespace BM_ADAPTOR
