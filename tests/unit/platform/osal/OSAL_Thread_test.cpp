// Threads: their lives, and what leaves their bodies.
#include "bm/OSAL.h"

#include "platform/bm_dev/StackSize.h"
#include "platform/log/LogFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <semaphore>
#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::EndsWith;

class Body final : public OSAL::OSALThread {
public:
    explicit Body(std::function<void(Body&)> body) : m_body(std::move(body)) {}
    void run() override { m_body(*this); }

private:
    std::function<void(Body&)> m_body;
};

TEST(Thread, RunsItsBodyOnAThreadOfItsOwn) {
    std::thread::id id;
    Body thread([&](Body&) { id = std::this_thread::get_id(); });
    EXPECT_EQ(0, thread.Start());
    EXPECT_EQ(0, thread.Join());
    EXPECT_NE(std::thread::id(), id);
    EXPECT_NE(std::this_thread::get_id(), id);
}

TEST(Thread, HasAStackOfOneMebibyteWhereverTheHostWasStarted) {
    std::size_t size = 0;
    Body thread([&](Body&) { size = StackSizeHere(); });
    EXPECT_EQ(0, thread.Start());
    EXPECT_EQ(0, thread.Join());
    ExpectOurStackSize(size);
}

TEST(Thread, CannotBeStartedTwiceBeforeItIsJoined) {
    int runs = 0;
    Body thread([&](Body&) { ++runs; });
    EXPECT_EQ(0, thread.Start());
    EXPECT_EQ(EBUSY, thread.Start());
    EXPECT_EQ(0, thread.Join());
    EXPECT_EQ(1, runs);
}

TEST(Thread, CanBeStartedAgainAfterItWasJoined) {
    int runs = 0;
    Body thread([&](Body&) { ++runs; });
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0, thread.Start());
        EXPECT_EQ(0, thread.Join());
    }
    EXPECT_EQ(3, runs);
}

TEST(Thread, JoinWithoutStartHasNothingToJoin) {
    Body thread([](Body&) {});
    EXPECT_EQ(ESRCH, thread.Join());
}

TEST(Thread, SecondJoinHasNothingToJoin) {
    Body thread([](Body&) {});
    thread.Start();
    EXPECT_EQ(0, thread.Join());
    EXPECT_EQ(ESRCH, thread.Join());
}

// Also while Start has not returned yet, hence the rounds.
TEST(Thread, CannotJoinOrStartItself) {
    for (int i = 0; i < 500; ++i) {
        int joined = 0;
        int started = 0;
        Body thread([&](Body& self) {
            joined = self.Join();
            started = self.Start();
        });
        EXPECT_EQ(0, thread.Start());
        EXPECT_EQ(0, thread.Join());
        ASSERT_EQ(EDEADLK, joined);
        ASSERT_EQ(EBUSY, started);
    }
}

TEST(Thread, ObjectMayGoWithoutAJoinOnceItsBodyHasEnded) {
    std::binary_semaphore ended(0);
    bool ran = false;
    {
        Body thread([&](Body&) {
            ran = true;
            ended.release();
        });
        EXPECT_EQ(0, thread.Start());
        ended.acquire();
    }
    EXPECT_TRUE(ran);
}

TEST(Thread, ObjectMayGoWithoutAStart) {
    bool ran = false;
    {
        const Body thread([&](Body&) { ran = true; });
    }
    EXPECT_FALSE(ran);
}

TEST(Thread, ExceptionOutOfItsBodyIsLoggedAndSwallowed) {
    LogFile log;
    Body thread([](Body&) { throw std::runtime_error("no more FRUs"); });
    EXPECT_EQ(0, thread.Start());
    EXPECT_EQ(0, thread.Join());
    EXPECT_THAT(log.Lines(), ElementsAre(EndsWith(" <3> [OSAL] an exception ended a thread: no more FRUs")));
}

TEST(Thread, ExceptionOfAnyTypeIsLoggedAndSwallowed) {
    LogFile log;
    Body thread([](Body&) { throw 5; });
    EXPECT_EQ(0, thread.Start());
    EXPECT_EQ(0, thread.Join());
    EXPECT_THAT(log.Lines(), ElementsAre(EndsWith(" <3> [OSAL] an exception of unknown type ended a thread")));
}

} // namespace
