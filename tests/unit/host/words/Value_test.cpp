// Values as they are typed.
#include "host/words/Value.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace BM_ADAPTOR;
using bmhost::ParseNumber;
using bmhost::ParseParam;
using testing::HasSubstr;

constexpr unsigned Group = 0x300;

struct NumberCase {
    const char* m_text;
    int32_t m_value;
};

TEST(Value, IntegerIsTypeOne) {
    constexpr NumberCase cases[] = {
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
    for (const auto& [text, value] : cases) {
        const CBMIParam param = ParseParam(std::string("0x303=") + text, true, Group);
        EXPECT_EQ(BMI_PARAM_INT, param.GetType()) << text;
        EXPECT_EQ(value, param.GetInt()) << text;
    }
}

TEST(Value, TrueAndFalseAreBooleans) {
    EXPECT_EQ(BMI_PARAM_BOOL, ParseParam("1=true", false, Group).GetType());
    EXPECT_TRUE(ParseParam("1=true", false, Group).GetBool());
    EXPECT_EQ(BMI_PARAM_BOOL, ParseParam("1=false", false, Group).GetType());
    EXPECT_FALSE(ParseParam("1=false", false, Group).GetBool());
}

TEST(Value, AnythingElseIsText) {
    for (const std::string text : {"", "a", "True", "FALSE", "0x", "-", "+5", "1.5", "12a", "0xg", " 1", "1 ", "a=b",
                                   "=", "x:1", "i", "\xFF", "--1"}) {
        const CBMIParam param = ParseParam("1=" + text, false, Group);
        EXPECT_EQ(BMI_PARAM_STRING, param.GetType()) << text;
        EXPECT_EQ(text, param.GetString());
    }
}

struct PrefixCase {
    const char* m_text;
    BMIParamType_e m_type;
    int32_t m_int;
    bool m_bool;
    const char* m_string;
};

TEST(Value, PrefixForcesTheType) {
    constexpr PrefixCase cases[] = {
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
    for (const PrefixCase& testCase : cases) {
        const CBMIParam param = ParseParam(std::string("1=") + testCase.m_text, false, Group);
        EXPECT_EQ(testCase.m_type, param.GetType()) << testCase.m_text;
        EXPECT_EQ(testCase.m_int, param.GetInt()) << testCase.m_text;
        EXPECT_EQ(testCase.m_bool, param.GetBool()) << testCase.m_text;
        EXPECT_EQ(testCase.m_string, param.GetString()) << testCase.m_text;
    }
}

TEST(Value, IdAndKeyAreTaken) {
    const CBMIParam key = ParseParam("0x303=1", true, Group);
    EXPECT_EQ(0x303U, key.GetId());
    EXPECT_TRUE(key.IsKey());
    EXPECT_FALSE(ParseParam("0x303=1", false, Group).IsKey());
    EXPECT_EQ(0x30208U, ParseParam("amc_run_status=4", false, Group).GetId());
    EXPECT_EQ(0x303U, ParseParam("bay=4", false, Group).GetId());
}

struct WrongValueCase {
    const char* m_text;
    const char* m_expected;
};

TEST(Value, WhatCannotBeMeantSaysWhatWasExpected) {
    constexpr WrongValueCase cases[] = {
        {"", "'': expected ID=VALUE"},
        {"0x303", "'0x303': expected ID=VALUE"},
        {"=3", "'=3': expected ID=VALUE"},
        {"1=i:", "expected an integer, decimal or 0x…, not ''"},
        {"1=i:abc", "'1=i:abc': expected an integer"},
        {"1=u:true", "expected an integer, decimal or 0x…, not 'true'"},
        {"1=b:1", "expected true or false, not '1'"},
        {"1=b:", "expected true or false, not ''"},
        {"1=b:ture", "expected true or false, not 'ture'; did you mean true?"},
        {"1=4294967296", "expected an integer of 32 bits, not '4294967296' (s: before it makes it a text)"},
        {"1=-2147483649", "expected an integer of 32 bits"},
        {"1=-4294967295", "expected an integer of 32 bits"},
        {"1=0x123456789", "expected an integer of 32 bits"},
        {"1=99999999999999999999", "expected an integer of 32 bits"},
        {"1=-99999999999999999999", "expected an integer of 32 bits"},
    };
    for (const WrongValueCase& testCase : cases) {
        EXPECT_THAT(UsageErrorOf([&] { ParseParam(testCase.m_text, true, Group); }), HasSubstr(testCase.m_expected))
            << testCase.m_text;
    }
}

TEST(Number, IsNothingForATextThatIsNone) {
    for (const char* text : {"", "-", "0x", "-0x", "abc", "1a", "0xfg", "--1", "+1", " 1", "1 "})
        EXPECT_FALSE(ParseNumber(text).has_value()) << text;
}

TEST(Number, TooLargeIsStillANumber) {
    EXPECT_EQ(std::numeric_limits<int64_t>::max(), ParseNumber("99999999999999999999"));
    EXPECT_EQ(std::numeric_limits<int64_t>::min(), ParseNumber("-99999999999999999999"));
}

} // namespace
