// Whether the controller answers, judged by the LED calls: they are the only ones that ask it.
#pragma once

#include "host/picture/Picture.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>

namespace bmhost {

/// Used by one thread at a time.
class ControllerWatch {
public:
    /// A moment on both clocks: durations are measured on one, people are told the other.
    struct Moment {
        std::chrono::steady_clock::time_point m_steady;
        WallTime m_wall;

        static Moment Now() { return {std::chrono::steady_clock::now(), WallNow()}; }
    };

    /// A call that has not returned in this time is lost: a real system interface takes 5 to 50 ms a request.
    static constexpr std::chrono::seconds Patience{3};
    /// One that fails sooner than this was refused by the controller, or OpenIPMI knows that the controller is gone:
    /// then every LED fails.
    static constexpr std::chrono::milliseconds QuickAnswer{250};

    /// How many LEDs are read: as many failures in a row are a loss. 0: that is not known.
    void Expect(std::size_t leds) { m_leds = leds; }
    uint64_t Called(Moment now);
    /// @param good  the call returned what was asked
    /// @param asked  false: the adaptor has no such LED, and asked nobody
    /// @return whether it failed as quickly as a refusal
    bool Returned(uint64_t call, bool good, bool asked, Moment now);
    void Look(Moment now);
    /// Nothing is known any more.
    void Forget(Moment now);

    const Controller& State() const { return m_state; }

private:
    void Become(Controller::State state, WallTime since);

    Controller m_state;
    std::map<uint64_t, Moment> m_calls; ///< those under way
    uint64_t m_last = 0;
    std::size_t m_leds = 0;
    std::size_t m_failures = 0; ///< in a row
    WallTime m_failing{};       ///< since when
};

} // namespace bmhost
