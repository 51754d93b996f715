// The lock to wait on.
#include "bm/OSAL.h"
#include "platform/osal/Blocked.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using OSAL::OSALMonitor;

constexpr int AMinute = 60'000; // longer than a test may last

// Waits until the time is over; a spurious wake-up is allowed.
void WaitInVain(OSALMonitor& monitor, int milliseconds) {
    while (monitor.Wait(milliseconds)) {
    }
}

TEST(Monitor, WaitReturnsFalseWhenTheTimeRunsOut) {
    OSALMonitor monitor;
    for (const int time : {1, 0, -1}) {
        monitor.Lock();
        WaitInVain(monitor, time);
        monitor.Unlock();
    }
    SUCCEED() << "a Wait that always said true would not come here";
}

TEST(Monitor, NotifyWakesTheWaiter) {
    OSALMonitor monitor;
    bool changed = false;
    std::atomic<pid_t> waiter = 0;
    bool inTime = true;
    std::thread other([&] {
        monitor.Lock();
        waiter = gettid();
        waiter.notify_one();
        while (!changed && inTime)
            inTime = monitor.Wait(AMinute);
        monitor.Unlock();
    });
    waiter.wait(0);
    monitor.Lock(); // taken only once the other thread waits
    changed = true;
    monitor.Notify();
    monitor.Unlock();
    other.join();
    EXPECT_TRUE(inTime);
}

TEST(Monitor, NotifyWithoutAWaiterIsNotKept) {
    OSALMonitor monitor;
    monitor.Lock();
    monitor.Notify();
    const bool notified = monitor.Wait(0);
    monitor.Unlock();
    EXPECT_FALSE(notified);
}

TEST(Monitor, LockIsHeldAgainAfterAWait) {
    OSALMonitor monitor;
    bool unlocked = false;
    bool unlockedBefore = false;
    std::atomic<bool> passed = false;
    std::atomic<pid_t> waiter = 0;
    monitor.Lock();
    WaitInVain(monitor, 0);
    std::thread other([&] {
        waiter = gettid();
        waiter.notify_one();
        monitor.Lock();
        unlockedBefore = unlocked;
        monitor.Unlock();
        passed = true;
    });
    waiter.wait(0);
    while (!passed && !IsBlocked(waiter))
        std::this_thread::yield();
    unlocked = true;
    monitor.Unlock();
    other.join();
    EXPECT_TRUE(unlockedBefore);
}

} // namespace
