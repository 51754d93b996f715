// The faults to inject, and which request each of them hits.
#include "sim/driver/Faults.h"

#include <algorithm>

namespace BLADESIM {
namespace {

bool LooksLike(const std::vector<std::optional<uint8_t>>& a_Pattern, const std::vector<uint8_t>& a_Request) {
    return a_Pattern.size() <= a_Request.size() &&
           std::equal(a_Pattern.begin(), a_Pattern.end(), a_Request.begin(),
                      [](const std::optional<uint8_t>& a_Expected, uint8_t a_Byte) {
                          return !a_Expected || *a_Expected == a_Byte;
                      });
}

bool IsDue(const ORDERED_FAULT& a_Fault) {
    const FAULT& l_Fault = a_Fault.m_Fault;
    return a_Fault.m_Seen >= l_Fault.m_First && (l_Fault.m_Count == 0 || a_Fault.m_Hits < l_Fault.m_Count);
}

} // namespace

unsigned FAULT_TABLE::Add(const FAULT& a_Fault) {
    m_Faults.push_back({++m_LastNumber, a_Fault});
    return m_LastNumber;
}

bool FAULT_TABLE::Remove(unsigned a_Number) {
    return std::erase_if(m_Faults, [=](const ORDERED_FAULT& a_Fault) { return a_Fault.m_Number == a_Number; }) != 0;
}

void FAULT_TABLE::Clear() {
    m_Faults.clear();
}

const FAULT* FAULT_TABLE::Hit(const std::vector<uint8_t>& a_Request) {
    const FAULT* l_Hit = nullptr;
    for (ORDERED_FAULT& l_Fault : m_Faults) {
        if (!LooksLike(l_Fault.m_Fault.m_Request, a_Request)) continue;
        ++l_Fault.m_Seen;
        if (l_Hit != nullptr || !IsDue(l_Fault)) continue;
        ++l_Fault.m_Hits;
        l_Hit = &l_Fault.m_Fault;
    }
    return l_Hit;
}

} // namespace BLADESIM
