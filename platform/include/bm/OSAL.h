// Operating system abstraction: a binary semaphore, a thread and a timed monitor.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace OSAL {

/// A binary semaphore that begins unlocked. It knows no owner: a second Lock blocks, the same thread's too, and any
/// thread may Unlock. Adaptors use it as a latch: lock, send a request, lock again; whoever gets the reply unlocks.
/// A lock that was just taken may be destroyed at once: the unlocking thread no longer touches it.
class OSALMutex {
public:
    OSALMutex() = default;
    OSALMutex(const OSALMutex&) = delete;
    OSALMutex& operator=(const OSALMutex&) = delete;

    void Lock();
    /// Unlocking an unlocked mutex changes nothing.
    void Unlock();

private:
    std::mutex m_Guard;
    std::condition_variable m_Freed;
    bool m_Locked = false;
};

/// A thread whose body is run(). The object must outlive the body.
class OSALThread {
public:
    OSALThread() = default;
    OSALThread(const OSALThread&) = delete;
    OSALThread& operator=(const OSALThread&) = delete;
    /// Leaves a thread that was never joined to itself.
    virtual ~OSALThread();

    /// 0, or an errno: EBUSY while a started thread was not joined, EAGAIN when the system gives no thread.
    int Start();
    /// Waits for run() to end. 0, or ESRCH when there is nothing to join, EDEADLK on the thread itself.
    int Join();

    virtual void run() = 0;

private:
    std::thread m_Thread;
};

/// A lock to wait on. Lock before testing what is waited for, Wait in a loop, Unlock; the other side does
/// Lock, change, Notify, Unlock.
class OSALMonitor {
public:
    OSALMonitor() = default;
    OSALMonitor(const OSALMonitor&) = delete;
    OSALMonitor& operator=(const OSALMonitor&) = delete;
    virtual ~OSALMonitor() = default;

    void Lock();
    void Unlock();
    /// Waits, with the lock released, for Notify or for `ms` milliseconds; the caller must hold the lock.
    /// @return false when the time ran out; true when notified, or woken for no reason: test and wait again
    bool Wait(int ms);
    /// Wakes one waiter; without a waiter nothing is kept.
    void Notify();

private:
    std::mutex m_Guard;
    std::condition_variable m_Notified;
};

} // namespace OSAL
