// The faults to inject, and which request each of them hits.
#pragma once

#include "sim/blade/Blade.h"

#include <cstdint>
#include <vector>

namespace bladesim {

/// A fault that was ordered, and how often it has hit.
struct OrderedFault {
    unsigned m_number = 0; ///< counted from 1 in the order of Add; never given again
    Fault m_fault;
    unsigned m_seen = 0; ///< requests that matched
    unsigned m_hits = 0; ///< those of them that it hit
};

class FaultTable {
public:
    /// Returns the fault's number. It counts requests from now on.
    unsigned Add(const Fault& fault);
    /// False when there is no such fault.
    bool Remove(unsigned number);
    void Clear();
    const std::vector<OrderedFault>& List() const { return m_faults; }

    /// Call it once with each request: network function, command, data. Every fault that matches counts the request; of
    /// those that are due the one ordered first hits it. Null when none does; otherwise valid until the table changes.
    const Fault* Hit(const std::vector<uint8_t>& request);

private:
    std::vector<OrderedFault> m_faults;
    unsigned m_lastNumber = 0;
};

} // namespace bladesim
