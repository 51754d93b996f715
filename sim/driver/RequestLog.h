// What was asked of /dev/ipmi0: how often each command, and all requests in their order with how they ended.
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

namespace BLADESIM {

class REQUEST_LOG {
public:
    /// Remembers the order of so many requests, the last ones; the counts are of all.
    explicit REQUEST_LOG(size_t a_Bound = 100'000) : m_Bound(a_Bound) {}

    /// A request came: network function, command, data. The opener is a number of the caller's, `a_IPMB` the address on
    /// the IPMB that it is for, if it is for none of the controller itself. Returns the entry's number, counted from 1.
    uint64_t Add(unsigned a_Opener, const std::vector<uint8_t>& a_Request, std::optional<uint8_t> a_IPMB = {});
    // For an entry that is forgotten meanwhile, these do nothing.
    void Hit(uint64_t a_Entry, FAULT_KIND a_Fault);
    /// It was answered with this completion code.
    void Answer(uint64_t a_Entry, uint8_t a_CompletionCode);
    /// A reply to it came when it was outstanding no more, and was dropped.
    void Drop(uint64_t a_Entry);
    /// Forgets everything; numbers go on.
    void Clear();

    /// [{"netfn": 6, "command": 1, "name": "Get Device ID", "count": 3}, …] by rising numbers.
    nlohmann::json Counts() const;
    /// [{"number": 1, "opener": 1, "request": "06 01", "code": 0}, …]; "code" is null while there is no answer, "ipmb",
    /// "fault" and "dropped" are there when they apply.
    nlohmann::json Entries() const;

private:
    struct ENTRY {
        unsigned m_Opener;
        std::vector<uint8_t> m_Request;
        std::optional<uint8_t> m_IPMB;
        std::optional<uint8_t> m_CompletionCode{};
        std::optional<FAULT_KIND> m_Fault{};
        unsigned m_Dropped = 0;
    };

    ENTRY* Find(uint64_t a_Entry);

    size_t m_Bound;
    std::deque<ENTRY> m_Entries;
    uint64_t m_First = 1; ///< number of the first entry that is kept
    std::map<std::pair<uint8_t, uint8_t>, uint64_t> m_Counts;
};

} // namespace BLADESIM
