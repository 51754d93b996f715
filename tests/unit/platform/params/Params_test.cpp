// Parameters, rows and tables: values, order, ownership, copies.
#include "bm/Params.h"

#include "host/HostParams.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using namespace BM_ADAPTOR;

std::vector<unsigned> Ids(const CBMIParams& a_Row) {
    std::vector<unsigned> l_Ids;
    for (int i = 0; i < a_Row.GetSize(); ++i)
        l_Ids.push_back(a_Row.Get(i)->GetId());
    return l_Ids;
}

TEST(Param, KeepsTypeIdAndKey) {
    for (const BMIParamType_e l_Type : {BMI_PARAM_BOOL, BMI_PARAM_INT, BMI_PARAM_UINT, BMI_PARAM_STRING}) {
        for (const bool l_Key : {false, true}) {
            const CBMIParam l_Param(l_Type, 0xFFFFFFFF, l_Key);
            EXPECT_EQ(l_Type, l_Param.GetType());
            EXPECT_EQ(0xFFFFFFFF, l_Param.GetId());
            EXPECT_EQ(l_Key, l_Param.IsKey());
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
    const CBMIParam l_Param(BMI_PARAM_INT, 1, false);
    EXPECT_FALSE(l_Param.GetBool());
    EXPECT_EQ(0, l_Param.GetInt());
    EXPECT_EQ("", l_Param.GetString());
}

TEST(Param, CarriesEveryValueOfItsType) {
    CBMIParam l_Param(BMI_PARAM_INT, 1, false);
    for (const int32_t l_Value : {std::numeric_limits<int32_t>::min(), -1, 0, std::numeric_limits<int32_t>::max()}) {
        l_Param.SetInt(l_Value);
        EXPECT_EQ(l_Value, l_Param.GetInt());
    }
    const std::string l_Bytes("a\0\xFF", 3);
    l_Param.SetString(l_Bytes);
    EXPECT_EQ(l_Bytes, l_Param.GetString());
    l_Param.SetBool(true);
    EXPECT_TRUE(l_Param.GetBool());
    l_Param.SetBool(false);
    EXPECT_FALSE(l_Param.GetBool());
}

TEST(Param, ReadAsAnotherTypeIsThatTypesZero) {
    CBMIParam l_Param(BMI_PARAM_INT, 1, false);
    l_Param.SetInt(7);
    EXPECT_EQ("", l_Param.GetString());
    EXPECT_FALSE(l_Param.GetBool());
}

TEST(Params, KeepTheOrderOfAdditionWhicheverWayTheyCame) {
    CBMIParams l_Row;
    l_Row.Add(Int(3, 0));
    l_Row.Add(new CBMIParam(BMI_PARAM_STRING, 1, false));
    l_Row.Add(Int(2, 0));
    EXPECT_EQ((std::vector<unsigned>{3, 1, 2}), Ids(l_Row));
}

TEST(Params, OwnAParameterMadeWithNew) { // the leak checker sees a row that does not delete it
    auto* l_Param = new CBMIParam(BMI_PARAM_STRING, 1, true);
    l_Param->SetString(std::string(1000, 'x'));
    CBMIParams l_Row;
    l_Row.Add(l_Param);
    EXPECT_EQ(l_Param, l_Row.Get(0));
}

TEST(Params, CopyAParameterGivenByReference) {
    CBMIParam l_Param = Int(1, 5, true);
    CBMIParams l_Row;
    l_Row.Add(l_Param);
    l_Param.SetInt(6);
    EXPECT_EQ(5, l_Row.Get(0)->GetInt());
    EXPECT_TRUE(l_Row.Get(0)->IsKey());
}

TEST(Params, IgnoreANullParameter) {
    CBMIParams l_Row;
    l_Row.Add(nullptr);
    EXPECT_EQ(0, l_Row.GetSize());
}

TEST(Params, TakeACopyOfTheirOwnParameter) {
    CBMIParams l_Row;
    l_Row.Add(Int(1, 5));
    for (int i = 0; i < 100; ++i)
        l_Row.Add(*l_Row.Get(0));
    EXPECT_EQ(101, l_Row.GetSize());
    EXPECT_EQ(5, l_Row.Get(100)->GetInt());
}

TEST(Params, GetOutOfRangeIsNull) {
    CBMIParams l_Row;
    EXPECT_EQ(nullptr, l_Row.Get(0));
    l_Row.Add(Int(1, 5));
    for (const int l_Index : {-1, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        EXPECT_EQ(nullptr, l_Row.Get(l_Index)) << l_Index;
}

TEST(Params, GiveTheFirstOfTwoWithOneId) {
    CBMIParams l_Row;
    l_Row.Add(Int(1, 5));
    l_Row.Add(Int(1, 6));
    EXPECT_EQ(2, l_Row.GetSize());
    EXPECT_EQ(5, l_Row.GetParamById(1)->GetInt());
    CBMIParam l_Param(BMI_PARAM_INT, 1, false);
    EXPECT_TRUE(l_Row.GetParam(l_Param));
    EXPECT_EQ(5, l_Param.GetInt());
}

TEST(Params, GetParamByIdOfAMissingIdIsNull) {
    CBMIParams l_Row;
    l_Row.Add(Int(1, 5));
    EXPECT_EQ(nullptr, l_Row.GetParamById(2));
}

TEST(Params, GetParamFillsTypeKeyAndValue) {
    CBMIParams l_Row;
    l_Row.Add(Int(1, 5, true));
    CBMIParam l_Param(BMI_PARAM_STRING, 1, false);
    ASSERT_TRUE(l_Row.GetParam(l_Param));
    EXPECT_EQ(BMI_PARAM_INT, l_Param.GetType());
    EXPECT_TRUE(l_Param.IsKey());
    EXPECT_EQ(5, l_Param.GetInt());
}

TEST(Params, GetParamOfAMissingIdChangesNothing) {
    const CBMIParams l_Row;
    CBMIParam l_Param = Int(1, 5, true);
    EXPECT_FALSE(l_Row.GetParam(l_Param));
    EXPECT_EQ(5, l_Param.GetInt());
    EXPECT_TRUE(l_Param.IsKey());
}

TEST(Params, CopiesAreDeep) {
    CBMIParams l_Row;
    l_Row.Add(Int(1, 5));
    const CBMIParams l_Copy(l_Row);
    CBMIParams l_Assigned;
    l_Assigned.Add(Int(9, 9));
    l_Assigned = l_Row;
    l_Row.Get(0)->SetInt(6);
    l_Row.Add(Int(2, 0));
    for (const CBMIParams* l_Other : {&l_Copy, static_cast<const CBMIParams*>(&l_Assigned)}) {
        EXPECT_EQ((std::vector<unsigned>{1}), Ids(*l_Other));
        EXPECT_EQ(5, l_Other->Get(0)->GetInt());
    }
}

TEST(Params, SurviveAssignmentToThemselves) {
    CBMIParams l_Row;
    l_Row.Add(Int(1, 5));
    const CBMIParams& l_Same = l_Row;
    l_Row = l_Same;
    ASSERT_EQ(1, l_Row.GetSize());
    EXPECT_EQ(5, l_Row.Get(0)->GetInt());
}

TEST(Params, KeysAndEventParamsAreRows) {
    CBMIKeys l_Keys;
    l_Keys.Add(Int(1, 5, true));
    CBMIEvParams l_Event;
    l_Event.Add(Int(2, 6));
    EXPECT_EQ(5, static_cast<CBMIParams&>(l_Keys).GetParamById(1)->GetInt());
    EXPECT_EQ(6, static_cast<CBMIParams&>(l_Event).GetParamById(2)->GetInt());
}

TEST(Table, CopiesRowsAndLeavesTheCallersOwn) {
    auto l_Row = std::make_unique<CBMIParams>();
    l_Row->Add(Int(1, 5));
    CBMITable l_Table;
    l_Table.AddRow(l_Row.get());
    l_Table.AddRow(*l_Row);
    l_Row->Get(0)->SetInt(6);
    l_Row.reset();
    ASSERT_EQ(2, l_Table.GetSize());
    EXPECT_EQ(5, l_Table.Get(0)->Get(0)->GetInt());
    EXPECT_EQ(5, l_Table.Get(1)->Get(0)->GetInt());
}

TEST(Table, IgnoresANullRow) {
    CBMITable l_Table;
    l_Table.AddRow(nullptr);
    EXPECT_EQ(0, l_Table.GetSize());
}

TEST(Table, GetOutOfRangeIsNull) {
    CBMITable l_Table;
    CBMIParams l_Row;
    l_Table.AddRow(l_Row);
    for (const int l_Index : {-1, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        EXPECT_EQ(nullptr, l_Table.Get(l_Index)) << l_Index;
}

TEST(Table, CopiesAreDeep) {
    CBMIParams l_Row;
    l_Row.Add(Int(1, 5));
    CBMITable l_Table;
    l_Table.AddRow(l_Row);
    const CBMITable l_Copy(l_Table);
    CBMITable l_Assigned;
    l_Assigned = l_Table;
    l_Table.Get(0)->Get(0)->SetInt(6);
    l_Table.AddRow(l_Row);
    for (const CBMITable* l_Other : {&l_Copy, static_cast<const CBMITable*>(&l_Assigned)}) {
        ASSERT_EQ(1, l_Other->GetSize());
        EXPECT_EQ(5, l_Other->Get(0)->Get(0)->GetInt());
    }
}

} // namespace
