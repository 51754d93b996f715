// Which LED is read next, and when.
#include "host/resident/LedSweep.h"

#include <utility>

namespace bmhost {

void LedSweep::Begin(std::vector<LedPlace> places, Clock::time_point now) {
    m_places = std::move(places);
    m_next = 0;
    Hurry(now);
}

void LedSweep::Hurry(Clock::time_point now) {
    m_quick = m_places.size();
    m_when = now;
}

std::optional<LedPlace> LedSweep::Due(Clock::time_point now) const {
    if (m_places.empty() || now < m_when) return std::nullopt;
    return m_places[m_next];
}

void LedSweep::Done(bool exists, bool answered, Clock::time_point now) {
    if (m_places.empty()) return;
    if (exists) {
        ++m_next;
    } else {
        m_places.erase(m_places.begin() + static_cast<std::ptrdiff_t>(m_next));
    }
    if (m_next >= m_places.size()) {
        m_next = 0;
        ++m_passes;
    }
    if (m_quick > 0) --m_quick;
    const bool quick = m_quick > 0 && answered;
    if (quick || m_places.empty()) {
        m_when = now;
    } else {
        m_when = now + m_period / static_cast<int>(m_places.size());
    }
}

} // namespace bmhost
