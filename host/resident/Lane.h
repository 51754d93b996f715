// Threads that make calls which must not hold up others, in the order in which they were given.
#pragma once

#include "bm_dev/Thread.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

namespace bmhost {

/// A few threads with a queue of their own. Every member on any thread.
class Lane {
public:
    using Work = std::function<void()>;
    using Clock = std::chrono::steady_clock;
    /// What is done while there is no work; returns when it wants to be called again. Without memory for it, a second
    /// later.
    using Idle = std::function<Clock::time_point()>;

    /// @param most  how much may wait; what is under way does not count
    Lane(unsigned threads, std::size_t most, Idle idle = {});
    Lane(const Lane&) = delete;
    Lane& operator=(const Lane&) = delete;
    ~Lane();

    /// False when too much is waiting, or the lane has ended: the work is dropped. Work throws nothing but
    /// std::bad_alloc.
    bool Give(Work work);
    /// The idle work is called again as soon as there is time.
    void Wake();

    /// Drops what waits and takes nothing any more. False when work has not come back in this time; then its thread
    /// uses the lane until it does.
    bool End(std::chrono::milliseconds time);

private:
    void Run();
    Clock::time_point IdleOnce();
    void EndThreads();

    const std::size_t m_most;
    const Idle m_idle;
    std::mutex m_guard; ///< protects what follows
    std::condition_variable m_changed;
    std::condition_variable m_gone;
    std::deque<Work> m_waiting;
    Clock::time_point m_nextIdle{};
    bool m_idling = false;
    bool m_ended = false;
    unsigned m_running = 0;
    std::vector<bm_dev::Thread> m_threads; // last, since they use the other members
};

} // namespace bmhost
