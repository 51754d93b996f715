// Values as they are typed.
#include "host/words/Value.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace BM_ADAPTOR;
using BMHOST::ParseNumber;
using BMHOST::ParseParam;
using testing::HasSubstr;

constexpr unsigned GROUP = 0x300;

struct NUMBER_CASE {
    const char* m_Text;
    int32_t m_Value;
};

TEST(Value, IntegerIsTypeOne) {
    constexpr NUMBER_CASE CASES[] = {
        {"0", 0},
        {"3", 3},
        {"-1", -1},
        {"007", 7},
        {"0x10", 16},
        {"0X1f", 31},
        {"0xFf", 255},
        {"-0x10", -16},
        {"4294967295", -1},
        {"0xffffffff", -1},
        {"2147483647", 2147483647},
        {"-2147483648", std::numeric_limits<int32_t>::min()},
    };
    for (const auto& [l_Text, l_Value] : CASES) {
        const CBMIParam l_Param = ParseParam(std::string("0x303=") + l_Text, true, GROUP);
        EXPECT_EQ(BMI_PARAM_INT, l_Param.GetType()) << l_Text;
        EXPECT_EQ(l_Value, l_Param.GetInt()) << l_Text;
    }
}

TEST(Value, TrueAndFalseAreBooleans) {
    EXPECT_EQ(BMI_PARAM_BOOL, ParseParam("1=true", false, GROUP).GetType());
    EXPECT_TRUE(ParseParam("1=true", false, GROUP).GetBool());
    EXPECT_EQ(BMI_PARAM_BOOL, ParseParam("1=false", false, GROUP).GetType());
    EXPECT_FALSE(ParseParam("1=false", false, GROUP).GetBool());
}

TEST(Value, AnythingElseIsText) {
    for (const std::string l_Text : {"", "a", "True", "FALSE", "0x", "-", "+5", "1.5", "12a", "0xg", " 1", "1 ", "a=b",
                                     "=", "x:1", "i", "\xFF", "--1"}) {
        const CBMIParam l_Param = ParseParam("1=" + l_Text, false, GROUP);
        EXPECT_EQ(BMI_PARAM_STRING, l_Param.GetType()) << l_Text;
        EXPECT_EQ(l_Text, l_Param.GetString());
    }
}

struct PREFIX_CASE {
    const char* m_Text;
    BMIParamType_e m_Type;
    int32_t m_Int;
    bool m_Bool;
    const char* m_String;
};

TEST(Value, PrefixForcesTheType) {
    constexpr PREFIX_CASE CASES[] = {
        {"i:5", BMI_PARAM_INT, 5, false, ""},
        {"u:5", BMI_PARAM_UINT, 5, false, ""},
        {"u:0xffffffff", BMI_PARAM_UINT, -1, false, ""},
        {"b:true", BMI_PARAM_BOOL, 0, true, ""},
        {"b:false", BMI_PARAM_BOOL, 0, false, ""},
        {"s:5", BMI_PARAM_STRING, 0, false, "5"},
        {"s:true", BMI_PARAM_STRING, 0, false, "true"},
        {"s:", BMI_PARAM_STRING, 0, false, ""},
        {"s:i:5", BMI_PARAM_STRING, 0, false, "i:5"},
        {"s:99999999999", BMI_PARAM_STRING, 0, false, "99999999999"},
    };
    for (const PREFIX_CASE& l_Case : CASES) {
        const CBMIParam l_Param = ParseParam(std::string("1=") + l_Case.m_Text, false, GROUP);
        EXPECT_EQ(l_Case.m_Type, l_Param.GetType()) << l_Case.m_Text;
        EXPECT_EQ(l_Case.m_Int, l_Param.GetInt()) << l_Case.m_Text;
        EXPECT_EQ(l_Case.m_Bool, l_Param.GetBool()) << l_Case.m_Text;
        EXPECT_EQ(l_Case.m_String, l_Param.GetString()) << l_Case.m_Text;
    }
}

TEST(Value, IdAndKeyAreTaken) {
    const CBMIParam l_Key = ParseParam("0x303=1", true, GROUP);
    EXPECT_EQ(0x303U, l_Key.GetId());
    EXPECT_TRUE(l_Key.IsKey());
    EXPECT_FALSE(ParseParam("0x303=1", false, GROUP).IsKey());
    EXPECT_EQ(0x30208U, ParseParam("amc_run_status=4", false, GROUP).GetId());
    EXPECT_EQ(0x303U, ParseParam("bay=4", false, GROUP).GetId());
}

struct WRONG_VALUE_CASE {
    const char* m_Text;
    const char* m_Expected;
};

TEST(Value, WhatCannotBeMeantSaysWhatWasExpected) {
    constexpr WRONG_VALUE_CASE CASES[] = {
        {"", "'': expected ID=VALUE"},
        {"0x303", "'0x303': expected ID=VALUE"},
        {"=3", "'=3': expected ID=VALUE"},
        {"1=i:", "expected an integer, decimal or 0x…, not ''"},
        {"1=i:abc", "'1=i:abc': expected an integer"},
        {"1=u:true", "expected an integer, decimal or 0x…, not 'true'"},
        {"1=b:1", "expected true or false, not '1'"},
        {"1=b:", "expected true or false, not ''"},
        {"1=4294967296", "expected an integer of 32 bits, not '4294967296' (s: before it makes it a text)"},
        {"1=-2147483649", "expected an integer of 32 bits"},
        {"1=-4294967295", "expected an integer of 32 bits"},
        {"1=0x123456789", "expected an integer of 32 bits"},
        {"1=99999999999999999999", "expected an integer of 32 bits"},
        {"1=-99999999999999999999", "expected an integer of 32 bits"},
    };
    for (const WRONG_VALUE_CASE& l_Case : CASES) {
        EXPECT_THAT(UsageErrorOf([&] { ParseParam(l_Case.m_Text, true, GROUP); }), HasSubstr(l_Case.m_Expected))
            << l_Case.m_Text;
    }
}

TEST(Number, IsNothingForATextThatIsNone) {
    for (const char* l_Text : {"", "-", "0x", "-0x", "abc", "1a", "0xfg", "--1", "+1", " 1", "1 "})
        EXPECT_FALSE(ParseNumber(l_Text).has_value()) << l_Text;
}

TEST(Number, TooLargeIsStillANumber) {
    EXPECT_EQ(std::numeric_limits<int64_t>::max(), ParseNumber("99999999999999999999"));
    EXPECT_EQ(std::numeric_limits<int64_t>::min(), ParseNumber("-99999999999999999999"));
}

} // namespace
