// The OS handler of the fake: the event loop that delivers reports and replies, and the log hook.
#include "fake/openipmi/FakeOpenIPMI.h"

namespace {

int PerformOneOp(os_handler_t* a_Handler, struct timeval* a_TimeOut) {
    if (a_TimeOut != nullptr) Fake().Setup().m_bTimeOutGiven = true;
    return Fake().PerformOneOp(a_Handler);
}

void SetLogHandler(os_handler_t*, os_vlog_t a_Handler) {
    Fake().Setup().m_LogHandler = a_Handler;
}

} // namespace

os_handler_t* FAKE_OPENIPMI::MakeOsHandler() {
    const std::lock_guard l_Guard(m_Guard);
    auto& l_Handler = m_OsHandlers.emplace_back(std::make_unique<os_handler_t>());
    l_Handler->perform_one_op = ::PerformOneOp;
    l_Handler->set_log_handler = SetLogHandler;
    l_Handler->internal_data = reinterpret_cast<void*>(m_Generation);
    return l_Handler.get();
}

void FAKE_OPENIPMI::SleepForEver(std::unique_lock<std::mutex>& a_Guard) {
    for (;;)
        m_Never.wait(a_Guard);
}

int FAKE_OPENIPMI::PerformOneOp(os_handler_t* a_Handler) {
    std::unique_lock l_Guard(m_Guard);
    const auto l_IsMine = [&] { return reinterpret_cast<std::intptr_t>(a_Handler->internal_data) == m_Generation; };
    if (!l_IsMine()) SleepForEver(l_Guard);
    if (!m_Setup.m_PerformOneOpResults.empty()) {
        const int l_Result = m_Setup.m_PerformOneOpResults.front();
        m_Setup.m_PerformOneOpResults.pop_front();
        return l_Result;
    }
    while (m_Events.empty() && m_Replies.empty()) {
        if (m_bEndLoopWhenIdle) throw LOOP_ENDED{};
        m_bIdle = true;
        m_Changed.notify_all();
        m_Changed.wait(l_Guard);
        if (!l_IsMine()) SleepForEver(l_Guard);
    }
    m_bIdle = false;
    std::function<void()> l_Event;
    if (!m_Events.empty()) {
        l_Event = std::move(m_Events.front());
        m_Events.pop_front();
    }
    l_Guard.unlock();
    if (l_Event) {
        l_Event();
    } else {
        DeliverReply();
    }
    return 0;
}

void FAKE_OPENIPMI::Post(std::function<void()> a_Event) {
    const std::lock_guard l_Guard(m_Guard);
    m_bIdle = false;
    m_Events.push_back(std::move(a_Event));
    m_Changed.notify_all();
}

void FAKE_OPENIPMI::EndLoopWhenIdle(bool a_End) {
    const std::lock_guard l_Guard(m_Guard);
    m_bEndLoopWhenIdle = a_End;
    m_Changed.notify_all();
}

void FAKE_OPENIPMI::WaitUntilIdle() {
    std::unique_lock l_Guard(m_Guard);
    m_Changed.wait(l_Guard, [this] { return m_bIdle && m_Events.empty() && m_Replies.empty(); });
}

os_handler_t* ipmi_posix_thread_setup_os_handler(int a_WakeSignal) {
    Fake().NoteCall("ipmi_posix_thread_setup_os_handler");
    Fake().Setup().m_WakeSignal = a_WakeSignal;
    return Fake().Setup().m_bOsHandlerFails ? nullptr : Fake().MakeOsHandler();
}
