// Reports when the adaptor ends the process, or does not return from a call.
#include "host/session/EndNotice.h"

#include "host/output/Redirect.h"

#include "bm_dev/HostLog.h"

#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace bmhost {

namespace {

// Never destroyed: the adaptor may end the process on a thread of its own.
struct Notice {
    std::mutex m_guard;
    std::condition_variable m_changed;
    std::string m_call;
    unsigned m_calls = 0; // counts starts and ends
    bool m_armed = false;
    std::chrono::milliseconds m_firstWait{};
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

void Watch() {
    Notice& notice = TheNotice();
    std::unique_lock lock(notice.m_guard);
    for (;;) {
        notice.m_changed.wait(lock, [&] { return !notice.m_call.empty(); });
        const unsigned call = notice.m_calls;
        std::chrono::milliseconds waited(0);
        std::chrono::milliseconds wait = notice.m_firstWait;
        while (!notice.m_changed.wait_for(lock, wait, [&] { return notice.m_calls != call; })) {
            waited += wait;
            wait = 6 * notice.m_firstWait;
            if (!notice.m_armed) continue;
            Tell("`" + notice.m_call + "` has not returned for " + Seconds(waited) + "; still waiting for the adaptor");
        }
    }
}

} // namespace

void ArmEndNotice(std::chrono::milliseconds firstWait) {
    Notice& notice = TheNotice();
    const std::lock_guard lock(notice.m_guard);
    notice.m_armed = true;
    notice.m_firstWait = firstWait;
    on_exit(OnExit, nullptr);
    std::thread(Watch).detach();
}

void DisarmEndNotice() {
    const std::lock_guard lock(TheNotice().m_guard);
    TheNotice().m_armed = false;
}

CallUnderWay::CallUnderWay(std::string name) {
    Notice& notice = TheNotice();
    const std::lock_guard lock(notice.m_guard);
    notice.m_call = std::move(name);
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
