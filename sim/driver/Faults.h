// The faults to inject, and which request each of them hits.
#pragma once

#include "sim/blade/Blade.h"

#include <cstdint>
#include <vector>

namespace BLADESIM {

/// A fault that was ordered, and what has become of it.
struct ORDERED_FAULT {
    unsigned m_Number = 0; ///< counted from 1 in the order of Add; never given again
    FAULT m_Fault;
    unsigned m_Seen = 0; ///< requests that looked like its own
    unsigned m_Hits = 0; ///< those of them that it hit
};

class FAULT_TABLE {
public:
    /// Returns the fault's number. It counts requests from now on.
    unsigned Add(const FAULT& a_Fault);
    /// False when there is no such fault.
    bool Remove(unsigned a_Number);
    void Clear();
    const std::vector<ORDERED_FAULT>& List() const { return m_Faults; }

    /// To be called once with each request: network function, command, data. All faults count it; of those that would
    /// hit it the one ordered first does. Null when none does; otherwise valid until the table is changed.
    const FAULT* Hit(const std::vector<uint8_t>& a_Request);

private:
    std::vector<ORDERED_FAULT> m_Faults;
    unsigned m_LastNumber = 0;
};

} // namespace BLADESIM
