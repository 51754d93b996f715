// The faults to inject, and which request each of them hits.
#include "sim/driver/Faults.h"

#include <algorithm>

namespace bladesim {
namespace {

bool LooksLike(const std::vector<std::optional<uint8_t>>& pattern, const std::vector<uint8_t>& request) {
    return pattern.size() <= request.size() && std::equal(pattern.begin(), pattern.end(), request.begin(),
                                                          [](const std::optional<uint8_t>& expected, uint8_t byte) {
                                                              return !expected || *expected == byte;
                                                          });
}

bool IsDue(const OrderedFault& fault) {
    const Fault& wanted = fault.m_fault;
    return fault.m_seen >= wanted.m_first && (wanted.m_count == 0 || fault.m_hits < wanted.m_count);
}

} // namespace

unsigned FaultTable::Add(const Fault& fault) {
    m_faults.push_back({++m_lastNumber, fault});
    return m_lastNumber;
}

bool FaultTable::Remove(unsigned number) {
    return std::erase_if(m_faults, [=](const OrderedFault& fault) { return fault.m_number == number; }) != 0;
}

void FaultTable::Clear() {
    m_faults.clear();
}

const Fault* FaultTable::Hit(const std::vector<uint8_t>& request) {
    const Fault* hit = nullptr;
    for (OrderedFault& wanted : m_faults) {
        if (!LooksLike(wanted.m_fault.m_request, request)) continue;
        ++wanted.m_seen;
        if (hit != nullptr || !IsDue(wanted)) continue;
        ++wanted.m_hits;
        hit = &wanted.m_fault;
    }
    return hit;
}

} // namespace bladesim
