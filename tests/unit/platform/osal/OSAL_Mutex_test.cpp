// The binary semaphore that serves as a latch.
#include "bm/OSAL.h"
#include "platform/osal/Blocked.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

using OSAL::OSALMutex;

// Unlocks when `a_Waiter` sleeps. A waiter that got past its Lock sets `a_Passed` instead, and finds it not unlocked.
void UnlockWhenBlocked(OSALMutex& a_Mutex, pid_t a_Waiter, const std::atomic<bool>& a_Passed, bool& a_Unlocked) {
    while (!a_Passed && !IsBlocked(a_Waiter))
        std::this_thread::yield();
    a_Unlocked = true;
    a_Mutex.Unlock();
}

TEST(Mutex, SecondLockOfOneThreadBlocksUntilAnotherUnlocks) {
    OSALMutex l_Mutex;
    std::atomic<bool> l_Passed = false;
    bool l_Unlocked = false;
    l_Mutex.Lock();
    std::thread l_Other(UnlockWhenBlocked, std::ref(l_Mutex), gettid(), std::cref(l_Passed), std::ref(l_Unlocked));
    l_Mutex.Lock();
    const bool l_UnlockedBefore = l_Unlocked;
    l_Passed = true;
    l_Other.join();
    EXPECT_TRUE(l_UnlockedBefore);
}

TEST(Mutex, LockOfAnotherThreadBlocksUntilUnlock) {
    OSALMutex l_Mutex;
    std::atomic<bool> l_Passed = false;
    std::atomic<pid_t> l_Waiter = 0;
    bool l_Unlocked = false;
    bool l_UnlockedBefore = false;
    l_Mutex.Lock();
    std::thread l_Other([&] {
        l_Waiter = gettid();
        l_Waiter.notify_one();
        l_Mutex.Lock();
        l_UnlockedBefore = l_Unlocked;
        l_Passed = true;
    });
    l_Waiter.wait(0);
    UnlockWhenBlocked(l_Mutex, l_Waiter, l_Passed, l_Unlocked);
    l_Other.join();
    EXPECT_TRUE(l_UnlockedBefore);
}

TEST(Mutex, UnlockOfAnUnlockedOneIsNotKept) {
    OSALMutex l_Mutex;
    std::atomic<bool> l_Passed = false;
    bool l_Unlocked = false;
    l_Mutex.Unlock();
    l_Mutex.Unlock();
    l_Mutex.Lock();
    std::thread l_Other(UnlockWhenBlocked, std::ref(l_Mutex), gettid(), std::cref(l_Passed), std::ref(l_Unlocked));
    l_Mutex.Lock(); // had an unlock been kept, this would pass at once
    const bool l_UnlockedBefore = l_Unlocked;
    l_Passed = true;
    l_Other.join();
    EXPECT_TRUE(l_UnlockedBefore);
}

TEST(Mutex, OneUnlockLetsOneWaiterThrough) {
    OSALMutex l_Mutex;
    int l_Count = 0; // guarded by the mutex
    const auto l_CountUp = [&] {
        for (int i = 0; i < 1000; ++i) {
            l_Mutex.Lock();
            ++l_Count;
            l_Mutex.Unlock();
        }
    };
    std::thread l_First(l_CountUp);
    std::thread l_Second(l_CountUp);
    l_CountUp();
    l_First.join();
    l_Second.join();
    EXPECT_EQ(3000, l_Count);
}

// What is seen here is seen by the sanitizers: an Unlock that still touches the object.
TEST(Mutex, MayBeDestroyedByWhoeverJustLockedIt) {
    constexpr int ROUNDS = 5000;
    std::atomic<OSALMutex*> l_ToUnlock = nullptr;
    std::thread l_Other([&] {
        for (int i = 0; i < ROUNDS; ++i) {
            l_ToUnlock.wait(nullptr);
            l_ToUnlock.exchange(nullptr)->Unlock();
        }
    });
    int l_Destroyed = 0;
    for (; l_Destroyed < ROUNDS; ++l_Destroyed) {
        auto l_Mutex = std::make_unique<OSALMutex>();
        l_Mutex->Lock();
        l_ToUnlock = l_Mutex.get();
        l_ToUnlock.notify_one();
        l_Mutex->Lock();
    }
    l_Other.join();
    EXPECT_EQ(ROUNDS, l_Destroyed);
}

} // namespace
