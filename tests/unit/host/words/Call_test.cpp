// Calls as they are typed.
#include "host/words/Call.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

TEST(Call, LifecycleCallsStandAlone) {
    constexpr std::pair<const char*, Operation> cases[] = {
        {"init", Operation::Init}, {"start", Operation::Start}, {"stop", Operation::Stop}, {"fin", Operation::Fin}};
    for (const auto& [word, operation] : cases) {
        EXPECT_EQ(operation, ParseCall({word}).m_operation);
        EXPECT_EQ(word, OperationName(operation));
    }
}

TEST(Call, ReadTakesGroupAndKeys) {
    const Call call = ParseCall({"read", "0x300", "0x303=3", "AMC_BAY=s:x"});
    EXPECT_EQ(Operation::Read, call.m_operation);
    EXPECT_EQ(0x300U, call.m_group);
    ASSERT_EQ(2, call.m_keys.GetSize());
    EXPECT_EQ(0x303U, call.m_keys.Get(0)->GetId());
    EXPECT_TRUE(call.m_keys.Get(0)->IsKey());
    EXPECT_EQ("x", call.m_keys.Get(1)->GetString());
    EXPECT_EQ(0, call.m_values.GetSize());
}

TEST(Call, ReadNeedsNoKeys) {
    EXPECT_EQ(0, ParseCall({"read", "HARDWARE_BOARD"}).m_keys.GetSize());
}

TEST(Call, WriteTakesKeysThenValues) {
    const Call call = ParseCall({"write", "amc_table", "bay=3", "--", "run_status=4", "1=2"});
    EXPECT_EQ(Operation::Write, call.m_operation);
    EXPECT_EQ(0x30200U, call.m_group);
    ASSERT_EQ(1, call.m_keys.GetSize());
    EXPECT_TRUE(call.m_keys.Get(0)->IsKey());
    ASSERT_EQ(2, call.m_values.GetSize());
    EXPECT_EQ(0x30208U, call.m_values.Get(0)->GetId());
    EXPECT_FALSE(call.m_values.Get(0)->IsKey());
}

TEST(Call, WriteMayHaveNoKeysOrNoValues) {
    EXPECT_EQ(0, ParseCall({"write", "1", "--", "1=2"}).m_keys.GetSize());
    EXPECT_EQ(1, ParseCall({"write", "1", "--", "1=2"}).m_values.GetSize());
    EXPECT_EQ(0, ParseCall({"write", "1", "1=2", "--"}).m_values.GetSize());
    EXPECT_EQ(1, ParseCall({"write", "1", "1=2", "--"}).m_keys.GetSize());
}

TEST(Call, TableTakesAGroup) {
    const Call call = ParseCall({"table", "0x30200"});
    EXPECT_EQ(Operation::Table, call.m_operation);
    EXPECT_EQ(0x30200U, call.m_group);
}

TEST(Call, SleepAndWaitEventTakeMilliseconds) {
    EXPECT_EQ(Operation::Sleep, ParseCall({"sleep", "5"}).m_operation);
    EXPECT_EQ(5, ParseCall({"sleep", "5"}).m_milliseconds);
    EXPECT_EQ(Operation::WaitEvent, ParseCall({"wait-event", "0"}).m_operation);
    EXPECT_EQ(2147483647, ParseCall({"wait-event", "2147483647"}).m_milliseconds);
}

struct WrongCallCase {
    std::vector<std::string> m_words;
    const char* m_expected;
};

TEST(Call, WhatCannotBeMeantSaysWhatWasExpected) {
    const WrongCallCase cases[] = {
        {{}, "no call: expected init, start, stop, fin, read, table or write"},
        {{"Init"}, "unknown call 'Init': expected init, start, stop"},
        {{"init", "now"}, "'now' is too much: expected init"},
        {{"read"}, "'read' is not enough: expected read GROUP [ID=VALUE ...]"},
        {{"read", "1", "bay"}, "'bay': expected ID=VALUE"},
        {{"read", "1", "--", "1=2"}, "'--' in a read: expected read GROUP [ID=VALUE ...]"},
        {{"table"}, "'table' is not enough: expected table GROUP"},
        {{"table", "1", "2=3"}, "'2=3' is too much: expected table GROUP"},
        {{"table", "nosuch"}, "unknown group 'nosuch'"},
        {{"write"}, "'write' is not enough"},
        {{"write", "1", "2=3"}, "no '--' between keys and values: expected write GROUP"},
        {{"write", "1", "--", "1=2", "--"}, "'--': expected ID=VALUE"},
        {{"sleep"}, "'sleep' is not enough: expected sleep MS"},
        {{"sleep", "-1"}, "'-1' is no number of milliseconds: expected sleep MS"},
        {{"sleep", "2147483648"}, "is no number of milliseconds"},
        {{"wait-event", "soon"}, "'soon' is no number of milliseconds: expected wait-event MS"},
        {{"wait-event", "1", "2"}, "'2' is too much"},
    };
    for (const WrongCallCase& testCase : cases)
        EXPECT_THAT(UsageErrorOf([&] { ParseCall(testCase.m_words); }), HasSubstr(testCase.m_expected));
}

} // namespace
