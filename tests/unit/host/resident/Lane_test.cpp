// Threads that make calls which must not hold up others.
#include "host/resident/Lane.h"

#include "host/resident/Latch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <new>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

using namespace bmhost;
using std::chrono::milliseconds;

TEST(Lane, WorksInTheOrderInWhichItWasGiven) {
    std::vector<int> done;
    Latch last;
    Lane lane(1, 10);
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(lane.Give([&done, i] { done.push_back(i); }));
    ASSERT_TRUE(lane.Give([&] { last.Open(); }));
    last.Wait();
    EXPECT_EQ((std::vector{0, 1, 2}), done);
}

#ifndef BM_SANITIZED // a sanitizer takes more of the address space than there is
TEST(LaneDeathTest, EndsTheThreadsThatItHasWhenThereIsNoOther) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto start = [] {
        const rlimit little = {1U << 28U, 1U << 28U};
        setrlimit(RLIMIT_AS, &little);
        try {
            const Lane lane(1000, 10);
        } catch (const std::system_error& error) {
            _exit(error.code().value());
        }
        _exit(0);
    };
    EXPECT_EXIT(start(), testing::ExitedWithCode(EAGAIN), "");
}
#endif

TEST(Lane, SeveralThreadsDoNotWaitForEachOther) {
    Latch second;
    Latch first;
    Lane lane(2, 10);
    ASSERT_TRUE(lane.Give([&] {
        second.Wait();
        first.Open();
    }));
    ASSERT_TRUE(lane.Give([&] { second.Open(); }));
    first.Wait();
}

TEST(Lane, RefusesWhatIsTooMuch) {
    Latch begun;
    Latch go;
    Lane lane(1, 2);
    ASSERT_TRUE(lane.Give([&] {
        begun.Open();
        go.Wait();
    }));
    begun.Wait(); // what is under way does not count
    EXPECT_TRUE(lane.Give([] {}));
    EXPECT_TRUE(lane.Give([] {}));
    EXPECT_FALSE(lane.Give([] {}));
    go.Open();
}

TEST(Lane, DropsWhatWaitsAtItsEndAndTakesNothingMore) {
    Latch begun;
    Latch go;
    std::atomic<bool> dropped = true;
    Lane lane(1, 10);
    lane.Give([&] {
        begun.Open();
        go.Wait();
    });
    const auto owned = std::make_shared<int>(1);
    lane.Give([&dropped, owned] { dropped = false; });
    begun.Wait();
    EXPECT_FALSE(lane.End(milliseconds(1))) << "a call has not come back";
    EXPECT_EQ(1, owned.use_count());
    EXPECT_FALSE(lane.Give([] {}));
    go.Open();
    EXPECT_TRUE(lane.End(std::chrono::seconds(30)));
    EXPECT_TRUE(dropped);
}

TEST(Lane, IdlesWhenItsTimeHasComeAndOnlyThen) {
    std::atomic<int> calls = 0;
    Latch second;
    Latch worked;
    Lane lane(1, 10, [&] {
        if (++calls == 2) second.Open();
        return Lane::Clock::time_point::max();
    });
    ASSERT_TRUE(Comes([&] { return calls == 1; }));
    lane.Give([&] { worked.Open(); });
    worked.Wait();
    EXPECT_EQ(1, calls) << "work is no reason";
    lane.Wake();
    second.Wait();
}

TEST(Lane, IdlesAgainAfterItHadNoMemoryForIt) {
    Latch second;
    int calls = 0;
    Lane lane(1, 10, [&] {
        if (++calls == 1) throw std::bad_alloc();
        second.Open();
        return Lane::Clock::time_point::max();
    });
    second.Wait();
}

TEST(Lane, AWakeDuringTheIdleWorkIsNotLost) {
    Latch first;
    Latch woken;
    Latch second;
    std::atomic<int> calls = 0;
    Lane lane(1, 10, [&] {
        if (++calls == 1) {
            first.Open();
            woken.Wait();
        } else {
            second.Open();
        }
        return Lane::Clock::time_point::max();
    });
    first.Wait();
    lane.Wake();
    woken.Open();
    second.Wait();
}

TEST(Lane, WorkGoesBeforeTheNextIdleWork) {
    Latch begun;
    Latch given;
    std::vector<char> order;
    Latch end;
    Lane lane(1, 10, [&] {
        if (order.empty()) {
            begun.Open();
            given.Wait();
        }
        order.push_back('i');
        if (order.size() > 2) end.Open();
        return order.size() > 2 ? Lane::Clock::time_point::max() : Lane::Clock::time_point{};
    });
    begun.Wait();
    lane.Give([&] { order.push_back('w'); });
    given.Open();
    end.Wait();
    EXPECT_EQ((std::vector{'i', 'w', 'i'}), order);
}

} // namespace
