// Reports when the adaptor ends the process, or does not return from a call.
#include "host/session/EndNotice.h"

#include "host/output/Redirect.h"
#include "host/words/Error.h"

#include "bm_dev/HostLog.h"
#include "bm_dev/Thread.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <list>
#include <mutex>
#include <new>
#include <thread>
#include <unistd.h>
#include <utility>

namespace bmhost {

namespace {

using Clock = std::chrono::steady_clock;

struct CallNoted {
    std::string m_name;
    std::thread::id m_thread;
    WallTime m_since{};
    Clock::time_point m_begun;
    std::chrono::milliseconds m_told{}; // after which time the next line is due
};

// Never destroyed: the adaptor may end the process on a thread of its own.
struct Notice {
    std::mutex m_guard;
    std::condition_variable m_changed;
    std::list<CallNoted> m_calls; // oldest first
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

// The call that was made on this thread; where a thread of the adaptor's own ends the process, the oldest.
const std::string& Culprit(const Notice& notice) {
    const auto own = std::find_if(notice.m_calls.begin(), notice.m_calls.end(),
                                  [](const CallNoted& call) { return call.m_thread == std::this_thread::get_id(); });
    return own != notice.m_calls.end() ? own->m_name : notice.m_calls.front().m_name;
}

void OnExit(int status, void*) {
    Notice& notice = TheNotice();
    const std::lock_guard lock(notice.m_guard);
    if (!notice.m_armed) return;
    fflush(stdout); // the adaptor's prints come first
    ShowWithheld();
    bm_dev::LogToConsole(false); // its other threads may log until the very end
    const std::string where = notice.m_calls.empty() ? "between two calls" : "during `" + Culprit(notice) + "`";
    Tell("the adaptor ended the process " + where + " (exit status " + std::to_string(status) + ")");
    notice.m_armed = false; // that was the last line
    notice.m_end = Clock::time_point::max();
}

// The thread that waits for the adaptor may hold whatever an orderly end needs.
[[noreturn]] void EndForTime(const Notice& notice) {
    const std::string what = notice.m_calls.empty() ? "between two calls"
                                                    : "waiting for the adaptor's `" + notice.m_calls.front().m_name +
                                                          "` since " + Rfc3339(notice.m_calls.front().m_since);
    Tell("the time is up (" + Seconds(*notice.m_limit) + "): " + what);
    _exit(ExitTimeUp);
}

// Tells of the calls whose time has come, and returns when the next one's does.
Clock::time_point TellOfWaiting(Notice& notice, Clock::time_point now) {
    auto next = Clock::time_point::max();
    for (CallNoted& call : notice.m_calls) {
        if (call.m_told == std::chrono::milliseconds(0)) call.m_told = notice.m_firstWait;
        if (now - call.m_begun >= call.m_told) {
            if (notice.m_armed)
                Tell("`" + call.m_name + "` has not returned for " + Seconds(call.m_told) +
                     "; still waiting for the adaptor");
            call.m_told += 6 * notice.m_firstWait;
        }
        next = std::min(next, call.m_begun + call.m_told);
    }
    return next;
}

void Watch() {
    constexpr std::chrono::hours longestWait(1);
    Notice& notice = TheNotice();
    std::unique_lock lock(notice.m_guard);
    for (;;) {
        const auto now = Clock::now();
        if (notice.m_armed && now >= notice.m_end) EndForTime(notice);
        auto next = now + std::chrono::seconds(1);
        try {
            next = TellOfWaiting(notice, now);
        } catch (const std::bad_alloc&) { // tells of it when there is memory again; a remark ends no host
        }
        notice.m_changed.wait_until(lock, std::min({next, notice.m_end, now + longestWait}));
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
    bm_dev::Thread(Watch).Detach();
}

void DisarmEndNotice() {
    const std::lock_guard lock(TheNotice().m_guard);
    TheNotice().m_armed = false;
    TheNotice().m_end = Clock::time_point::max();
}

CallUnderWay::CallUnderWay(std::string name) {
    Notice& notice = TheNotice();
    const std::lock_guard lock(notice.m_guard);
    notice.m_calls.push_back({std::move(name), std::this_thread::get_id(), WallNow(), Clock::now()});
    notice.m_changed.notify_one();
}

CallUnderWay::~CallUnderWay() {
    Notice& notice = TheNotice();
    const std::lock_guard lock(notice.m_guard);
    // One thread makes one call at a time; one inside another began later.
    const auto last = std::find_if(notice.m_calls.rbegin(), notice.m_calls.rend(),
                                   [](const CallNoted& call) { return call.m_thread == std::this_thread::get_id(); });
    notice.m_calls.erase(std::next(last).base());
}

} // namespace bmhost
