// What the resident host has counted since its start, for metrics.
#pragma once

#include "host/output/Time.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace bmhost {

/// How long requests took.
struct Latencies {
    /// The longest of each bucket, in seconds.
    static constexpr std::array<double, 14> Bounds = {0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025, 0.05,
                                                      0.1,    0.25,  0.5,    1,     2.5,  5,     10};

    std::array<uint64_t, Bounds.size() + 1> m_counts{}; ///< of each bucket alone; the last one has no bound
    uint64_t m_microseconds = 0;                        ///< the sum

    void Add(uint64_t microseconds) {
        std::size_t bucket = 0;
        while (bucket < Bounds.size() && static_cast<double>(microseconds) > Bounds[bucket] * 1e6)
            ++bucket;
        ++m_counts[bucket];
        m_microseconds += microseconds;
    }
};

/// Calls that asked the controller; an LED call that found no LED, or lacks a value, is none.
struct RequestCounts {
    uint64_t m_good = 0;
    uint64_t m_refused = 0; ///< with a completion code
    uint64_t m_failed = 0;  ///< no answer, or an exception
    Latencies m_latencies;
};

/// Calls of the adaptor that returned this.
struct CallCount {
    std::string m_operation; ///< "start", "read"
    uint32_t m_group = 0;    ///< 0: none, or one that has no name
    int32_t m_result = 0;
    uint64_t m_count = 0;
};

/// Orders that were carried out and ended like this.
struct OrderCount {
    std::string m_order; ///< "led-set"
    int32_t m_result = 0;
    bool m_good = false;
    uint64_t m_count = 0;
};

struct Statistics {
    WallTime m_since{}; ///< the start of the host
    WallTime m_time{};  ///< when they were taken
    uint64_t m_requestsUnderWay = 0;
    RequestCounts m_reads;
    RequestCounts m_writes;
    std::map<int32_t, uint64_t> m_completionCodes; ///< how often each was the answer
    std::vector<CallCount> m_calls;
    std::vector<OrderCount> m_orders;
    std::map<uint32_t, uint64_t> m_events; ///< of the adaptor, by number
    uint64_t m_upgradesBegun = 0;
    uint64_t m_upgradesRefused = 0; ///< by the adaptor
    uint64_t m_upgradesDone = 0;
    uint64_t m_upgradesFailed = 0;
    uint64_t m_restarts = 0; ///< after a fault
};

} // namespace bmhost
