// The notice of an end that bmhost did not intend.
#include "host/session/EndNotice.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <unistd.h>

namespace {

using namespace bmhost;
using testing::ExitedWithCode;

constexpr std::chrono::hours Never(1);

class EndNoticeDeathTest : public testing::Test {
protected:
    EndNoticeDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

TEST_F(EndNoticeDeathTest, NamesTheCallThatEndedTheProcess) {
    EXPECT_EXIT(
        {
            ArmEndNotice(Never);
            const CallUnderWay call("table 0x300");
            exit(1);
        },
        ExitedWithCode(1), "^bmhost: the adaptor ended the process during `table 0x300` \\(exit status 1\\)\n$");
}

TEST_F(EndNoticeDeathTest, SaysWhenNoCallWasUnderWay) {
    EXPECT_EXIT(
        {
            ArmEndNotice(Never);
            { const CallUnderWay call("init"); }
            exit(7);
        },
        ExitedWithCode(7), "^bmhost: the adaptor ended the process between two calls \\(exit status 7\\)\n$");
}

TEST_F(EndNoticeDeathTest, IsSilentWhenBmhostEndsByItself) {
    EXPECT_EXIT(
        {
            ArmEndNotice(Never);
            DisarmEndNotice();
            exit(2);
        },
        ExitedWithCode(2), "^$");
}

TEST_F(EndNoticeDeathTest, TimeThatIsUpEndsTheProcess) {
    constexpr std::chrono::milliseconds limit(20);
    EXPECT_EXIT(
        {
            ArmEndNotice(Never, limit);
            const CallUnderWay call("table 0x300");
            for (;;)
                pause();
        },
        ExitedWithCode(5),
        "^bmhost: the time is up \\(0.02 s\\): waiting for the adaptor's `table 0x300` since 20[0-9T:.-]*Z\n$");
    EXPECT_EXIT(
        {
            ArmEndNotice(Never, limit);
            { const CallUnderWay call("init"); }
            for (;;)
                pause();
        },
        ExitedWithCode(5), "^bmhost: the time is up \\(0.02 s\\): between two calls\n$");
}

TEST_F(EndNoticeDeathTest, TimeIsNotUpOnceBmhostEndsByItself) {
    constexpr std::chrono::milliseconds limit(200);
    constexpr std::chrono::milliseconds longer(400);
    EXPECT_EXIT(
        {
            ArmEndNotice(Never, limit);
            DisarmEndNotice();
            std::mutex never;
            // cppcheck-suppress localMutex ; nobody else needs it: the wait below wants one
            std::unique_lock lock(never);
            std::condition_variable().wait_for(lock, longer);
            exit(2);
        },
        ExitedWithCode(2), "^$");
}

} // namespace
