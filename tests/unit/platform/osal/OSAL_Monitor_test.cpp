// The lock to wait on.
#include "bm/OSAL.h"
#include "platform/osal/Blocked.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using OSAL::OSALMonitor;

constexpr int A_MINUTE = 60'000; // longer than a test may last

// Waits until the time runs out; a wake-up for no reason is allowed.
void WaitInVain(OSALMonitor& a_Monitor, int a_Milliseconds) {
    while (a_Monitor.Wait(a_Milliseconds)) {
    }
}

TEST(Monitor, WaitReturnsFalseWhenTheTimeRunsOut) {
    OSALMonitor l_Monitor;
    for (const int l_Time : {1, 0, -1}) {
        l_Monitor.Lock();
        WaitInVain(l_Monitor, l_Time);
        l_Monitor.Unlock();
    }
    SUCCEED() << "a Wait that always said true would not come here";
}

TEST(Monitor, NotifyWakesTheWaiter) {
    OSALMonitor l_Monitor;
    bool l_Changed = false;
    std::atomic<pid_t> l_Waiter = 0;
    bool l_InTime = true;
    std::thread l_Other([&] {
        l_Monitor.Lock();
        l_Waiter = gettid();
        l_Waiter.notify_one();
        while (!l_Changed && l_InTime)
            l_InTime = l_Monitor.Wait(A_MINUTE);
        l_Monitor.Unlock();
    });
    l_Waiter.wait(0);
    l_Monitor.Lock(); // had only when the other waits
    l_Changed = true;
    l_Monitor.Notify();
    l_Monitor.Unlock();
    l_Other.join();
    EXPECT_TRUE(l_InTime);
}

TEST(Monitor, NotifyWithoutAWaiterIsNotKept) {
    OSALMonitor l_Monitor;
    l_Monitor.Lock();
    l_Monitor.Notify();
    const bool l_Notified = l_Monitor.Wait(0);
    l_Monitor.Unlock();
    EXPECT_FALSE(l_Notified);
}

TEST(Monitor, LockIsHeldAgainAfterAWait) {
    OSALMonitor l_Monitor;
    bool l_Unlocked = false;
    bool l_UnlockedBefore = false;
    std::atomic<bool> l_Passed = false;
    std::atomic<pid_t> l_Waiter = 0;
    l_Monitor.Lock();
    WaitInVain(l_Monitor, 0);
    std::thread l_Other([&] {
        l_Waiter = gettid();
        l_Waiter.notify_one();
        l_Monitor.Lock();
        l_UnlockedBefore = l_Unlocked;
        l_Monitor.Unlock();
        l_Passed = true;
    });
    l_Waiter.wait(0);
    while (!l_Passed && !IsBlocked(l_Waiter))
        std::this_thread::yield();
    l_Unlocked = true;
    l_Monitor.Unlock();
    l_Other.join();
    EXPECT_TRUE(l_UnlockedBefore);
}

} // namespace
