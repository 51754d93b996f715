// Points in time as texts, and back.
#include "host/output/Time.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using namespace std::chrono;

WallTime Counted(int64_t count) {
    return WallTime(milliseconds(count));
}

TEST(Time, IsUtcWithMilliseconds) {
    EXPECT_EQ("1970-01-01T00:00:00.000Z", Rfc3339(WallTime{}));
    EXPECT_EQ("2026-11-22T09:30:00.125Z", Rfc3339(Counted(1795339800125)));
    EXPECT_EQ("2024-02-29T23:59:59.999Z", Rfc3339(Counted(1709251199999)));
    EXPECT_EQ("2106-02-07T06:28:16.001Z", Rfc3339(Counted(4294967296001))); // more seconds than 32 bits hold
    EXPECT_EQ("1969-12-31T23:59:59.999Z", Rfc3339(Counted(-1)));
}

TEST(Time, IsReadAsItIsWritten) {
    for (const int64_t count : {int64_t{0}, int64_t{-1}, int64_t{1795339800125}, int64_t{4294967296001}})
        EXPECT_EQ(Counted(count), WallTimeOf(Rfc3339(Counted(count)))) << count;
    const WallTime now = WallNow();
    EXPECT_EQ(now, WallTimeOf(Rfc3339(now)));
}

TEST(Time, ThatIsWrittenOtherwiseIsNone) {
    for (const char* const text : {"", "2026-11-22", "2026-11-22T09:30:00Z", "2026-11-22T09:30:00.125",
                                   "2026-11-22 09:30:00.125Z", "2026-11-22T09:30:00.125+00", "2026-13-22T09:30:00.125Z",
                                   "2026-02-30T09:30:00.125Z", "2026-11-22T24:30:00.125Z", "2026-11-22T09:60:00.125Z",
                                   "2026-11-22T09:30:60.125Z", "2026-11-22T09:30:0x.125Z", "2026-11-22T09:30:00.125Z "})
        EXPECT_EQ(std::nullopt, WallTimeOf(text)) << text;
}

} // namespace
