// Threads: their lives, and what leaves their bodies.
#include "bm/OSAL.h"

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

class BODY final : public OSAL::OSALThread {
public:
    explicit BODY(std::function<void(BODY&)> a_Body) : m_Body(std::move(a_Body)) {}
    void run() override { m_Body(*this); }

private:
    std::function<void(BODY&)> m_Body;
};

TEST(Thread, RunsItsBodyOnAThreadOfItsOwn) {
    std::thread::id l_Id;
    BODY l_Thread([&](BODY&) { l_Id = std::this_thread::get_id(); });
    EXPECT_EQ(0, l_Thread.Start());
    EXPECT_EQ(0, l_Thread.Join());
    EXPECT_NE(std::thread::id(), l_Id);
    EXPECT_NE(std::this_thread::get_id(), l_Id);
}

TEST(Thread, CannotBeStartedTwiceBeforeItIsJoined) {
    int l_Runs = 0;
    BODY l_Thread([&](BODY&) { ++l_Runs; });
    EXPECT_EQ(0, l_Thread.Start());
    EXPECT_EQ(EBUSY, l_Thread.Start());
    EXPECT_EQ(0, l_Thread.Join());
    EXPECT_EQ(1, l_Runs);
}

TEST(Thread, CanBeStartedAgainAfterItWasJoined) {
    int l_Runs = 0;
    BODY l_Thread([&](BODY&) { ++l_Runs; });
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0, l_Thread.Start());
        EXPECT_EQ(0, l_Thread.Join());
    }
    EXPECT_EQ(3, l_Runs);
}

TEST(Thread, JoinWithoutStartHasNothingToJoin) {
    BODY l_Thread([](BODY&) {});
    EXPECT_EQ(ESRCH, l_Thread.Join());
}

TEST(Thread, SecondJoinHasNothingToJoin) {
    BODY l_Thread([](BODY&) {});
    l_Thread.Start();
    EXPECT_EQ(0, l_Thread.Join());
    EXPECT_EQ(ESRCH, l_Thread.Join());
}

// At once, too, while Start is still on its way back: hence the rounds.
TEST(Thread, CannotJoinOrStartItself) {
    for (int i = 0; i < 500; ++i) {
        int l_Joined = 0;
        int l_Started = 0;
        BODY l_Thread([&](BODY& a_Self) {
            l_Joined = a_Self.Join();
            l_Started = a_Self.Start();
        });
        EXPECT_EQ(0, l_Thread.Start());
        EXPECT_EQ(0, l_Thread.Join());
        ASSERT_EQ(EDEADLK, l_Joined);
        ASSERT_EQ(EBUSY, l_Started);
    }
}

TEST(Thread, ObjectMayGoWithoutAJoinOnceItsBodyHasEnded) {
    std::binary_semaphore l_Ended(0);
    bool l_Ran = false;
    {
        BODY l_Thread([&](BODY&) {
            l_Ran = true;
            l_Ended.release();
        });
        EXPECT_EQ(0, l_Thread.Start());
        l_Ended.acquire();
    }
    EXPECT_TRUE(l_Ran);
}

TEST(Thread, ObjectMayGoWithoutAStart) {
    bool l_Ran = false;
    {
        const BODY l_Thread([&](BODY&) { l_Ran = true; });
    }
    EXPECT_FALSE(l_Ran);
}

TEST(Thread, ExceptionOutOfItsBodyIsLoggedAndSwallowed) {
    LOG_FILE l_Log;
    BODY l_Thread([](BODY&) { throw std::runtime_error("no more FRUs"); });
    EXPECT_EQ(0, l_Thread.Start());
    EXPECT_EQ(0, l_Thread.Join());
    EXPECT_THAT(l_Log.Lines(), ElementsAre(EndsWith(" <3> [OSAL] a thread ended by an exception: no more FRUs")));
}

TEST(Thread, ExceptionOfAnyTypeIsLoggedAndSwallowed) {
    LOG_FILE l_Log;
    BODY l_Thread([](BODY&) { throw 5; });
    EXPECT_EQ(0, l_Thread.Start());
    EXPECT_EQ(0, l_Thread.Join());
    EXPECT_THAT(l_Log.Lines(), ElementsAre(EndsWith(" <3> [OSAL] a thread ended by an exception of an unknown type")));
}

} // namespace
