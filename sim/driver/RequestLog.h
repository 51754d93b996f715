// The requests to /dev/ipmi0: how often each command came, and all requests in order with their outcomes.
#pragma once

#include "sim/blade/Blade.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace bladesim {

class RequestLog {
public:
    /// Keeps the last `bound` requests; the counts cover all.
    explicit RequestLog(size_t bound = 100'000) : m_bound(bound) {}

    /// A request came: network function, command, data. `opener` is a number of the caller's, `ipmb` the address on the
    /// IPMB that the request is for, unless it is for the controller itself. Returns the entry's number, counted from
    /// 1.
    uint64_t Add(unsigned opener, const std::vector<uint8_t>& request, std::optional<uint8_t> ipmb = {});
    // These do nothing when the entry has been forgotten.
    void Hit(uint64_t entry, FaultKind fault);
    /// The request was answered with this completion code.
    void Answer(uint64_t entry, uint8_t completionCode);
    /// A reply came when the request was no longer outstanding, and was dropped.
    void Drop(uint64_t entry);
    /// Forgets everything, but goes on numbering.
    void Clear();

    /// [{"netfn": 6, "command": 1, "name": "Get Device ID", "count": 3}, …] by rising numbers.
    nlohmann::json Counts() const;
    /// [{"number": 1, "opener": 1, "request": "06 01", "code": 0}, …]; "code" is null while there is no answer, "ipmb",
    /// "fault" and "dropped" are there when they apply.
    nlohmann::json Entries() const;

private:
    struct Entry {
        unsigned m_opener;
        std::vector<uint8_t> m_request;
        std::optional<uint8_t> m_ipmb;
        std::optional<uint8_t> m_completionCode{};
        std::optional<FaultKind> m_fault{};
        unsigned m_dropped = 0;
    };

    Entry* Find(uint64_t entry);

    size_t m_bound;
    std::deque<Entry> m_entries;
    uint64_t m_first = 1; ///< number of the first entry that is kept
    std::map<std::pair<uint8_t, uint8_t>, uint64_t> m_counts;
};

} // namespace bladesim
