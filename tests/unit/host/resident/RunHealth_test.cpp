// The health monitor, as its log lines tell of it.
#include "host/resident/RunHealth.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

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
    EXPECT_EQ(HealthState::Monitored, Line("IPMI Adaptor", "Monitor Thread started")->m_health);
}

TEST_F(HealthLogTest, TellsAFaultWithItsReasonsWhenTheMonitorEnds) {
    Line("IPMI Adaptor", "Monitor Thread started");
    EXPECT_FALSE(Line("Monitor Thread", "Waiting for 0x800072 message timed out. timeout period = 5000 ms"));
    EXPECT_FALSE(Line("Media Adaptor", "QBoardStatusReply() failed in IsVXPLive()"));
    const auto change = Line("IPMI Adaptor", "Monitor Thread stopped");
    ASSERT_TRUE(change);
    EXPECT_EQ(HealthState::Fault, change->m_health);
    EXPECT_THAT(change->m_reasons, ElementsAre("Waiting for 0x800072 message timed out. timeout period = 5000 ms",
                                               "QBoardStatusReply() failed in IsVXPLive()"));
}

TEST_F(HealthLogTest, TellsTheEndOfAMonitorThatFoundNothing) {
    Line("IPMI Adaptor", "Monitor Thread started");
    Line("Monitor Thread", "AMCs are live", BM_LOG_DEBUG);
    Line("IPMI", "something else");
    const auto change = Line("IPMI Adaptor", "Monitor Thread stopped");
    EXPECT_EQ(HealthState::Ended, change->m_health);
    EXPECT_THAT(change->m_reasons, IsEmpty());
}

TEST_F(HealthLogTest, ForgetsTheReasonsOfAnEarlierFault) {
    Line("IPMI Adaptor", "Monitor Thread started");
    Line("Monitor Thread", "AMC failed");
    Line("IPMI Adaptor", "Monitor Thread stopped");
    Line("IPMI Adaptor", "Monitor Thread started");
    EXPECT_EQ(HealthState::Ended, Line("IPMI Adaptor", "Monitor Thread stopped")->m_health);
}

TEST_F(HealthLogTest, TellsAMonitorThatCannotBegin) {
    const auto change = Line("Monitor Thread", "qDrvSetInterface() failed in InitDriver()");
    EXPECT_EQ(HealthState::Fault, change->m_health);
    EXPECT_THAT(change->m_reasons, ElementsAre("qDrvSetInterface() failed in InitDriver()"));
}

TEST_F(HealthLogTest, DoesNotListenToOthers) {
    EXPECT_FALSE(Line("Media Adaptor", "MAVK_BOOT: /usr/korvel/bin/mavk_boot"));
    EXPECT_FALSE(Line("IPMI", "DSPs Post Test Pass"));
}

} // namespace
