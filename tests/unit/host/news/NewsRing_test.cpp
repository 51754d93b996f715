// What has happened, for readers that come back.
#include "host/news/NewsRing.h"

#include "host/resident/Latch.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace bmhost;

TEST(NewsRing, CountsFromOneAndGivesWhatCameAfter) {
    NewsRing ring;
    EXPECT_TRUE(ring.After(0).empty());
    ring.Add("health", "{}");
    ring.Add("event", "[]");
    ASSERT_EQ(2U, ring.After(0).size());
    EXPECT_EQ(1U, ring.After(0).front().m_id);
    ASSERT_EQ(1U, ring.After(1).size());
    EXPECT_EQ(2U, ring.After(1).front().m_id);
    EXPECT_EQ("event", ring.After(1).front().m_kind);
    EXPECT_EQ("[]", ring.After(1).front().m_data);
    EXPECT_TRUE(ring.After(2).empty());
    EXPECT_TRUE(ring.After(77).empty());
}

TEST(NewsRing, KeepsTheLastThousand) {
    NewsRing ring;
    for (int i = 0; i < 1500; ++i)
        ring.Add("event", std::to_string(i));
    const auto kept = ring.After(0);
    ASSERT_EQ(1000U, kept.size());
    EXPECT_EQ(501U, kept.front().m_id);
    EXPECT_EQ(1500U, kept.back().m_id);
    EXPECT_EQ(1000U, ring.After(1500 - 1000).size());
    EXPECT_EQ(1U, ring.After(1499).size());
}

TEST(NewsRing, ListenerMayReadAndIsNotCalledAnyMoreOnceItIsTakenAway) {
    NewsRing ring;
    std::size_t seen = 0;
    ring.OnNews([&] { seen = ring.After(0).size(); });
    ring.Add("event", "1");
    EXPECT_EQ(1U, seen);
    Latch called;
    Latch go;
    bool over = false;
    ring.OnNews([&] {
        called.Open();
        go.Wait();
        EXPECT_FALSE(over);
    });
    std::thread teller([&] { ring.Add("event", "2"); });
    called.Wait();
    std::thread taker([&] {
        ring.OnNews(nullptr);
        over = true;
    });
    go.Open();
    taker.join();
    teller.join();
    ring.Add("event", "3");
    EXPECT_TRUE(over);
}

} // namespace
