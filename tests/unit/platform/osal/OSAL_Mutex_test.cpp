// The binary semaphore that serves as a latch.
#include "bm/OSAL.h"
#include "platform/osal/Blocked.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

using OSAL::OSALMutex;

// Unlocks when `waiter` sleeps. A waiter that gets past its Lock instead sets `passed`, and no unlock follows.
void UnlockWhenBlocked(OSALMutex& mutex, pid_t waiter, const std::atomic<bool>& passed, bool& unlocked) {
    while (!passed && !IsBlocked(waiter))
        std::this_thread::yield();
    unlocked = true;
    mutex.Unlock();
}

TEST(Mutex, SecondLockOfOneThreadBlocksUntilAnotherUnlocks) {
    OSALMutex mutex;
    std::atomic<bool> passed = false;
    bool unlocked = false;
    mutex.Lock();
    std::thread other(UnlockWhenBlocked, std::ref(mutex), gettid(), std::cref(passed), std::ref(unlocked));
    mutex.Lock();
    const bool unlockedBefore = unlocked;
    passed = true;
    other.join();
    EXPECT_TRUE(unlockedBefore);
}

TEST(Mutex, LockOfAnotherThreadBlocksUntilUnlock) {
    OSALMutex mutex;
    std::atomic<bool> passed = false;
    std::atomic<pid_t> waiter = 0;
    bool unlocked = false;
    bool unlockedBefore = false;
    mutex.Lock();
    std::thread other([&] {
        waiter = gettid();
        waiter.notify_one();
        mutex.Lock();
        unlockedBefore = unlocked;
        passed = true;
    });
    waiter.wait(0);
    UnlockWhenBlocked(mutex, waiter, passed, unlocked);
    other.join();
    EXPECT_TRUE(unlockedBefore);
}

TEST(Mutex, UnlockOfAnUnlockedOneIsNotKept) {
    OSALMutex mutex;
    std::atomic<bool> passed = false;
    bool unlocked = false;
    mutex.Unlock();
    mutex.Unlock();
    mutex.Lock();
    std::thread other(UnlockWhenBlocked, std::ref(mutex), gettid(), std::cref(passed), std::ref(unlocked));
    mutex.Lock(); // if an unlock had been kept, this would return at once
    const bool unlockedBefore = unlocked;
    passed = true;
    other.join();
    EXPECT_TRUE(unlockedBefore);
}

TEST(Mutex, OneUnlockLetsOneWaiterThrough) {
    OSALMutex mutex;
    int count = 0; // guarded by the mutex
    const auto countUp = [&] {
        for (int i = 0; i < 1000; ++i) {
            mutex.Lock();
            ++count;
            mutex.Unlock();
        }
    };
    std::thread first(countUp);
    std::thread second(countUp);
    countUp();
    first.join();
    second.join();
    EXPECT_EQ(3000, count);
}

// The sanitizers find the fault here: an Unlock that still touches the object.
TEST(Mutex, MayBeDestroyedByWhoeverJustLockedIt) {
    constexpr int Rounds = 5000;
    std::atomic<OSALMutex*> toUnlock = nullptr;
    std::thread other([&] {
        for (int i = 0; i < Rounds; ++i) {
            toUnlock.wait(nullptr);
            toUnlock.exchange(nullptr)->Unlock();
        }
    });
    int destroyed = 0;
    for (; destroyed < Rounds; ++destroyed) {
        auto mutex = std::make_unique<OSALMutex>();
        mutex->Lock();
        toUnlock = mutex.get();
        toUnlock.notify_one();
        mutex->Lock();
    }
    other.join();
    EXPECT_EQ(Rounds, destroyed);
}

} // namespace
