// The health monitor, as its log lines tell of it.
#include "host/resident/RunHealth.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace BMHOST;
using testing::ElementsAre;
using testing::IsEmpty;

class HealthLog : public testing::Test {
protected:
    std::optional<HEALTH_CHANGE> Line(const char* a_Component, const char* a_Text, int a_Level = BM_LOG_ERROR) {
        return m_Log.Take(a_Level, a_Component, a_Text);
    }

    HEALTH_LOG m_Log;
};

TEST_F(HealthLog, TellsThatTheMonitorRuns) {
    EXPECT_EQ(HEALTH::Monitored, Line("IPMI Adaptor", "Monitor Thread started")->m_Health);
}

TEST_F(HealthLog, TellsAFaultWithItsReasonsWhenTheMonitorEnds) {
    Line("IPMI Adaptor", "Monitor Thread started");
    EXPECT_FALSE(Line("Monitor Thread", "Waiting for 0x800072 message timed out. timeout period = 5000 ms"));
    EXPECT_FALSE(Line("Media Adaptor", "QBoardStatusReply() failed in IsVXPLive()"));
    const auto l_Change = Line("IPMI Adaptor", "Monitor Thread stopped");
    ASSERT_TRUE(l_Change);
    EXPECT_EQ(HEALTH::Fault, l_Change->m_Health);
    EXPECT_THAT(l_Change->m_Reasons, ElementsAre("Waiting for 0x800072 message timed out. timeout period = 5000 ms",
                                                 "QBoardStatusReply() failed in IsVXPLive()"));
}

TEST_F(HealthLog, TellsTheEndOfAMonitorThatFoundNothing) {
    Line("IPMI Adaptor", "Monitor Thread started");
    Line("Monitor Thread", "AMCs are live", BM_LOG_DEBUG);
    Line("IPMI", "something else");
    const auto l_Change = Line("IPMI Adaptor", "Monitor Thread stopped");
    EXPECT_EQ(HEALTH::Ended, l_Change->m_Health);
    EXPECT_THAT(l_Change->m_Reasons, IsEmpty());
}

TEST_F(HealthLog, ForgetsTheReasonsOfAnEarlierFault) {
    Line("IPMI Adaptor", "Monitor Thread started");
    Line("Monitor Thread", "AMC failed");
    Line("IPMI Adaptor", "Monitor Thread stopped");
    Line("IPMI Adaptor", "Monitor Thread started");
    EXPECT_EQ(HEALTH::Ended, Line("IPMI Adaptor", "Monitor Thread stopped")->m_Health);
}

TEST_F(HealthLog, TellsAMonitorThatCannotBegin) {
    const auto l_Change = Line("Monitor Thread", "qDrvSetInterface() failed in InitDriver()");
    EXPECT_EQ(HEALTH::Fault, l_Change->m_Health);
    EXPECT_THAT(l_Change->m_Reasons, ElementsAre("qDrvSetInterface() failed in InitDriver()"));
}

TEST_F(HealthLog, DoesNotListenToOthers) {
    EXPECT_FALSE(Line("Media Adaptor", "MAVK_BOOT: /usr/korvel/bin/mavk_boot"));
    EXPECT_FALSE(Line("IPMI", "DSPs Post Test Pass"));
}

} // namespace
