// A descriptor that closes with its owner.
#include "common/veldo_common_descriptor.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>

namespace {

using BM_ADAPTOR::DESCRIPTOR;

bool IsOpen(int a_Descriptor) {
    return fcntl(a_Descriptor, F_GETFD) >= 0;
}

int Opened() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(Descriptor, ClosesWithItsOwner) {
    const int l_Number = Opened();
    {
        const DESCRIPTOR l_File(l_Number);
        EXPECT_TRUE(l_File);
        EXPECT_EQ(l_Number, l_File.Get());
        EXPECT_TRUE(IsOpen(l_Number));
    }
    EXPECT_FALSE(IsOpen(l_Number));
}

TEST(Descriptor, ANegativeNumberIsNoneAndLeavesErrno) {
    errno = ENOENT;
    EXPECT_FALSE(DESCRIPTOR(-1));
    EXPECT_EQ(ENOENT, errno);
}

TEST(Descriptor, HasOneOwnerAfterAMove) {
    DESCRIPTOR l_First(Opened());
    const int l_Number = l_First.Get();
    DESCRIPTOR l_Second(std::move(l_First));
    EXPECT_EQ(l_Number, l_Second.Get());
    DESCRIPTOR l_Third;
    l_Third = std::move(l_Second);
    EXPECT_EQ(l_Number, l_Third.Get());
    EXPECT_TRUE(IsOpen(l_Number));
}

TEST(Descriptor, ResetClosesAtOnce) {
    DESCRIPTOR l_File(Opened());
    const int l_Number = l_File.Get();
    l_File.Reset();
    EXPECT_FALSE(l_File);
    EXPECT_FALSE(IsOpen(l_Number));
}

} // namespace
