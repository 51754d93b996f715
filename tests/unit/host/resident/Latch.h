// What a test of threads waits for, with a limit instead of for ever.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

/// Opens once. A wait that is not answered fails the test.
class Latch {
public:
    void Open() {
        const std::lock_guard lock(m_guard);
        m_open = true;
        m_changed.notify_all();
    }
    bool IsOpen() {
        const std::lock_guard lock(m_guard);
        return m_open;
    }
    void Wait() {
        std::unique_lock lock(m_guard);
        EXPECT_TRUE(m_changed.wait_for(lock, std::chrono::seconds(30), [this] { return m_open; }));
    }

private:
    std::mutex m_guard;
    std::condition_variable m_changed;
    bool m_open = false;
};

/// A call that begins, and does not return until it is let go.
class HeldCall {
public:
    /// The call itself; gives what is success to the adaptor.
    int Make() {
        m_begun.Open();
        m_go.Wait();
        return 1;
    }
    void AwaitBegin() { m_begun.Wait(); }
    void LetGo() { m_go.Open(); }

private:
    Latch m_begun;
    Latch m_go;
};

/// Waits until the condition holds, which another thread brings about.
template <typename Condition>
bool Comes(const Condition& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::mutex guard;
    std::condition_variable never;
    // cppcheck-suppress localMutex ; nobody else needs it: the wait below wants one
    std::unique_lock lock(guard);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) return false;
        never.wait_for(lock, std::chrono::milliseconds(1));
    }
    return true;
}
