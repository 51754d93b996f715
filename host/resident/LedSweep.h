// Which LED is read next, and when.
#pragma once

#include "host/picture/Led.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace bmhost {

/// The first pass is quick; then each LED is read once in a period, evenly paced, because a real system interface takes
/// its time for each request. Used by one thread at a time.
class LedSweep {
public:
    using Clock = std::chrono::steady_clock;

    explicit LedSweep(std::chrono::milliseconds period) : m_period(period) {}

    void SetPeriod(std::chrono::milliseconds period) { m_period = period; }
    /// Begins again, with these places.
    void Begin(std::vector<LedPlace> places, Clock::time_point now);
    /// A quick pass over the places that are known.
    void Hurry(Clock::time_point now);

    /// The place whose time has come.
    std::optional<LedPlace> Due(Clock::time_point now) const;
    /// When the next one is due; far away when there is none.
    Clock::time_point When() const { return m_places.empty() ? Clock::time_point::max() : m_when; }
    /// The due place was read. @param exists  false: it is not asked again before the next beginning
    /// @param answered  false: the next one waits its time even in a quick pass
    void Done(bool exists, bool answered, Clock::time_point now);
    /// How often all of them were read.
    uint64_t Passes() const { return m_passes; }

private:
    std::chrono::milliseconds m_period;
    std::vector<LedPlace> m_places;
    std::size_t m_next = 0;
    uint64_t m_passes = 0;
    std::size_t m_quick = 0; ///< how many are left of a quick pass
    Clock::time_point m_when{};
};

} // namespace bmhost
