// The texts of a parameter's id, type and value in a storage file.
#include "platform/src/storage/DataStorage_Text.h"

#include <gtest/gtest.h>

namespace {

using namespace BM_ADAPTOR;
using bm_storage::IdFromText;
using bm_storage::IdToText;
using bm_storage::IsControl;
using bm_storage::SetFromText;
using bm_storage::Shown;
using bm_storage::TypeFromText;
using bm_storage::TypeToText;
using bm_storage::ValueToText;

constexpr unsigned AnyId = 0x30d12;

/// What the text makes of a parameter of this type, as text again; nothing when it is refused.
std::optional<std::string> ThereAndBack(BMIParamType_e type, const std::string& text) {
    CBMIParam param(type, AnyId, false);
    if (!SetFromText(param, text)) return std::nullopt;
    return ValueToText(param);
}

TEST(StorageText, OfAnIdIsHexadecimalAndReadAsDecimalToo) {
    EXPECT_EQ("0x30d12", IdToText(0x30d12));
    EXPECT_EQ(0x30d12U, IdFromText("0x30d12"));
    EXPECT_EQ(0x30d12U, IdFromText("0x30D12"));
    EXPECT_EQ(200978U, IdFromText("200978"));
    EXPECT_EQ(0xFFFFFFFFU, IdFromText("0xffffffff"));
    for (const char* text : {"", "0x", "0X1", "-1", "+1", " 1", "1 ", "0x100000000", "4294967296", "12x"})
        EXPECT_EQ(std::nullopt, IdFromText(text)) << text;
}

TEST(StorageText, OfATypeIsItsName) {
    for (const auto type : {BMI_PARAM_BOOL, BMI_PARAM_INT, BMI_PARAM_UINT, BMI_PARAM_STRING})
        EXPECT_EQ(type, TypeFromText(TypeToText(type))) << type;
    EXPECT_STREQ("uint", TypeToText(BMI_PARAM_UINT));
    EXPECT_EQ(nullptr, TypeToText(static_cast<BMIParamType_e>(3)));
    EXPECT_EQ(std::nullopt, TypeFromText("Int"));
    EXPECT_EQ(std::nullopt, TypeFromText(""));
}

TEST(StorageText, OfABooleanIsTrueOrFalse) {
    EXPECT_EQ("true", ThereAndBack(BMI_PARAM_BOOL, "true"));
    EXPECT_EQ("false", ThereAndBack(BMI_PARAM_BOOL, "false"));
    for (const char* text : {"", "1", "True", "true "})
        EXPECT_EQ(std::nullopt, ThereAndBack(BMI_PARAM_BOOL, text)) << text;
}

TEST(StorageText, OfANumberIsDecimalWithinItsType) {
    EXPECT_EQ("-2147483648", ThereAndBack(BMI_PARAM_INT, "-2147483648"));
    EXPECT_EQ("2147483647", ThereAndBack(BMI_PARAM_INT, "2147483647"));
    EXPECT_EQ("4294967295", ThereAndBack(BMI_PARAM_UINT, "4294967295"));
    EXPECT_EQ(std::nullopt, ThereAndBack(BMI_PARAM_INT, "2147483648"));
    EXPECT_EQ(std::nullopt, ThereAndBack(BMI_PARAM_UINT, "4294967296"));
    EXPECT_EQ(std::nullopt, ThereAndBack(BMI_PARAM_UINT, "-1"));
    EXPECT_EQ(std::nullopt, ThereAndBack(BMI_PARAM_INT, "0x1"));
}

TEST(StorageText, OfAStringIsPrintableAsciiAndKeepsEveryByte) {
    CBMIParam param(BMI_PARAM_STRING, AnyId, false);
    for (int byte = 0; byte < 256; ++byte) {
        const std::string value = "a" + std::string(1, static_cast<char>(byte)) + "b";
        param.SetString(value);
        const std::string text = ValueToText(param);
        for (const char letter : text)
            EXPECT_TRUE(letter >= ' ' && letter < 0x7F) << byte;
        ASSERT_TRUE(SetFromText(param, text)) << byte;
        EXPECT_EQ(value, param.GetString());
    }
    param.SetString("\\\x01\xff");
    EXPECT_EQ("\\\\\\x01\\xFF", ValueToText(param));
}

TEST(StorageText, OfAStringWithABrokenEscapeIsRefused) {
    for (const char* text : {"\\", "\\x", "\\x1", "\\xg1", "\\x 1", "\\n", "a\\"})
        EXPECT_EQ(std::nullopt, ThereAndBack(BMI_PARAM_STRING, text)) << text;
}

TEST(StorageText, InALogLineIsCutAndPrintable) {
    EXPECT_EQ("a\\x0A", Shown("a\n"));
    EXPECT_EQ(std::string(80, 'x'), Shown(std::string(80, 'x')));
    EXPECT_EQ(std::string(80, 'x') + "…", Shown(std::string(81, 'x')));
}

TEST(StorageText, KnowsControlBytes) {
    EXPECT_TRUE(IsControl('\0'));
    EXPECT_TRUE(IsControl('\x1f'));
    EXPECT_TRUE(IsControl('\x7f'));
    EXPECT_FALSE(IsControl(' '));
    EXPECT_FALSE(IsControl('\x80'));
}

} // namespace
