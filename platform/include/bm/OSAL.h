// Operating system abstraction: a binary semaphore, a thread and a timed monitor.
#pragma once

#include <condition_variable>
#include <mutex>
#include <pthread.h>

namespace OSAL {

/// A binary semaphore that begins unlocked. It has no owner: a second Lock blocks even in the same thread, and any
/// thread may Unlock. Adaptors use it as a latch: lock, send a request, lock again; the thread that gets the reply
/// unlocks. The object may be destroyed as soon as Lock has returned: the unlocking thread no longer touches it.
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

/// A thread whose body is run(), with a stack of 1 MiB. The object must outlive the body.
class OSALThread {
public:
    OSALThread() = default;
    OSALThread(const OSALThread&) = delete;
    OSALThread& operator=(const OSALThread&) = delete;
    /// A thread that was never joined goes on by itself.
    virtual ~OSALThread();

    /// 0, or an errno: EBUSY while a started thread has not been joined, EAGAIN when the system cannot create a thread.
    int Start();
    /// Waits for run() to end. 0, or ESRCH when there is no thread to join, EDEADLK when called on the thread itself.
    int Join();

    virtual void run() = 0;

private:
    pthread_t m_Thread{}; // 0: none
};

/// A lock to wait on. The waiting side calls Lock, tests its condition, calls Wait in a loop, then Unlock; the other
/// side calls Lock, changes the condition, then Notify and Unlock.
class OSALMonitor {
public:
    OSALMonitor() = default;
    OSALMonitor(const OSALMonitor&) = delete;
    OSALMonitor& operator=(const OSALMonitor&) = delete;
    virtual ~OSALMonitor() = default;

    void Lock();
    void Unlock();
    /// Waits, with the lock released, for Notify or for `ms` milliseconds; the caller must hold the lock.
    /// @return false when the time is over; true after Notify, and sometimes without one: test the condition again
    bool Wait(int ms);
    /// Wakes one waiter. Has no effect when there is none.
    void Notify();

private:
    std::mutex m_Guard;
    std::condition_variable m_Notified;
};

} // namespace OSAL
