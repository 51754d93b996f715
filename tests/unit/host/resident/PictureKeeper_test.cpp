// The picture of the blade as the resident host keeps it.
#include "host/resident/PictureKeeper.h"

#include "host/resident/Lane.h"
#include "host/resident/Latch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace bmhost;

class PictureKeeperTest : public testing::Test {
protected:
    NewsRing m_news;
    PictureKeeper m_keeper{m_news};
};

TEST_F(PictureKeeperTest, AChangeMakesANewPictureAndLeavesTheOldOne) {
    const auto before = m_keeper.Now();
    m_keeper.Change({"controller"}, [](Picture& picture) {
        picture.m_controller.m_state = Controller::State::Answers;
        return true;
    });
    EXPECT_EQ(Controller::State::Unknown, before->m_controller.m_state);
    EXPECT_EQ(Controller::State::Answers, m_keeper.Now()->m_controller.m_state);
    EXPECT_EQ(before->m_revision + 1, m_keeper.Now()->m_revision);
    ASSERT_EQ(1U, m_news.After(0).size());
    EXPECT_EQ("picture", m_news.After(0).front().m_kind);
    EXPECT_EQ(R"({"revision":2,"parts":["controller"]})", m_news.After(0).front().m_data);
}

TEST_F(PictureKeeperTest, WhatChangesNothingIsNoNews) {
    const auto before = m_keeper.Now();
    m_keeper.Change({"leds"}, [](Picture&) { return false; });
    EXPECT_EQ(before, m_keeper.Now());
    m_keeper.Change({}, [](Picture&) { return true; });
    EXPECT_NE(before, m_keeper.Now());
    EXPECT_TRUE(m_news.After(0).empty());
}

TEST_F(PictureKeeperTest, WhatIsWrongStandsInEachPictureAndIsNewsWhenItDiffers) {
    const auto lose = [](Picture& picture) {
        picture.m_controller.m_state = Controller::State::Lost;
        return true;
    };
    m_keeper.Change({"controller"}, lose);
    ASSERT_EQ(1U, m_keeper.Now()->m_faults.size());
    EXPECT_EQ(R"({"revision":2,"parts":["controller","faults"]})", m_news.After(0).back().m_data);
    m_keeper.Change({"controller"}, lose);
    EXPECT_EQ(R"({"revision":3,"parts":["controller"]})", m_news.After(0).back().m_data);
    m_keeper.Change({}, [](Picture& picture) {
        picture.m_controller.m_state = Controller::State::Answers;
        return true;
    });
    EXPECT_TRUE(m_keeper.Now()->m_faults.empty());
    EXPECT_EQ(R"({"revision":4,"parts":["faults"]})", m_news.After(0).back().m_data);
}

TEST_F(PictureKeeperTest, WhatGrowsOldIsAFaultWithoutAChange) {
    constexpr std::chrono::seconds young(59); // a call may take a minute
    m_keeper.Called({"read 0x300", WallNow() - young, ""}, false);
    const uint64_t before = m_keeper.Now()->m_revision;
    EXPECT_TRUE(Comes([&] {
        m_keeper.LookForFaults();
        return !m_keeper.Now()->m_faults.empty();
    }));
    EXPECT_EQ(before + 1, m_keeper.Now()->m_revision);
    m_keeper.LookForFaults();
    ASSERT_EQ(1U, m_news.After(0).size());
    EXPECT_NE(std::string::npos, m_news.After(0).back().m_data.find(R"("parts":["faults"])"));
}

// Clocks that the test sets.
struct SetClocks {
    PictureKeeper::Clocks Both() {
        return {[this] { return m_wall; }, [this] { return m_steady; }};
    }
    void Pass(std::chrono::milliseconds time) {
        m_wall += time;
        m_steady += time;
    }
    WallTime m_wall = WallNow();
    std::chrono::steady_clock::time_point m_steady = std::chrono::steady_clock::now();
};

// What is wrong after 10 s with a LED and a call that began then, when the clock is set meanwhile; and after 100 s
// more.
class SetClockTest : public testing::TestWithParam<int> {
protected:
    NewsRing m_news;
    SetClocks m_clocks;
    PictureKeeper m_keeper{m_news, m_clocks.Both()};
};

TEST_P(SetClockTest, NothingGrowsOldOrStaysYoungByIt) {
    using namespace std::chrono_literals;
    m_keeper.Change({}, [&](Picture& picture) {
        picture.m_host.m_resident = true;
        picture.m_host.m_start = CallOutcome{"start", 1, m_clocks.m_wall - 1s, {}};
        picture.m_leds.push_back({0, 1, 1, BM_ADAPTOR::CBMIParams(), m_clocks.m_wall});
        return true;
    });
    m_keeper.Called({"read 0x300", m_clocks.m_wall, ""}, false);
    m_clocks.Pass(10s);
    m_clocks.m_wall += std::chrono::hours(GetParam());
    m_keeper.Change({}, [](Picture&) { return false; });
    m_keeper.LookForFaults();
    auto picture = m_keeper.Now();
    EXPECT_TRUE(picture->m_faults.empty()) << picture->m_faults.front().m_what;
    EXPECT_EQ(m_clocks.m_wall - 10s, picture->m_leds.front().m_read);
    EXPECT_EQ(m_clocks.m_wall - 10s, picture->m_calls.front().m_since);
    EXPECT_EQ(m_clocks.m_wall - 11s, picture->m_host.m_start->m_time);

    m_clocks.Pass(100s);
    m_keeper.LookForFaults();
    picture = m_keeper.Now();
    ASSERT_EQ(1U, picture->m_faults.size()); // the LED's reading is not missed while a call has the blade
    EXPECT_NE(std::string::npos, picture->m_faults.front().m_what.find("read 0x300"));
}

INSTANTIATE_TEST_SUITE_P(ADay, SetClockTest, testing::Values(0, 24, -24));

TEST_F(PictureKeeperTest, ACallStandsThereUntilItReturns) {
    const uint64_t first = m_keeper.Called({"init", WallNow(), ""}, true);
    const uint64_t second = m_keeper.Called({"read 0x300", WallNow(), "uid 0, process 5"}, false);
    ASSERT_EQ(2U, m_keeper.Now()->m_calls.size());
    m_keeper.Returned(first, true);
    ASSERT_EQ(1U, m_keeper.Now()->m_calls.size());
    EXPECT_EQ("read 0x300", m_keeper.Now()->m_calls.front().m_operation);
    m_keeper.Returned(first, true);
    m_keeper.Returned(second, false);
    EXPECT_TRUE(m_keeper.Now()->m_calls.empty());
    EXPECT_EQ(2U, m_news.After(0).size()) << "a raw call is no news";
}

TEST_F(PictureKeeperTest, ACallThatWaitsNamesWhatIsInFrontOfItOnItsLane) {
    const Lane lane(0, 0);
    const Lane other(0, 0);
    const WallTime asked = WallNow() - std::chrono::seconds(5);
    const auto waits = [this] { return m_keeper.Now()->m_calls.back().m_waitsFor; };
    m_keeper.Called({"table 0x300", asked, ""}, false, &other);
    m_keeper.Meanwhile(lane, "reading LED 2 of AMC bay 3");
    const uint64_t first = m_keeper.Called({"read 0x100", asked, "", true}, false, &lane);
    const uint64_t second = m_keeper.Called({"read 0x200", asked, "", true}, false, &lane);
    EXPECT_TRUE(waits().starts_with("reading LED 2 of AMC bay 3 since 20")) << waits();
    m_keeper.Meanwhile(lane, "");
    EXPECT_EQ("", waits());
    m_keeper.Began(first, false);
    const CallInProgress begun = m_keeper.Now()->m_calls[1];
    EXPECT_FALSE(begun.m_waiting);
    EXPECT_GT(begun.m_since, asked);
    EXPECT_EQ("`read 0x100` since " + Rfc3339(begun.m_since), waits());
    EXPECT_EQ(asked, m_keeper.Now()->m_calls.back().m_since);
    m_keeper.Returned(first, false);
    m_keeper.Began(second, false);
    EXPECT_EQ("", waits());
    EXPECT_FALSE(m_keeper.Now()->m_calls.back().m_waiting);
}

TEST_F(PictureKeeperTest, NoChangeOfManyIsLost) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int j = 0; j < 100; ++j)
                m_keeper.Returned(m_keeper.Called({"read", {}, ""}, false), false);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(801U, m_keeper.Now()->m_revision);
    EXPECT_TRUE(m_keeper.Now()->m_calls.empty());
}

} // namespace
