#include "host/client/WireRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

using namespace BM_ADAPTOR;
using namespace bmhost;
using nlohmann::ordered_json;
using testing::StartsWith;

namespace {

ordered_json ParamOfType(int64_t type, const ordered_json& value) {
    return ordered_json::array({{{"id", "0x303"}, {"type", type}, {"key", true}, {"value", value}}});
}

TEST(WireRows, HoldAValueOfEachType) {
    EXPECT_TRUE(RowOfWire(ParamOfType(BMI_PARAM_BOOL, true))->Get(0)->GetBool());
    EXPECT_EQ(-3, RowOfWire(ParamOfType(BMI_PARAM_INT, -3))->Get(0)->GetInt());
    EXPECT_EQ(7, RowOfWire(ParamOfType(BMI_PARAM_UINT, 7))->Get(0)->GetInt());
    const auto row = RowOfWire(ParamOfType(BMI_PARAM_STRING, "\u00FF"));
    EXPECT_EQ("\xFF", row->Get(0)->GetString());
    EXPECT_EQ(BMI_PARAM_STRING, row->Get(0)->GetType());
    EXPECT_EQ(0x303U, row->Get(0)->GetId());
    EXPECT_TRUE(row->Get(0)->IsKey());
}

TEST(WireRows, ATypeIsOneOfTheFourOrRefused) {
    for (const int64_t type : {int64_t{-1}, int64_t{3}, int64_t{5}, int64_t{14}, int64_t{0x7FFFFFFF}}) {
        try {
            RowOfWire(ParamOfType(type, 3));
            ADD_FAILURE() << type;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), StartsWith("no type {"));
        }
    }
}

} // namespace
