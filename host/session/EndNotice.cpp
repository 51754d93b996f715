// Reports when the adaptor ends the process, or does not return from a call.
#include "host/session/EndNotice.h"

#include "host/output/Redirect.h"
#include "host/words/Error.h"

#include "bm_dev/HostLog.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace bmhost {

namespace {

using Clock = std::chrono::steady_clock;

// Never destroyed: the adaptor may end the process on a thread of its own.
struct Notice {
    std::mutex m_guard;
    std::condition_variable m_changed;
    std::string m_call;
    WallTime m_since{};
    unsigned m_calls = 0; // counts starts and ends
    bool m_armed = false;
    std::chrono::milliseconds m_firstWait{};
    std::optional<std::chrono::milliseconds> m_limit;
    Clock::time_point m_end = Clock::time_point::max(); // the limit's
};

Notice& TheNotice() {
    static Notice& notice = *new Notice;
    return notice;
}

void Tell(const std::string& line) {
    const std::string whole = "bmhost: " + line + "\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, whole.data(), whole.size());
}

// "10 s", with a fraction only if there is one.
std::string Seconds(std::chrono::milliseconds time) {
    std::array<char, 32> text{};
    snprintf(text.data(), text.size(), "%g s", static_cast<double>(time.count()) / 1000);
    return text.data();
}

void OnExit(int status, void*) {
    Notice& notice = TheNotice();
    const std::lock_guard lock(notice.m_guard);
    if (!notice.m_armed) return;
    fflush(stdout); // the adaptor's prints come first
    ShowWithheld();
    bm_dev::LogToConsole(false); // its other threads may log until the very end
    const std::string where = notice.m_call.empty() ? "between two calls" : "during `" + notice.m_call + "`";
    Tell("the adaptor ended the process " + where + " (exit status " + std::to_string(status) + ")");
    notice.m_armed = false; // that was the last line
}

// The thread that waits for the adaptor may hold whatever an orderly end needs.
[[noreturn]] void EndForTime(const Notice& notice) {
    const std::string what = notice.m_call.empty()
                                 ? "between two calls"
                                 : "waiting for the adaptor's `" + notice.m_call + "` since " + Rfc3339(notice.m_since);
    Tell("the time is up (" + Seconds(*notice.m_limit) + "): " + what);
    _exit(ExitTimeUp);
}

// Waits for the condition until then, and ends the process when its time is up first. False when it is then.
template <typename Condition>
bool WaitForChange(std::unique_lock<std::mutex>& lock, Clock::time_point then, const Condition& condition) {
    Notice& notice = TheNotice();
    constexpr std::chrono::hours longestWait(1);
    while (!condition()) {
        const auto now = Clock::now();
        if (notice.m_armed && now >= notice.m_end) EndForTime(notice);
        if (now >= then) return false;
        notice.m_changed.wait_until(lock, std::min({then, notice.m_end, now + longestWait}));
    }
    return true;
}

void Watch() {
    Notice& notice = TheNotice();
    std::unique_lock lock(notice.m_guard);
    for (;;) {
        WaitForChange(lock, Clock::time_point::max(), [&] { return !notice.m_call.empty(); });
        const unsigned call = notice.m_calls;
        std::chrono::milliseconds waited(0);
        std::chrono::milliseconds wait = notice.m_firstWait;
        while (!WaitForChange(lock, Clock::now() + wait, [&] { return notice.m_calls != call; })) {
            waited += wait;
            wait = 6 * notice.m_firstWait;
            if (!notice.m_armed) continue;
            Tell("`" + notice.m_call + "` has not returned for " + Seconds(waited) + "; still waiting for the adaptor");
        }
    }
}

} // namespace

void ArmEndNotice(std::chrono::milliseconds firstWait, std::optional<std::chrono::milliseconds> limit) {
    Notice& notice = TheNotice();
    const std::lock_guard lock(notice.m_guard);
    notice.m_armed = true;
    notice.m_firstWait = firstWait;
    notice.m_limit = limit;
    if (limit) notice.m_end = Clock::now() + *limit;
    on_exit(OnExit, nullptr);
    std::thread(Watch).detach();
}

void DisarmEndNotice() {
    const std::lock_guard lock(TheNotice().m_guard);
    TheNotice().m_armed = false;
    TheNotice().m_end = Clock::time_point::max();
}

CallUnderWay::CallUnderWay(std::string name) {
    Notice& notice = TheNotice();
    const std::lock_guard lock(notice.m_guard);
    notice.m_call = std::move(name);
    notice.m_since = WallNow();
    ++notice.m_calls;
    notice.m_changed.notify_one();
}

CallUnderWay::~CallUnderWay() {
    Notice& notice = TheNotice();
    const std::lock_guard lock(notice.m_guard);
    notice.m_call.clear();
    ++notice.m_calls;
    notice.m_changed.notify_one();
}

} // namespace bmhost
