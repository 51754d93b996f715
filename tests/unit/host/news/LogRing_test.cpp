// The last lines of the log.
#include "host/news/LogRing.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(LogRing, GivesTheLastLinesOldestFirst) {
    LogRing ring;
    ring.Add(WallTime{}, 3, "IPMI", "first");
    ring.Add(WallTime(std::chrono::milliseconds(5)), 6, "bmhost", "second");
    ASSERT_EQ(2U, ring.Last(10).size());
    EXPECT_EQ(R"({"time":"1970-01-01T00:00:00.005Z","level":6,"component":"bmhost","text":"second"})",
              ring.Last(1).front().dump());
    EXPECT_TRUE(ring.Last(0).empty());
}

TEST(LogRing, StaysWithinItsLinesAndBytes) {
    LogRing ring;
    for (std::size_t i = 0; i < LogRing::Most + 5; ++i)
        ring.Add(WallTime{}, 3, "c", std::to_string(i));
    EXPECT_EQ(LogRing::Most, ring.Last(LogRing::Most * 2).size());
    EXPECT_EQ("5", ring.Last(LogRing::Most).front()["text"]);
    for (std::size_t i = 0; i < LogRing::Most; ++i)
        ring.Add(WallTime{}, 3, "c", std::string(5000, 'x'));
    const auto lines = ring.Last(LogRing::Most);
    EXPECT_LE(lines.size(), LogRing::MostBytesOfAll / LogRing::MostBytes);
    EXPECT_EQ(std::string(LogRing::MostBytes, 'x') + " …", lines.back()["text"]);
}

TEST(LogRing, EveryByteBecomesJson) {
    LogRing ring;
    ring.Add(WallTime{}, 3, "c\xFF", "na\xEFve");
    ring.Add(WallTime{}, 3, "c", "naïve");
    const auto lines = ring.Last(2);
    EXPECT_EQ("cÿ", lines[0]["component"]);
    EXPECT_EQ("naïve", lines[0]["text"]);
    EXPECT_EQ("naïve", lines[1]["text"]);
    EXPECT_NO_THROW((void)lines[0].dump());
}

} // namespace
