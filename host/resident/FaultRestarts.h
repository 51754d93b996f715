// When a fault is followed by a stop and a start, and when no more.
#pragma once

#include <chrono>

namespace bmhost {

/// A restart interrupts every call of the blade: not more often than once a minute, and not for ever. Used by one
/// thread at a time.
class FaultRestarts {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::minutes Pause{1};
    static constexpr int MostInARow = 3;
    /// A blade that runs this long without a fault has recovered: the next fault is the first in its row.
    static constexpr std::chrono::minutes Recovered{10};

    enum class Verdict { Restarts, GivesUp };

    /// The monitor has found a fault.
    Verdict Fault(Clock::time_point now);
    /// Somebody has started or stopped the blade.
    void Ordered() { *this = {}; }
    /// True once for each restart, when its time has come.
    bool IsDue(Clock::time_point now);

private:
    int m_inARow = 0;
    bool m_wanted = false;
    Clock::time_point m_last{}; ///< of the last restart
};

} // namespace bmhost
