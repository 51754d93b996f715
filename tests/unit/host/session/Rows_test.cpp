// The values of a row as people's tables need them.
#include "host/session/Rows.h"

#include "host/HostParams.h"

#include <gtest/gtest.h>

namespace {

TEST(RowValues, AreTextsForPeopleOrADash) {
    const auto row = Row(Int(1, -5), Text(2, "a\x1B"), Bool(3, true));
    EXPECT_EQ("-5", bmhost::TextOf(row, 1));
    EXPECT_EQ("a?", bmhost::TextOf(row, 2));
    EXPECT_EQ("true", bmhost::TextOf(row, 3));
    EXPECT_EQ("-", bmhost::TextOf(row, 4));
}

TEST(RowValues, AreIntegersOrZero) {
    const auto row = Row(Int(1, -5), Text(2, "7"));
    EXPECT_EQ(-5, bmhost::IntegerOf(row, 1));
    EXPECT_EQ(0, bmhost::IntegerOf(row, 2));
    EXPECT_EQ(0, bmhost::IntegerOf(row, 3));
}

TEST(RowValues, OfACallAreIntegersWithTheirFlag) {
    const auto value = bmhost::Integer(0x301, 7, false);
    EXPECT_EQ(BM_ADAPTOR::BMI_PARAM_INT, value.GetType());
    EXPECT_EQ(0x301U, value.GetId());
    EXPECT_EQ(7, value.GetInt());
    EXPECT_FALSE(value.IsKey());
    const auto keys = bmhost::KeyOf(0x303, 3);
    ASSERT_EQ(1, keys.GetSize());
    EXPECT_EQ(0x303U, keys.Get(0)->GetId());
    EXPECT_EQ(3, keys.Get(0)->GetInt());
    EXPECT_TRUE(keys.Get(0)->IsKey());
}

} // namespace
