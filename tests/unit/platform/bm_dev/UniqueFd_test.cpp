// A descriptor that closes with its owner.
#include "bm_dev/UniqueFd.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>

namespace {

using bm_dev::UniqueFd;

bool IsOpen(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

int Opened() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(UniqueFd, ClosesWithItsOwner) {
    const int number = Opened();
    {
        const UniqueFd fd(number);
        EXPECT_TRUE(fd);
        EXPECT_EQ(number, fd.Get());
        EXPECT_TRUE(IsOpen(number));
    }
    EXPECT_FALSE(IsOpen(number));
}

TEST(UniqueFd, ANegativeNumberIsNoneAndLeavesErrno) {
    errno = ENOENT;
    EXPECT_FALSE(UniqueFd(-1));
    EXPECT_EQ(ENOENT, errno);
}

TEST(UniqueFd, HasOneOwnerAfterAMove) {
    UniqueFd first(Opened());
    const int number = first.Get();
    UniqueFd second(std::move(first));
    EXPECT_EQ(number, second.Get());
    UniqueFd third;
    third = std::move(second);
    EXPECT_EQ(number, third.Get());
    EXPECT_TRUE(IsOpen(number));
}

TEST(UniqueFd, ResetClosesAtOnce) {
    UniqueFd fd(Opened());
    const int number = fd.Get();
    fd.Reset();
    EXPECT_FALSE(fd);
    EXPECT_FALSE(IsOpen(number));
}

} // namespace
