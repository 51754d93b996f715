// Operating system abstraction on the C++ library.
#include "bm/OSAL.h"

#include "bm/Log.h"
#include "bm_dev/Thread.h"

#include <cerrno>
#include <chrono>
#include <cxxabi.h>
#include <exception>

namespace OSAL {

namespace {

// The object whose run() the calling thread executes.
thread_local const OSALThread* running = nullptr;

} // namespace

void OSALMutex::Lock() {
    std::unique_lock<std::mutex> lock(m_Guard);
    m_Freed.wait(lock, [this] { return !m_Locked; });
    m_Locked = true;
}

// Notify under the guard: the thread that takes the lock gets it only after this thread is done with the object.
void OSALMutex::Unlock() {
    const std::lock_guard<std::mutex> lock(m_Guard);
    m_Locked = false;
    m_Freed.notify_one();
}

OSALThread::~OSALThread() {
    if (m_Thread != 0) pthread_detach(m_Thread);
}

int OSALThread::Start() {
    if (running == this || m_Thread != 0) return EBUSY;
    pthread_t thread{};
    const int failure = bm_dev::StartThread(thread, [this] {
        running = this;
        try {
            run();
        } catch (const abi::__forced_unwind&) { // the thread is cancelled
            throw;
        } catch (const std::exception& error) {
            bmiLog(BM_LOG_ERROR, "OSAL", "an exception ended a thread: %s", error.what());
        } catch (...) {
            bmiLog(BM_LOG_ERROR, "OSAL", "an exception of unknown type ended a thread");
        }
    });
    if (failure == 0) m_Thread = thread;
    return failure;
}

int OSALThread::Join() {
    if (running == this) return EDEADLK; // asked first: Start may not have returned yet
    if (m_Thread == 0) return ESRCH;
    pthread_join(m_Thread, nullptr);
    m_Thread = 0;
    return 0;
}

void OSALMonitor::Lock() {
    m_Guard.lock();
}

void OSALMonitor::Unlock() {
    m_Guard.unlock();
}

bool OSALMonitor::Wait(int ms) {
    std::unique_lock<std::mutex> lock(m_Guard, std::adopt_lock);
    const bool notified = m_Notified.wait_for(lock, std::chrono::milliseconds(ms)) == std::cv_status::no_timeout;
    lock.release(); // still held: the caller unlocks
    return notified;
}

void OSALMonitor::Notify() {
    m_Notified.notify_one();
}

} // namespace OSAL
