// What the health monitor's tests need: a monitor, a live media software on the queue, and no diagnostic that really
// runs.
#pragma once

#include "adaptor/AdaptorTest.h"

#include "adaptor/IPMI_MonitorThread.h"
#include "fake/FakeQueue.h"
#include "fake/FakeSystem.h"
#include "fake/FakeWait.h"

#include <string>

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

/// Everything that the monitor checks is well. Traces are off.
class MONITOR_TEST : public ADAPTOR_PROCESS_TEST {
protected:
    MONITOR_TEST() {
        BM_LOG_LEVEL = 0;
        FakeQueue().Reset();
        FakeQueue().m_Answers[Q_MSG_BOARD_STATUS] = BoardStatus(1, 4);
        FakeSystem().Reset();
        FakeWait().Reset();
    }

    ~MONITOR_TEST() override {
        m_Monitor.StopMonitor();
        EXPECT_EQ(FakeQueue().m_Messages, 0) << "messages that nobody freed";
        EXPECT_EQ(FakeQueue().m_Descriptor, -1) << "the queue was left open";
        FakeQueue().Reset();
        FakeSystem().Reset();
    }

    IPMI_MonitorThread m_Monitor{m_Board};
};

} // namespace BM_ADAPTOR::TEST
