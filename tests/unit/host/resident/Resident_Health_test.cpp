// The resident host: the health that the log tells.
#include "host/resident/ResidentTest.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace bmhost {

namespace {

using testing::HasSubstr;

TEST_F(ResidentTest, HealthComesFromTheLogWithItsReasonAndItsEnd) {
    Begin();
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STARTED_TEXT);
    EXPECT_EQ(HealthState::Monitored, Host().Now()->m_health.m_state);
    bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "AMC failed");
    bmiLog(BM_LOG_ERROR, COMPONENT_IPMI_ADAPTOR, "%s", MONITOR_STOPPED_TEXT);
    EXPECT_EQ(HealthState::Fault, Host().Now()->m_health.m_state);
    EXPECT_THAT(Host().Now()->m_health.m_reasons, testing::ElementsAre("AMC failed"));
    EXPECT_THAT(News("health").back(),
                HasSubstr(R"({"op":"health","state":"fault","reasons":["AMC failed"],"time":")"));
    Host().Tick();
    EXPECT_EQ("init start", m_adaptor.Made()) << "only an order starts it again";
    EXPECT_FALSE(m_wantsToEnd.IsOpen());
    EXPECT_FALSE(Host().End([] { return false; }));
}

TEST_F(ResidentTest, RestartsAfterAFaultWhereThatIsWanted) {
    m_settings.m_restartOnFault = true;
    Begin();
    bmiLog(BM_LOG_ERROR, COMPONENT_MONITOR_THREAD, "qDrvSetInterface() failed in InitDriver()");
    EXPECT_TRUE(Comes([&] {
        Host().Tick();
        return m_adaptor.Made() == "init start stop start";
    }));
    EXPECT_EQ(1U, Host().Counts().m_restarts);
}

} // namespace

} // namespace bmhost
