// The helper that shows that a call does not return.
#include "fake/process/BlockedChild.h"

#include "bm/OSAL.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <stdexcept>

namespace {

TEST(BlockedChild, TellsACallThatReturnsFromOneThatDoesNot) {
    EXPECT_EQ(CallInChild([] {}, [] {}), CHILD_END::Returned);
    EXPECT_EQ(CallInChild([] {}, [] { _exit(3); }), CHILD_END::Ended);
    EXPECT_EQ(CallInChild([] {}, [] { throw std::runtime_error("on purpose"); }), CHILD_END::Ended);
    OSAL::OSALMutex l_Mutex;
    EXPECT_EQ(CallInChild([&] { l_Mutex.Lock(); }, [&] { l_Mutex.Lock(); }), CHILD_END::StaysBlocked);
}

} // namespace
