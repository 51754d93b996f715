// Threads that make calls which must not hold up others, in the order in which they were given.
#include "host/resident/Lane.h"

#include <new>
#include <utility>

namespace bmhost {

Lane::Lane(unsigned threads, std::size_t most, Idle idle) : m_most(most), m_idle(std::move(idle)), m_running(threads) {
    try {
        for (unsigned i = 0; i < threads; ++i)
            m_threads.emplace_back([this] { Run(); });
    } catch (...) { // there is no thread to be had; those that run have to end
        EndThreads();
        throw;
    }
}

Lane::~Lane() {
    EndThreads();
}

void Lane::EndThreads() {
    {
        const std::lock_guard lock(m_guard);
        m_ended = true;
        m_waiting.clear();
        m_changed.notify_all();
    }
    for (bm_dev::Thread& thread : m_threads)
        thread.Join();
}

bool Lane::Give(Work work) {
    const std::lock_guard lock(m_guard);
    if (m_ended || m_waiting.size() >= m_most) return false;
    m_waiting.push_back(std::move(work));
    m_changed.notify_one();
    return true;
}

void Lane::Wake() {
    const std::lock_guard lock(m_guard);
    m_nextIdle = {};
    m_changed.notify_one();
}

bool Lane::End(std::chrono::milliseconds time) {
    std::deque<Work> dropped; // may run destructors of its own
    std::unique_lock lock(m_guard);
    m_ended = true;
    dropped.swap(m_waiting);
    m_changed.notify_all();
    return m_gone.wait_for(lock, time, [this] { return m_running == 0; });
}

Lane::Clock::time_point Lane::IdleOnce() {
    try {
        return m_idle();
    } catch (const std::bad_alloc&) { // a host that has no memory now may have some later
        return Clock::now() + std::chrono::seconds(1);
    }
}

void Lane::Run() {
    std::unique_lock lock(m_guard);
    while (!m_ended) {
        if (!m_waiting.empty()) {
            Work work = std::move(m_waiting.front());
            m_waiting.pop_front();
            lock.unlock();
            try {
                work();
            } catch (const std::bad_alloc&) { // what it has not done is not done; the host goes on
            }
            work = nullptr; // its end may take time, too
            lock.lock();
        } else if (m_idle == nullptr || m_idling) {
            m_changed.wait(lock);
        } else if (const auto now = Clock::now(); now < m_nextIdle) {
            m_changed.wait_until(lock, m_nextIdle);
        } else {
            m_idling = true;
            m_nextIdle = Clock::time_point::max();
            lock.unlock();
            const auto next = IdleOnce();
            lock.lock();
            // A wake in the meantime holds.
            if (m_nextIdle == Clock::time_point::max()) m_nextIdle = next;
            m_idling = false;
        }
    }
    --m_running;
    m_gone.notify_all();
}

} // namespace bmhost
