// The health monitor, as its log lines show it.
#include "host/news/RunHealth.h"

#include "common/veldo_common_protocol.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace BM_ADAPTOR;
using namespace bmhost;
using testing::ElementsAre;
using testing::IsEmpty;

class HealthLogTest : public testing::Test {
protected:
    std::optional<HealthChange> Line(const char* component, const char* text, int level = BM_LOG_ERROR) {
        return m_log.Take(level, component, text);
    }

    HealthLog m_log;
};

TEST_F(HealthLogTest, TellsThatTheMonitorRuns) {
    EXPECT_EQ(HealthState::Monitored, Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STARTED_TEXT)->m_health);
}

TEST_F(HealthLogTest, TellsAFaultWithItsReasonsWhenTheMonitorEnds) {
    Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STARTED_TEXT);
    EXPECT_FALSE(Line(COMPONENT_MONITOR_THREAD, "Waiting for 0x800072 message timed out. timeout period = 5000 ms"));
    EXPECT_FALSE(Line(COMPONENT_MEDIA_ADAPTOR, "QBoardStatusReply() failed in IsVXPLive()"));
    const auto change = Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STOPPED_TEXT);
    ASSERT_TRUE(change);
    EXPECT_EQ(HealthState::Fault, change->m_health);
    EXPECT_THAT(change->m_reasons, ElementsAre("Waiting for 0x800072 message timed out. timeout period = 5000 ms",
                                               "QBoardStatusReply() failed in IsVXPLive()"));
}

TEST_F(HealthLogTest, TellsTheEndOfAMonitorThatFoundNothing) {
    Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STARTED_TEXT);
    Line(COMPONENT_MONITOR_THREAD, "AMCs are live", BM_LOG_DEBUG);
    Line(COMPONENT_IPMI, "something else");
    const auto change = Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STOPPED_TEXT);
    EXPECT_EQ(HealthState::Ended, change->m_health);
    EXPECT_THAT(change->m_reasons, IsEmpty());
}

// A start of a blade that is started already logs errors of its own before it stops the monitor.
TEST_F(HealthLogTest, TakesNoReasonsFromOtherThreads) {
    std::thread monitor([&] { Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STARTED_TEXT); });
    monitor.join();
    Line(COMPONENT_MEDIA_ADAPTOR, "TRACE - Teaching the switch");
    EXPECT_EQ(HealthState::Ended, Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STOPPED_TEXT)->m_health);
}

TEST_F(HealthLogTest, TakesTheMonitorsReasonsWhileAnotherThreadStarts) {
    std::optional<HealthChange> change;
    std::thread monitor([&] {
        Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STARTED_TEXT);
        std::thread start([&] { Line(COMPONENT_MEDIA_ADAPTOR, "Fail to start MEDIA SERVER "); });
        start.join();
        Line(COMPONENT_MONITOR_THREAD, "AMC failed");
        change = Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STOPPED_TEXT);
    });
    monitor.join();
    ASSERT_TRUE(change);
    EXPECT_EQ(HealthState::Fault, change->m_health);
    EXPECT_THAT(change->m_reasons, ElementsAre("AMC failed"));
}

TEST_F(HealthLogTest, ForgetsTheReasonsOfAnEarlierFault) {
    Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STARTED_TEXT);
    Line(COMPONENT_MONITOR_THREAD, "AMC failed");
    Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STOPPED_TEXT);
    Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STARTED_TEXT);
    EXPECT_EQ(HealthState::Ended, Line(COMPONENT_IPMI_ADAPTOR, MONITOR_STOPPED_TEXT)->m_health);
}

TEST_F(HealthLogTest, TellsAMonitorThatCannotBegin) {
    const auto change = Line(COMPONENT_MONITOR_THREAD, "qDrvSetInterface() failed in InitDriver()");
    EXPECT_EQ(HealthState::Fault, change->m_health);
    EXPECT_THAT(change->m_reasons, ElementsAre("qDrvSetInterface() failed in InitDriver()"));
}

TEST_F(HealthLogTest, DoesNotListenToOthers) {
    EXPECT_FALSE(Line(COMPONENT_MEDIA_ADAPTOR, "MAVK_BOOT: /usr/korvel/bin/mavk_boot"));
    EXPECT_FALSE(Line(COMPONENT_IPMI, "DSPs Post Test Pass"));
}

} // namespace
