// Threads with a stack of our own size.
#include "bm_dev/Thread.h"

#include "platform/bm_dev/StackSize.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/resource.h>
#include <system_error>
#include <utility>

namespace {

using bm_dev::Thread;

TEST(OwnThread, HasAStackOfOurSize) {
    std::size_t size = 0;
    Thread thread([&] { size = StackSizeHere(); });
    thread.Join();
    ExpectOurStackSize(size);
}

TEST(OwnThread, MovesAndIsJoinedOnce) {
    int runs = 0;
    Thread first([&] { ++runs; });
    Thread second(std::move(first));
    EXPECT_FALSE(first.IsJoinable()); // NOLINT(bugprone-use-after-move): what is left of it
    first = std::move(second);
    EXPECT_TRUE(first.IsJoinable());
    first.Join();
    EXPECT_FALSE(first.IsJoinable());
    EXPECT_EQ(1, runs);
}

TEST(OwnThread, IsNotJoinableWhenItIsDetached) {
    Thread thread([] {});
    thread.Detach();
    EXPECT_FALSE(thread.IsJoinable());
}

TEST(OwnThreadDeathTest, MustBeJoinedOrDetached) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(Thread([] {}), "terminate");
    EXPECT_DEATH(Thread([] { throw 1; }).Join(), "terminate");
}

#ifndef BM_SANITIZED // a sanitizer takes more of the address space than there is
TEST(OwnThreadDeathTest, SaysThatThereIsNone) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto start = [] {
        const rlimit none = {1, 1};
        setrlimit(RLIMIT_AS, &none);
        try {
            Thread([] {}).Join();
        } catch (const std::system_error& error) {
            _exit(error.code().value());
        }
        _exit(0);
    };
    EXPECT_EXIT(start(), testing::ExitedWithCode(EAGAIN), "");
}
#endif

} // namespace
