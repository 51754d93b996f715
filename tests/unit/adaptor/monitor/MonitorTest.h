// What the health monitor's tests need: a live media software on the queue, a board on which no tool really runs, and a
// monitor on both.
#pragma once

#include "adaptor/AdaptorTest.h"

#include "adaptor/IPMI_MonitorThread.h"
#include "adaptor/monitor/IPMI_OwnWait.h"
#include "fake/FakeQueue.h"

#include <atomic>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace BM_ADAPTOR::TEST {

/// The media software's answers.
inline qMsg BoardStatus(uint32_t a_State, uint32_t a_SubState) {
    return qMsg{Q_MSG_BOARD_STATUS_REPLY, Q_ADDRESS_VXP, Q_ADDRESS_MONITOR}
        .Number(Q_FIELD_BOARD_STATE, a_State)
        .Number(Q_FIELD_BOARD_SUB_STATE, a_SubState);
}

inline qMsg ProcessorStatus(uint32_t a_State) {
    return qMsg{Q_MSG_PROC_STATUS_REPLY, Q_ADDRESS_VXP, Q_ADDRESS_MONITOR}.Number(Q_FIELD_PROC_STATE, a_State);
}

/// Lines of the host's log.
inline LOG_LINE MonitorError(const std::string& a_Text) {
    return {BM_LOG_ERROR, "Monitor Thread", a_Text};
}
inline LOG_LINE MediaError(const std::string& a_Text) {
    return {BM_LOG_ERROR, "Media Adaptor", a_Text};
}
inline LOG_LINE AdaptorError(const std::string& a_Text) {
    return {BM_LOG_ERROR, "IPMI Adaptor", a_Text};
}

/// Notes the monitor's own waits: true for each beginning, false for each end.
class NOTED_WAITS final : public WAIT_WATCHER {
public:
    void NoteOwnWait(bool a_bWaits) override { m_Noted.push_back(a_bWaits); }

    std::vector<bool> m_Noted{};
};

/// Acts within the first line of this text, on the thread that writes it.
class ACTING_LOG final : public RECORDING_LOG {
public:
    ACTING_LOG(LOG_LINE a_Line, std::function<void()> a_Act) : m_Line(std::move(a_Line)), m_Act(std::move(a_Act)) {
        RecordBmiLogTo(this);
    }
    ~ACTING_LOG() override { RecordBmiLogTo(nullptr); }

    void Log(int a_Level, const char* a_Component, const char* a_Text) override {
        RECORDING_LOG::Log(a_Level, a_Component, a_Text);
        if (m_Line.m_Text == a_Text && !m_bDone.exchange(true)) m_Act();
    }

private:
    LOG_LINE m_Line;
    std::function<void()> m_Act;
    std::atomic<bool> m_bDone = false;
};

/// The media software is live. Traces are off.
class MEDIA_TEST : public ADAPTOR_PROCESS_TEST {
protected:
    MEDIA_TEST() {
        BM_LOG_LEVEL = 0;
        FakeQueue().Reset();
        FakeQueue().m_Answers[Q_MSG_BOARD_STATUS] = BoardStatus(1, 4);
    }

    ~MEDIA_TEST() override {
        EXPECT_EQ(FakeQueue().m_Messages, 0) << "messages that nobody freed";
        EXPECT_EQ(FakeQueue().m_Descriptor, -1) << "the queue was left open";
        FakeQueue().Reset();
    }
};

/// Everything that the monitor checks is well.
class MONITOR_TEST : public MEDIA_TEST {
protected:
    ~MONITOR_TEST() override { m_Monitor.StopMonitor(); }

    void StartIt() { m_Monitor.StartMonitor(false, false, nullptr, 0); }

    /// Starts it, and returns when it waits for its next check.
    void StartAndWait() {
        StartIt();
        m_Board.WaitForBegun(1);
    }

    IPMI_MonitorThread m_Monitor{m_Board};
};

inline const LOG_LINE g_MonitorStarted = AdaptorError("Monitor Thread started");
inline const LOG_LINE g_MonitorStopped = AdaptorError("Monitor Thread stopped");

} // namespace BM_ADAPTOR::TEST
