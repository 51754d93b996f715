// When a fault is followed by a stop and a start, and when no more.
#include "host/resident/FaultRestarts.h"

namespace bmhost {

FaultRestarts::Verdict FaultRestarts::Fault(Clock::time_point now) {
    if (m_inARow > 0 && now - m_last >= Recovered) m_inARow = 0;
    if (m_inARow == MostInARow) return Verdict::GivesUp;
    m_wanted = true;
    return Verdict::Restarts;
}

bool FaultRestarts::IsDue(Clock::time_point now) {
    if (!m_wanted || (m_inARow > 0 && now - m_last < Pause)) return false;
    m_wanted = false;
    ++m_inARow;
    m_last = now;
    return true;
}

} // namespace bmhost
