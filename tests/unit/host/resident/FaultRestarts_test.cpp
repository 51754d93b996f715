// When a fault is followed by a stop and a start.
#include "host/resident/FaultRestarts.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using Verdict = FaultRestarts::Verdict;

FaultRestarts::Clock::time_point At(std::chrono::seconds time) {
    return FaultRestarts::Clock::time_point(100h + time);
}

TEST(FaultRestarts, TheFirstFaultIsFollowedAtOnceByOne) {
    FaultRestarts restarts;
    EXPECT_FALSE(restarts.IsDue(At(0s)));
    EXPECT_EQ(Verdict::Restarts, restarts.Fault(At(0s)));
    EXPECT_TRUE(restarts.IsDue(At(0s)));
    EXPECT_FALSE(restarts.IsDue(At(1h)));
}

TEST(FaultRestarts, NotMoreOftenThanOnceAMinuteAndThreeInARow) {
    FaultRestarts restarts;
    restarts.Fault(At(0s));
    EXPECT_TRUE(restarts.IsDue(At(0s)));
    EXPECT_EQ(Verdict::Restarts, restarts.Fault(At(10s)));
    EXPECT_FALSE(restarts.IsDue(At(59s)));
    EXPECT_TRUE(restarts.IsDue(At(60s)));
    EXPECT_EQ(Verdict::Restarts, restarts.Fault(At(65s)));
    EXPECT_TRUE(restarts.IsDue(At(120s)));
    EXPECT_EQ(Verdict::GivesUp, restarts.Fault(At(125s)));
    EXPECT_FALSE(restarts.IsDue(At(1h)));
}

TEST(FaultRestarts, ABladeThatRanLongBeginsANewRow) {
    FaultRestarts restarts;
    for (const auto time : {0s, 60s, 120s}) {
        restarts.Fault(At(time));
        ASSERT_TRUE(restarts.IsDue(At(time)));
    }
    EXPECT_EQ(Verdict::Restarts, restarts.Fault(At(120s + 10min)));
}

TEST(FaultRestarts, AnOrderBeginsANewRowAndDropsWhatWasWanted) {
    FaultRestarts restarts;
    restarts.Fault(At(0s));
    restarts.Ordered();
    EXPECT_FALSE(restarts.IsDue(At(0s)));
    for (const auto time : {0s, 60s, 120s}) {
        EXPECT_EQ(Verdict::Restarts, restarts.Fault(At(time)));
        EXPECT_TRUE(restarts.IsDue(At(time)));
    }
}

} // namespace
