// What a call is given, out of its words.
#include "host/words/Call.h"

#include "host/UsageError.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(Call, OfAGroupHasKeysAndOfAWriteValues) {
    const Call read = ParseGroupCall(Operation::Read, "0x300", {"0x303=3", "AMC_BAY=s:x"}, "");
    EXPECT_EQ(0x300U, read.m_group);
    ASSERT_EQ(2, read.m_keys.GetSize());
    EXPECT_EQ(0x303U, read.m_keys.Get(0)->GetId());
    EXPECT_TRUE(read.m_keys.Get(0)->IsKey());
    EXPECT_EQ("x", read.m_keys.Get(1)->GetString());
    EXPECT_EQ(0, read.m_values.GetSize());
    const Call write = ParseGroupCall(Operation::Write, "amc_table", {"bay=3", "--", "run_status=4", "1=2"}, "");
    EXPECT_EQ(0x30200U, write.m_group);
    ASSERT_EQ(1, write.m_keys.GetSize());
    ASSERT_EQ(2, write.m_values.GetSize());
    EXPECT_EQ(0x30208U, write.m_values.Get(0)->GetId());
    EXPECT_FALSE(write.m_values.Get(0)->IsKey());
}

TEST(Call, NeedsTwoDashesInAWriteAlone) {
    EXPECT_EQ("'--' in a read: expected THIS",
              UsageErrorOf([] { ParseGroupCall(Operation::Read, "1", {"--"}, "THIS"); }));
    EXPECT_EQ("no '--' between keys and values: expected THIS",
              UsageErrorOf([] { ParseGroupCall(Operation::Write, "1", {"1=2"}, "THIS"); }));
}

TEST(Call, ThatWaitsTakesMilliseconds) {
    EXPECT_EQ(2147483647, ParseWait(Operation::WaitEvent, "2147483647", "").m_milliseconds);
    for (const char* word : {"-1", "2147483648", "soon", ""}) {
        EXPECT_EQ(std::string("'") + word + "' is no number of milliseconds: expected THIS",
                  UsageErrorOf([&] { ParseWait(Operation::Sleep, word, "THIS"); }));
    }
}

} // namespace
