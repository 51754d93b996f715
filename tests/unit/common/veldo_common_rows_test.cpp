// The typed helpers for rows and keys.
#include "common/veldo_common_rows.h"

#include "adaptor/AdaptorTest.h"

using namespace BM_ADAPTOR;
using namespace BM_ADAPTOR::TEST;
using testing::ElementsAre;
using testing::Optional;

namespace {

CBMIParams WithBool(bool a_Value) {
    CBMIParam l_Param(BMI_PARAM_BOOL, BMI_HW_BOARD_RESET_BASEBOARD, false);
    l_Param.SetBool(a_Value);
    CBMIParams l_Params;
    l_Params.Add(l_Param);
    return l_Params;
}

TEST(IntParamOfARow, IsTakenFromBothIntegerTypes) {
    for (const BMIParamType_e l_Type : {BMI_PARAM_INT, BMI_PARAM_UINT}) {
        const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, -3, l_Type);
        EXPECT_THAT(IntParam(&l_Keys, BMI_HW_AMC_BAY), Optional(-3));
    }
}

TEST(IntParamOfARow, IsNothingWithoutTheRowOrTheParameter) {
    const CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    EXPECT_EQ(IntParam(nullptr, BMI_HW_AMC_BAY), std::nullopt);
    EXPECT_EQ(IntParam(&l_Keys, BMI_HW_AMC_FRU_BAY), std::nullopt);
}

TEST(IntParamOfARow, IsNothingFromAnotherType) {
    const CBMIKeys l_Text = TextKeyOf(BMI_HW_AMC_BAY, "3");
    EXPECT_EQ(IntParam(&l_Text, BMI_HW_AMC_BAY), std::nullopt);
    const CBMIParams l_Bool = WithBool(true);
    EXPECT_EQ(IntParam(&l_Bool, BMI_HW_BOARD_RESET_BASEBOARD), std::nullopt);
}

TEST(IntParamOfARow, IsTheFirstWithItsId) {
    CBMIKeys l_Keys = KeyOf(BMI_HW_AMC_BAY, 3);
    l_Keys.Add(*KeyOf(BMI_HW_AMC_BAY, 4).Get(0));
    EXPECT_THAT(IntParam(&l_Keys, BMI_HW_AMC_BAY), Optional(3));
}

TEST(BoolParamOfARow, IsItsValue) {
    for (const bool l_Value : {false, true}) {
        const CBMIParams l_Params = WithBool(l_Value);
        EXPECT_EQ(BoolParam(&l_Params, BMI_HW_BOARD_RESET_BASEBOARD), l_Value);
    }
}

TEST(BoolParamOfARow, IsFalseWithoutTheRowTheParameterOrTheType) {
    const CBMIParams l_Params = WithBool(true);
    EXPECT_FALSE(BoolParam(nullptr, BMI_HW_BOARD_RESET_BASEBOARD));
    EXPECT_FALSE(BoolParam(&l_Params, BMI_HW_BOARD_RESET_ENTIRE_CARD));
    const CBMIParams l_Int = KeyOf(BMI_HW_BOARD_RESET_BASEBOARD, 1);
    EXPECT_FALSE(BoolParam(&l_Int, BMI_HW_BOARD_RESET_BASEBOARD));
}

TEST(TextParamOfARow, IsItsText) {
    const CBMIKeys l_Keys = TextKeyOf(BMI_HW_AMC_DSP_EX_IP, "10.0.0.1");
    EXPECT_THAT(TextParam(&l_Keys, BMI_HW_AMC_DSP_EX_IP), Optional(std::string("10.0.0.1")));
}

TEST(TextParamOfARow, IsNothingWithoutTheRowTheParameterOrTheType) {
    const CBMIKeys l_Int = KeyOf(BMI_HW_AMC_DSP_EX_IP, 1);
    EXPECT_EQ(TextParam(nullptr, BMI_HW_AMC_DSP_EX_IP), std::nullopt);
    EXPECT_EQ(TextParam(&l_Int, BMI_HW_AMC_DSP_EX_MAC), std::nullopt);
    EXPECT_EQ(TextParam(&l_Int, BMI_HW_AMC_DSP_EX_IP), std::nullopt);
}

TEST(AddedParameters, StandInTheOrderOfTheirAdditionWithTypeAndKeyFlag) {
    CBMIParams l_Row;
    AddKey(l_Row, BMI_HW_AMC_BAY, 3);
    AddInt(l_Row, BMI_HW_AMC_RUN_STATUS, -1);
    AddText(l_Row, BMI_HW_AMC_PRODUCT_NAME, "name");
    AddBool(l_Row, BMI_HW_BOARD_RESET_BASEBOARD, true);
    EXPECT_THAT(TextsOf(l_Row), ElementsAre("0x30201 i:3 key", "0x30208 i:-1", "0x30202 s:name", "0x30008 b:true"));
}

TEST(RowsOfATable, AreItsOwnInTheirOrder) {
    CBMITable l_Table;
    for (const int32_t l_Bay : {3, 1}) {
        CBMIParams l_Row;
        AddKey(l_Row, BMI_HW_AMC_BAY, l_Bay);
        l_Table.AddRow(l_Row);
    }
    EXPECT_THAT(RowsOf(l_Table), ElementsAre(l_Table.Get(0), l_Table.Get(1)));
    EXPECT_THAT(RowsOf(CBMITable()), testing::IsEmpty());
}

} // namespace
