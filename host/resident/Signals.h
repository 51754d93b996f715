// Signals that ask a host to end while its adaptor works, tools of the adaptor included.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace BMHOST {

/// The request to come to an end, from any thread. It stays.
class STOP_REQUEST {
public:
    void Ask();
    bool Asked();
    /// True when it was asked; false when the time ran out.
    bool WaitFor(std::chrono::milliseconds a_Time);

private:
    std::mutex m_Guard;
    std::condition_variable m_Changed;
    bool m_Asked = false;
};

/// Does the work on a thread of its own, and returns or throws what it does. Meanwhile the calling thread, which has to
/// be the process's first, takes SIGINT, SIGTERM and SIGHUP: the first one asks for the stop, and standard error says
/// what was promised; the third ends the process by that signal. A signal that was ignored stays ignored.
bool WithSignals(STOP_REQUEST& a_Stop, const std::string& a_Promise, const std::function<bool()>& a_Work);

} // namespace BMHOST
