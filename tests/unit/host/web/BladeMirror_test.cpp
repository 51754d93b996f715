// What the web door knows of a blade: pictures after news, the host's end and its return.
#include "host/web/BladeMirror.h"

#include "ScriptedBlade.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr MirrorTimes FastTimes{1ms, 20ms, 30s, 1ms};
// Without news nobody asks for a picture.
constexpr MirrorTimes OnlyAfterNews{1ms, 1h, 30s, 1ms};

/// A mirror, and a way to wait for what it shows.
class Watched {
public:
    Watched(const HostPlace& place, const MirrorTimes& times) : m_mirror(place, times) {
        m_mirror.OnNews([this] {
            const std::lock_guard lock(m_guard);
            m_changed.notify_all();
        });
    }
    ~Watched() { m_mirror.OnNews(nullptr); }
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;

    BladeMirror& Mirror() { return m_mirror; }
    /// False after half a minute.
    template <typename Condition>
    bool Comes(Condition condition) {
        std::unique_lock lock(m_guard);
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition()) {
            // A change without news is looked for now and then.
            m_changed.wait_for(lock, 10ms);
            if (std::chrono::steady_clock::now() > end) return false;
        }
        return true;
    }
    bool ComesToReach(bool reachable) {
        return Comes([=, this] { return m_mirror.Now().m_reachable == reachable; });
    }
    /// "1 host, 2 health".
    std::string NewsText() const {
        std::string text;
        for (const News& news : m_mirror.NewsAfter(0))
            text += (text.empty() ? "" : ", ") + std::to_string(news.m_id) + " " + news.m_kind;
        return text;
    }

private:
    std::mutex m_guard;
    std::condition_variable m_changed;
    BladeMirror m_mirror;
};

Picture PictureWith(uint64_t revision) {
    Picture picture;
    picture.m_revision = revision;
    return picture;
}

TEST(BladeMirror, ShowsThePictureOfAHostThatIsThere) {
    ScriptedBlade blade;
    blade.Show(PictureWith(7));
    Watched watched(blade.Place(), OnlyAfterNews);
    ASSERT_TRUE(watched.ComesToReach(true));
    EXPECT_EQ(watched.Mirror().Now().m_picture->m_revision, 7U);
    EXPECT_EQ(watched.Mirror().Now().m_reason, "");
}

TEST(BladeMirror, SaysWhyThereIsNoHost) {
    const HostRunFolder folder;
    Watched watched({folder.Path()}, FastTimes);
    ASSERT_TRUE(watched.Comes([&] {
        return watched.Mirror().Now().m_reason ==
               "no resident host has the blade: nobody answers at " + folder.Path() + "/bmhost.sock";
    }));
    EXPECT_FALSE(watched.Mirror().Now().m_reachable);
    EXPECT_EQ(watched.Mirror().Now().m_picture, nullptr);
    EXPECT_NE(watched.Mirror().Now().m_since, WallTime());
}

TEST(BladeMirror, WhoHearsOfAPictureFindsIt) {
    ScriptedBlade blade;
    Watched watched(blade.Place(), OnlyAfterNews);
    ASSERT_TRUE(watched.ComesToReach(true));
    for (uint64_t revision = 1; revision <= 50; ++revision) {
        blade.Show(PictureWith(revision));
        blade.Tell("picture", std::to_string(revision));
        ASSERT_TRUE(watched.Comes([&] { return watched.Mirror().NewsAfter(revision).size() == 1; })) << revision;
        EXPECT_EQ(watched.Mirror().NewsAfter(revision).at(0).m_data, std::to_string(revision));
        EXPECT_EQ(watched.Mirror().Now().m_picture->m_revision, revision);
    }
}

TEST(BladeMirror, WhileSomebodyLooksReadingsWithoutNewsAreSeenSoon) {
    ScriptedBlade blade;
    constexpr MirrorTimes times{1ms, 1h, 30s, 1ms, 1ms, 1ms, 1h};
    Watched watched(blade.Place(), times);
    ASSERT_TRUE(watched.ComesToReach(true));
    // The host is asked again and again for its counts, and not for a picture.
    ASSERT_TRUE(blade.Awaits("GET /v1/statistics ", 20));
    EXPECT_EQ(blade.Requests("GET /v1/blade ").size(), 1U);
    blade.Show(PictureWith(7));
    watched.Mirror().Look();
    ASSERT_TRUE(watched.Comes([&] { return watched.Mirror().Now().m_picture->m_revision == 7; }));
    blade.Show(PictureWith(8));
    ASSERT_TRUE(watched.Comes([&] { return watched.Mirror().Now().m_picture->m_revision == 8; }));
}

TEST(BladeMirror, WhoHasLookedIsForgotten) {
    ScriptedBlade blade;
    constexpr MirrorTimes times{1ms, 1h, 30s, 1ms, 1ms, 1ms, 0ms};
    Watched watched(blade.Place(), times);
    ASSERT_TRUE(watched.ComesToReach(true));
    watched.Mirror().Look();
    ASSERT_TRUE(blade.Awaits("GET /v1/statistics ", 20));
    EXPECT_EQ(blade.Requests("GET /v1/blade ").size(), 1U);
}

TEST(BladeMirror, NewsKeepTheirOrderAndManyPicturesCostOne) {
    ScriptedBlade blade;
    constexpr MirrorTimes slow{200ms, 1h, 30s, 1ms};
    Watched watched(blade.Place(), slow);
    ASSERT_TRUE(watched.ComesToReach(true));
    ASSERT_TRUE(blade.Awaits("GET /v1/events ", 1));
    for (int i = 0; i < 100; ++i) {
        blade.Tell("picture", "{}");
        blade.Tell("health", std::to_string(i));
    }
    ASSERT_TRUE(watched.Comes([&] { return watched.Mirror().Now().m_lastNews == 201; }));
    const auto news = watched.Mirror().NewsAfter(1);
    ASSERT_EQ(news.size(), 200U);
    for (std::size_t i = 0; i < 100; ++i) {
        EXPECT_EQ(news[2 * i].m_kind, "picture");
        EXPECT_EQ(news[2 * i + 1].m_data, std::to_string(i));
    }
    EXPECT_LT(blade.Requests("GET /v1/blade ").size(), 50U);
}

/// A place at which one host follows the other.
class Succession {
public:
    void Enthrone(const ScriptedBlade& blade) const {
        std::filesystem::remove(Place().Socket());
        std::filesystem::create_symlink(blade.Place().Socket(), Place().Socket());
    }
    HostPlace Place() const { return {m_folder.Path()}; }

private:
    HostRunFolder m_folder;
};

TEST(BladeMirror, AHostThatGoesAndItsSuccessorAreToldOf) {
    const Succession succession;
    ScriptedBlade first;
    first.Tell("health", "1");
    first.Tell("health", "2");
    succession.Enthrone(first);
    Watched watched(succession.Place(), FastTimes);
    ASSERT_TRUE(watched.Comes([&] { return watched.Mirror().Now().m_lastNews == 3; }));
    first.Die();
    ASSERT_TRUE(watched.ComesToReach(false));
    EXPECT_THAT(watched.Mirror().Now().m_reason, HasSubstr("/bmhost.sock"));
    EXPECT_NE(watched.Mirror().Now().m_picture, nullptr) << "what was heard last stays";
    ScriptedBlade second;
    second.Show(PictureWith(2));
    second.Tell("call", "3");
    succession.Enthrone(second);
    ASSERT_TRUE(watched.ComesToReach(true));
    EXPECT_EQ(watched.Mirror().Now().m_picture->m_revision, 2U);
    ASSERT_TRUE(watched.Comes([&] { return watched.Mirror().Now().m_lastNews == 6; })) << watched.NewsText();
    EXPECT_EQ(watched.NewsText(), "1 host, 2 health, 3 health, 4 host, 5 host, 6 call");
}

TEST(BladeMirror, AHostThatAnswersNoPictureIsNotReachable) {
    ScriptedBlade blade;
    Watched watched(blade.Place(), FastTimes);
    ASSERT_TRUE(watched.ComesToReach(true));
    blade.BeIll(true);
    ASSERT_TRUE(watched.ComesToReach(false));
    EXPECT_THAT(watched.Mirror().Now().m_reason, HasSubstr("ill"));
    blade.BeIll(false);
    EXPECT_TRUE(watched.ComesToReach(true));
}

TEST(BladeMirror, HasTheCountsOfAHostThatAnswersAndCounts) {
    ScriptedBlade blade;
    Watched watched(blade.Place(), {1ms, 20ms, 30s, 1ms, 1ms});
    ASSERT_TRUE(blade.Awaits("GET /v1/statistics ", 2));
    EXPECT_EQ(watched.Mirror().Counts(), nullptr) << "this host does not count";
    Statistics counts;
    counts.m_restarts = 7;
    blade.Count(counts);
    ASSERT_TRUE(watched.Comes([&] { return watched.Mirror().Counts() != nullptr; }));
    EXPECT_EQ(watched.Mirror().Counts()->m_restarts, 7U);
    blade.BeIll(true);
    ASSERT_TRUE(watched.ComesToReach(false));
    EXPECT_EQ(watched.Mirror().Counts(), nullptr);
}

TEST(BladeMirror, ANewPictureCanBeWaitedFor) {
    ScriptedBlade blade;
    Watched watched(blade.Place(), OnlyAfterNews);
    ASSERT_TRUE(watched.ComesToReach(true));
    for (uint64_t revision = 7; revision < 20; ++revision) {
        blade.Show(PictureWith(revision));
        ASSERT_TRUE(watched.Mirror().Renew(30s));
        EXPECT_EQ(watched.Mirror().Now().m_picture->m_revision, revision);
    }
    blade.BeIll(true);
    EXPECT_FALSE(watched.Mirror().Renew(1ms));
}

TEST(BladeMirror, EventsThatTheHostDidNotKeepAreAGapOfItsOwnIds) {
    ScriptedBlade blade;
    Watched watched(blade.Place(), OnlyAfterNews);
    ASSERT_TRUE(watched.ComesToReach(true));
    blade.Tell("lost", R"({"after":400,"first":900})");
    ASSERT_TRUE(watched.Comes([&] { return watched.Mirror().Now().m_lastNews == 2; }));
    EXPECT_EQ(watched.Mirror().NewsAfter(1).at(0).m_data, R"({"after":1,"first":3})");
}

} // namespace
