// Locks of files that are waited for within bounds, and who holds one.
#include "platform/src/osal/FileLock.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

/// One file, opened twice: each opening has a lock of its own.
class FileLock : public testing::Test {
protected:
    FileLock() : m_first(::mkstemp(m_path.data())), m_second(::open(m_path.c_str(), O_RDWR | O_CLOEXEC)) {}
    ~FileLock() override {
        ::close(m_first);
        ::close(m_second);
        ::unlink(m_path.c_str());
    }

    std::string m_path = testing::TempDir() + "lock-XXXXXX";
    int m_first;
    int m_second;
};

TEST_F(FileLock, IsHadWhenNobodyHoldsIt) {
    EXPECT_TRUE(bm_osal::LockWithin(m_first, 0ms));
    EXPECT_NE(0, ::flock(m_second, LOCK_EX | LOCK_NB));
}

TEST_F(FileLock, IsNotHadWhileAnotherHoldsIt) {
    ASSERT_EQ(0, ::flock(m_second, LOCK_EX));
    EXPECT_FALSE(bm_osal::LockWithin(m_first, 5ms));
    EXPECT_EQ(EWOULDBLOCK, errno);
    ::flock(m_second, LOCK_UN);
    EXPECT_TRUE(bm_osal::LockWithin(m_first, 5ms));
}

TEST_F(FileLock, OfNoFileHasItsOwnError) {
    EXPECT_FALSE(bm_osal::LockWithin(-1, 1h));
    EXPECT_EQ(EBADF, errno);
}

TEST_F(FileLock, HasAHolderWithNumberAndName) {
    ASSERT_EQ(0, ::flock(m_second, LOCK_EX));
    EXPECT_EQ("process " + std::to_string(::getpid()) + " (platform_tests)", bm_osal::LockHolder(m_first));
}

TEST_F(FileLock, HasNoNamedHolderWhenNobodyHoldsIt) {
    EXPECT_EQ("another process", bm_osal::LockHolder(m_first));
}

} // namespace
