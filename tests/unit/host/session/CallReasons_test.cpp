// What was logged during a call.
#include "host/session/CallReasons.h"

#include "host/session/StorageLog.h"

#include "bm/Log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace {

using bmhost::CallReasons;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(CallReasons, AreTheErrorsOfEveryThreadSinceItsBeginning) {
    bmiLog(BM_LOG_ERROR, "IPMI-Adaptor", "before");
    const CallReasons reasons;
    EXPECT_THAT(reasons.Texts(), IsEmpty());
    bmiLog(BM_LOG_ERROR, "IPMI-Adaptor", "one");
    bmiLog(BM_LOG_DEBUG, "IPMI-Adaptor", "a trace");
    std::thread([] { bmiLog(BM_LOG_ERROR, "Storage", "two"); }).join();
    EXPECT_THAT(reasons.Texts(), ElementsAre("one", "two"));
}

TEST(CallReasons, AreTheLastOnes) {
    const CallReasons reasons;
    for (int line = 1; line <= 7; ++line)
        bmiLog(BM_LOG_ERROR, "IPMI-Adaptor", "%i", line);
    EXPECT_THAT(reasons.Texts(), ElementsAre("3", "4", "5", "6", "7"));
}

TEST(CallReasons, AreThoseThatTellACauseHoweverManyFollow) {
    const CallReasons reasons;
    bmiLog(BM_LOG_ERROR, "IPMI-Adaptor", "Fail to Get MAC of eth6");
    for (int line = 1; line <= 100; ++line)
        bmiLog(BM_LOG_ERROR, "IPMI-Adaptor", "TRACE %i", line);
    EXPECT_THAT(reasons.Texts(), ElementsAre("Fail to Get MAC of eth6"));
}

TEST(CallReasons, LeaveTheStoragesLogItsLines) {
    const bmhost::StorageLog storage;
    const CallReasons reasons;
    bmiLog(BM_LOG_ERROR, "Storage", "CDataStorage :: EndTransaction - FILE: full");
    EXPECT_EQ("EndTransaction - FILE: full", storage.Last());
    EXPECT_THAT(reasons.Texts(), ElementsAre("CDataStorage :: EndTransaction - FILE: full"));
}

} // namespace
