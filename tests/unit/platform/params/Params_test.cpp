// Parameters, rows and tables: values, order, ownership, copies.
#include "bm/Params.h"

#include "host/HostParams.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using namespace BM_ADAPTOR;

std::vector<unsigned> Ids(const CBMIParams& row) {
    std::vector<unsigned> ids;
    for (int i = 0; i < row.GetSize(); ++i)
        ids.push_back(row.Get(i)->GetId());
    return ids;
}

TEST(Param, KeepsTypeIdAndKey) {
    for (const BMIParamType_e type : {BMI_PARAM_BOOL, BMI_PARAM_INT, BMI_PARAM_UINT, BMI_PARAM_STRING}) {
        for (const bool key : {false, true}) {
            const CBMIParam param(type, 0xFFFFFFFF, key);
            EXPECT_EQ(type, param.GetType());
            EXPECT_EQ(0xFFFFFFFF, param.GetId());
            EXPECT_EQ(key, param.IsKey());
        }
    }
}

TEST(Param, TypesHaveTheProtocolsNumbers) {
    EXPECT_EQ(0, BMI_PARAM_BOOL);
    EXPECT_EQ(1, BMI_PARAM_INT);
    EXPECT_EQ(2, BMI_PARAM_UINT);
    EXPECT_EQ(4, BMI_PARAM_STRING);
}

TEST(Param, BeginsWithZeroOfEveryType) {
    const CBMIParam param(BMI_PARAM_INT, 1, false);
    EXPECT_FALSE(param.GetBool());
    EXPECT_EQ(0, param.GetInt());
    EXPECT_EQ("", param.GetString());
}

TEST(Param, CarriesEveryValueOfItsType) {
    CBMIParam param(BMI_PARAM_INT, 1, false);
    for (const int32_t value : {std::numeric_limits<int32_t>::min(), -1, 0, std::numeric_limits<int32_t>::max()}) {
        param.SetInt(value);
        EXPECT_EQ(value, param.GetInt());
    }
    const std::string bytes("a\0\xFF", 3);
    param.SetString(bytes);
    EXPECT_EQ(bytes, param.GetString());
    param.SetBool(true);
    EXPECT_TRUE(param.GetBool());
    param.SetBool(false);
    EXPECT_FALSE(param.GetBool());
}

TEST(Param, ReadAsAnotherTypeIsThatTypesZero) {
    CBMIParam param(BMI_PARAM_INT, 1, false);
    param.SetInt(7);
    EXPECT_EQ("", param.GetString());
    EXPECT_FALSE(param.GetBool());
}

TEST(Params, KeepTheOrderOfAdditionWhicheverWayTheyCame) {
    CBMIParams row;
    row.Add(Int(3, 0));
    row.Add(new CBMIParam(BMI_PARAM_STRING, 1, false));
    row.Add(Int(2, 0));
    EXPECT_EQ((std::vector<unsigned>{3, 1, 2}), Ids(row));
}

TEST(Params, OwnAParameterMadeWithNew) { // the leak checker sees a row that does not delete it
    auto* param = new CBMIParam(BMI_PARAM_STRING, 1, true);
    param->SetString(std::string(1000, 'x'));
    CBMIParams row;
    row.Add(param);
    EXPECT_EQ(param, row.Get(0));
}

TEST(Params, CopyAParameterGivenByReference) {
    CBMIParam param = Int(1, 5, true);
    CBMIParams row;
    row.Add(param);
    param.SetInt(6);
    EXPECT_EQ(5, row.Get(0)->GetInt());
    EXPECT_TRUE(row.Get(0)->IsKey());
}

TEST(Params, IgnoreANullParameter) {
    CBMIParams row;
    row.Add(nullptr);
    EXPECT_EQ(0, row.GetSize());
}

TEST(Params, TakeACopyOfTheirOwnParameter) {
    CBMIParams row;
    row.Add(Int(1, 5));
    for (int i = 0; i < 100; ++i)
        row.Add(*row.Get(0));
    EXPECT_EQ(101, row.GetSize());
    EXPECT_EQ(5, row.Get(100)->GetInt());
}

TEST(Params, GetOutOfRangeIsNull) {
    CBMIParams row;
    EXPECT_EQ(nullptr, row.Get(0));
    row.Add(Int(1, 5));
    for (const int index : {-1, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        EXPECT_EQ(nullptr, row.Get(index)) << index;
}

TEST(Params, GiveTheFirstOfTwoWithOneId) {
    CBMIParams row;
    row.Add(Int(1, 5));
    row.Add(Int(1, 6));
    EXPECT_EQ(2, row.GetSize());
    EXPECT_EQ(5, row.GetParamById(1)->GetInt());
    CBMIParam param(BMI_PARAM_INT, 1, false);
    EXPECT_TRUE(row.GetParam(param));
    EXPECT_EQ(5, param.GetInt());
}

TEST(Params, GetParamByIdOfAMissingIdIsNull) {
    CBMIParams row;
    row.Add(Int(1, 5));
    EXPECT_EQ(nullptr, row.GetParamById(2));
}

TEST(Params, GetParamFillsTypeKeyAndValue) {
    CBMIParams row;
    row.Add(Int(1, 5, true));
    CBMIParam param(BMI_PARAM_STRING, 1, false);
    ASSERT_TRUE(row.GetParam(param));
    EXPECT_EQ(BMI_PARAM_INT, param.GetType());
    EXPECT_TRUE(param.IsKey());
    EXPECT_EQ(5, param.GetInt());
}

TEST(Params, GetParamOfAMissingIdChangesNothing) {
    const CBMIParams row;
    CBMIParam param = Int(1, 5, true);
    EXPECT_FALSE(row.GetParam(param));
    EXPECT_EQ(5, param.GetInt());
    EXPECT_TRUE(param.IsKey());
}

TEST(Params, CopiesAreDeep) {
    CBMIParams row;
    row.Add(Int(1, 5));
    const CBMIParams copy(row);
    CBMIParams assigned;
    assigned.Add(Int(9, 9));
    assigned = row;
    row.Get(0)->SetInt(6);
    row.Add(Int(2, 0));
    for (const CBMIParams* other : {&copy, static_cast<const CBMIParams*>(&assigned)}) {
        EXPECT_EQ((std::vector<unsigned>{1}), Ids(*other));
        EXPECT_EQ(5, other->Get(0)->GetInt());
    }
}

TEST(Params, SurviveAssignmentToThemselves) {
    CBMIParams row;
    row.Add(Int(1, 5));
    const CBMIParams& same = row;
    row = same;
    ASSERT_EQ(1, row.GetSize());
    EXPECT_EQ(5, row.Get(0)->GetInt());
}

TEST(Params, KeysAndEventParamsAreRows) {
    CBMIKeys keys;
    keys.Add(Int(1, 5, true));
    CBMIEvParams event;
    event.Add(Int(2, 6));
    EXPECT_EQ(5, static_cast<CBMIParams&>(keys).GetParamById(1)->GetInt());
    EXPECT_EQ(6, static_cast<CBMIParams&>(event).GetParamById(2)->GetInt());
}

TEST(Table, CopiesRowsAndLeavesTheCallersOwn) {
    auto row = std::make_unique<CBMIParams>();
    row->Add(Int(1, 5));
    CBMITable table;
    table.AddRow(row.get());
    table.AddRow(*row);
    row->Get(0)->SetInt(6);
    row.reset();
    ASSERT_EQ(2, table.GetSize());
    EXPECT_EQ(5, table.Get(0)->Get(0)->GetInt());
    EXPECT_EQ(5, table.Get(1)->Get(0)->GetInt());
}

TEST(Table, IgnoresANullRow) {
    CBMITable table;
    table.AddRow(nullptr);
    EXPECT_EQ(0, table.GetSize());
}

TEST(Table, GetOutOfRangeIsNull) {
    CBMITable table;
    CBMIParams row;
    table.AddRow(row);
    for (const int index : {-1, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        EXPECT_EQ(nullptr, table.Get(index)) << index;
}

TEST(Table, CopiesAreDeep) {
    CBMIParams row;
    row.Add(Int(1, 5));
    CBMITable table;
    table.AddRow(row);
    const CBMITable copy(table);
    CBMITable assigned;
    assigned = table;
    table.Get(0)->Get(0)->SetInt(6);
    table.AddRow(row);
    for (const CBMITable* other : {&copy, static_cast<const CBMITable*>(&assigned)}) {
        ASSERT_EQ(1, other->GetSize());
        EXPECT_EQ(5, other->Get(0)->Get(0)->GetInt());
    }
}

} // namespace
