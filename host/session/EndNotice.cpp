// Says so when the adaptor ends the process, or does not come back from a call.
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

namespace BMHOST {

namespace {

// Never destroyed: the adaptor may end the process on a thread of its own.
struct NOTICE {
    std::mutex m_Guard;
    std::condition_variable m_Changed;
    std::string m_Call;
    unsigned m_Calls = 0; // counts beginnings and ends
    bool m_Armed = false;
    std::chrono::milliseconds m_FirstWait{};
};

NOTICE& TheNotice() {
    static NOTICE& l_Notice = *new NOTICE;
    return l_Notice;
}

void Tell(const std::string& a_Line) {
    const std::string l_Line = "bmhost: " + a_Line + "\n";
    [[maybe_unused]] const ssize_t l_Written = write(STDERR_FILENO, l_Line.data(), l_Line.size());
}

// "10 s"; a fraction only when there is one.
std::string Seconds(std::chrono::milliseconds a_Time) {
    std::array<char, 32> l_Text{};
    snprintf(l_Text.data(), l_Text.size(), "%g s", static_cast<double>(a_Time.count()) / 1000);
    return l_Text.data();
}

void OnExit(int a_Status, void*) {
    NOTICE& l_Notice = TheNotice();
    const std::lock_guard l_Lock(l_Notice.m_Guard);
    if (!l_Notice.m_Armed) return;
    fflush(stdout); // what the adaptor printed comes before
    ShowWithheld();
    BM_PLATFORM::LogToConsole(false); // its other threads may log to the very end
    const std::string l_Where = l_Notice.m_Call.empty() ? "between two calls" : "during `" + l_Notice.m_Call + "`";
    Tell("the adaptor ended the process " + l_Where + " (exit status " + std::to_string(a_Status) + ")");
    l_Notice.m_Armed = false; // that was the last line
}

void Watch() {
    NOTICE& l_Notice = TheNotice();
    std::unique_lock l_Lock(l_Notice.m_Guard);
    for (;;) {
        l_Notice.m_Changed.wait(l_Lock, [&] { return !l_Notice.m_Call.empty(); });
        const unsigned l_Call = l_Notice.m_Calls;
        std::chrono::milliseconds l_Waited(0);
        std::chrono::milliseconds l_Wait = l_Notice.m_FirstWait;
        while (!l_Notice.m_Changed.wait_for(l_Lock, l_Wait, [&] { return l_Notice.m_Calls != l_Call; })) {
            l_Waited += l_Wait;
            l_Wait = 6 * l_Notice.m_FirstWait;
            if (!l_Notice.m_Armed) continue;
            Tell("`" + l_Notice.m_Call + "` has not returned for " + Seconds(l_Waited) +
                 "; still waiting for the adaptor");
        }
    }
}

} // namespace

void ArmEndNotice(std::chrono::milliseconds a_FirstWait) {
    NOTICE& l_Notice = TheNotice();
    const std::lock_guard l_Lock(l_Notice.m_Guard);
    l_Notice.m_Armed = true;
    l_Notice.m_FirstWait = a_FirstWait;
    on_exit(OnExit, nullptr);
    std::thread(Watch).detach();
}

void DisarmEndNotice() {
    const std::lock_guard l_Lock(TheNotice().m_Guard);
    TheNotice().m_Armed = false;
}

CALL_UNDER_WAY::CALL_UNDER_WAY(std::string a_Name) {
    NOTICE& l_Notice = TheNotice();
    const std::lock_guard l_Lock(l_Notice.m_Guard);
    l_Notice.m_Call = std::move(a_Name);
    ++l_Notice.m_Calls;
    l_Notice.m_Changed.notify_one();
}

CALL_UNDER_WAY::~CALL_UNDER_WAY() {
    NOTICE& l_Notice = TheNotice();
    const std::lock_guard l_Lock(l_Notice.m_Guard);
    l_Notice.m_Call.clear();
    ++l_Notice.m_Calls;
    l_Notice.m_Changed.notify_one();
}

} // namespace BMHOST
