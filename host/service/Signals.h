// Signals that ask a host to end while its adaptor, or one of the adaptor's tools, works.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace bmhost {

/// The request to end. Any thread may make it; it cannot be withdrawn. Made twice it means: without waiting for what
/// would come to its end by itself.
class StopRequest {
public:
    void Ask();
    bool Asked();
    bool AskedTwice();
    void Wait();
    /// True when the end was requested; false when the time is over.
    bool WaitFor(std::chrono::milliseconds time);

private:
    std::mutex m_guard;
    std::condition_variable m_changed;
    int m_asked = 0;
};

/// Does the work on another thread, and returns or throws what the work does. Meanwhile the calling thread, which must
/// be the process's first, takes SIGINT, SIGTERM and SIGHUP: the first signal requests the stop, with the notice on
/// standard error; the third ends the process by that signal. A signal that was ignored stays ignored.
/// @param reload  what SIGHUP does instead; it is called on the calling thread
bool WithSignals(StopRequest& stop, const std::string& promise, const std::function<bool()>& work,
                 const std::function<void()>& reload = {});

} // namespace bmhost
