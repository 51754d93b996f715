// Signals that ask a host to end while its adaptor works, tools of the adaptor included.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace bmhost {

/// The request to come to an end, from any thread. It stays.
class StopRequest {
public:
    void Ask();
    bool Asked();
    /// True when it was asked; false when the time ran out.
    bool WaitFor(std::chrono::milliseconds time);

private:
    std::mutex m_guard;
    std::condition_variable m_changed;
    bool m_asked = false;
};

/// Does the work on a thread of its own, and returns or throws what it does. Meanwhile the calling thread, which has to
/// be the process's first, takes SIGINT, SIGTERM and SIGHUP: the first one asks for the stop, and standard error says
/// what was promised; the third ends the process by that signal. A signal that was ignored stays ignored.
bool WithSignals(StopRequest& stop, const std::string& promise, const std::function<bool()>& work);

} // namespace bmhost
