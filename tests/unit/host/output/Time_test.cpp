// Points in time as texts.
#include "host/output/Time.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(Time, IsWrittenInUtcWithMilliseconds) {
    EXPECT_EQ("1970-01-01T00:00:00.000Z", Rfc3339(WallTime{}));
    EXPECT_EQ("2026-11-22T09:30:00.125Z", Rfc3339(WallTime(std::chrono::milliseconds(1795339800125))));
    EXPECT_EQ("1969-12-31T23:59:59.999Z", Rfc3339(WallTime(std::chrono::milliseconds(-1))));
}

TEST(Time, IsReadBackAsItWasWritten) {
    const WallTime now = WallNow();
    EXPECT_EQ(now, WallTimeOf(Rfc3339(now)));
}

TEST(Time, OtherTextsAreNoTime) {
    for (const char* text : {"", "2026-11-22", "2026-11-22T09:30:00Z", "2026-11-22 09:30:00.125Z",
                             "2026-11-22T09:30:00.125+", "2026-02-30T09:30:00.125Z", "2026-11-22T24:30:00.125Z",
                             "2026-11-22T09:60:00.125Z", "2026-11-22T09:30:60.125Z", "-026-11-22T09:30:00.125Z"})
        EXPECT_EQ(std::nullopt, WallTimeOf(text)) << text;
}

} // namespace
