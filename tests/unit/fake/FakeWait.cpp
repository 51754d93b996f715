// The host's threads and monitors as tests play them; see the header.
#include "fake/FakeWait.h"

#include "bm/OSAL.h"

#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace {

std::mutex& g_Lock = *new std::mutex;
std::condition_variable& g_Begun = *new std::condition_variable;
std::vector<int>& g_Asked = *new std::vector<int>;
int g_TimeOuts = 0;
std::atomic<int> g_StartError = 0;
std::function<void()>& g_BeforeStart = *new std::function<void()>;
std::function<void()>& g_WithinStart = *new std::function<void()>;

void CallOnce(std::function<void()>& a_Call) {
    std::function<void()> l_Call;
    {
        const std::lock_guard l_Guard(g_Lock);
        l_Call.swap(a_Call);
    }
    if (l_Call) l_Call();
}

// True when this wait times out.
bool Begin(int a_Milliseconds) {
    const std::lock_guard l_Guard(g_Lock);
    g_Asked.push_back(a_Milliseconds);
    g_Begun.notify_all();
    return g_TimeOuts > 0 && g_TimeOuts-- > 0;
}

} // namespace

FAKE_WAIT& FakeWait() {
    static FAKE_WAIT& s_Wait = *new FAKE_WAIT;
    return s_Wait;
}

void FAKE_WAIT::LetTimeOut(int a_Count) {
    const std::lock_guard l_Guard(g_Lock);
    g_TimeOuts = a_Count;
}

void FAKE_WAIT::WaitForBegun(std::size_t a_Count) const {
    std::unique_lock l_Guard(g_Lock);
    g_Begun.wait(l_Guard, [=] { return g_Asked.size() >= a_Count; });
}

std::vector<int> FAKE_WAIT::Asked() const {
    const std::lock_guard l_Guard(g_Lock);
    return g_Asked;
}

void FAKE_WAIT::Reset() {
    const std::lock_guard l_Guard(g_Lock);
    g_Asked.clear();
    g_TimeOuts = 0;
}

// In place of the platform's. The caller holds the lock from before Begin until it waits, so that whoever was told of
// the wait gets the lock only then.
bool OSAL::OSALMonitor::Wait(int a_Milliseconds) {
    if (Begin(a_Milliseconds)) return false;
    std::unique_lock<std::mutex> l_Held(m_Guard, std::adopt_lock);
    m_Notified.wait(l_Held);
    l_Held.release();
    return true;
}

void FailNextThreadStart(int a_Error) {
    g_StartError = a_Error;
}

void BeforeNextThreadStart(std::function<void()> a_Call) {
    const std::lock_guard l_Guard(g_Lock);
    g_BeforeStart = std::move(a_Call);
}

void WithinNextThreadStart(std::function<void()> a_Call) {
    const std::lock_guard l_Guard(g_Lock);
    g_WithinStart = std::move(a_Call);
}

int OSAL::OSALThread::Start() {
    CallOnce(g_BeforeStart);
    using START = int (*)(OSALThread*); // how the compiler calls a member function
    static const auto s_Real = reinterpret_cast<START>(dlsym(RTLD_NEXT, "_ZN4OSAL10OSALThread5StartEv"));
    if (const int l_Error = g_StartError.exchange(0); l_Error != 0) return l_Error;
    const int l_Error = s_Real(this);
    CallOnce(g_WithinStart);
    return l_Error == 0 && !m_Thread.joinable() ? ESRCH : l_Error;
}
