// Calls as they are typed.
#include "host/words/Call.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace BMHOST;
using testing::HasSubstr;

TEST(Call, LifecycleCallsStandAlone) {
    constexpr std::pair<const char*, OPERATION> l_Cases[] = {
        {"init", OPERATION::Init}, {"start", OPERATION::Start}, {"stop", OPERATION::Stop}, {"fin", OPERATION::Fin}};
    for (const auto& [l_Word, l_Operation] : l_Cases) {
        EXPECT_EQ(l_Operation, ParseCall({l_Word}).m_Operation);
        EXPECT_EQ(l_Word, OperationName(l_Operation));
    }
}

TEST(Call, ReadTakesGroupAndKeys) {
    const CALL l_Call = ParseCall({"read", "0x300", "0x303=3", "AMC_BAY=s:x"});
    EXPECT_EQ(OPERATION::Read, l_Call.m_Operation);
    EXPECT_EQ(0x300U, l_Call.m_Group);
    ASSERT_EQ(2, l_Call.m_Keys.GetSize());
    EXPECT_EQ(0x303U, l_Call.m_Keys.Get(0)->GetId());
    EXPECT_TRUE(l_Call.m_Keys.Get(0)->IsKey());
    EXPECT_EQ("x", l_Call.m_Keys.Get(1)->GetString());
    EXPECT_EQ(0, l_Call.m_Values.GetSize());
}

TEST(Call, ReadNeedsNoKeys) {
    EXPECT_EQ(0, ParseCall({"read", "HARDWARE_BOARD"}).m_Keys.GetSize());
}

TEST(Call, WriteTakesKeysThenValues) {
    const CALL l_Call = ParseCall({"write", "amc_table", "bay=3", "--", "run_status=4", "1=2"});
    EXPECT_EQ(OPERATION::Write, l_Call.m_Operation);
    EXPECT_EQ(0x30200U, l_Call.m_Group);
    ASSERT_EQ(1, l_Call.m_Keys.GetSize());
    EXPECT_TRUE(l_Call.m_Keys.Get(0)->IsKey());
    ASSERT_EQ(2, l_Call.m_Values.GetSize());
    EXPECT_EQ(0x30208U, l_Call.m_Values.Get(0)->GetId());
    EXPECT_FALSE(l_Call.m_Values.Get(0)->IsKey());
}

TEST(Call, WriteMayHaveNoKeysOrNoValues) {
    EXPECT_EQ(0, ParseCall({"write", "1", "--", "1=2"}).m_Keys.GetSize());
    EXPECT_EQ(1, ParseCall({"write", "1", "--", "1=2"}).m_Values.GetSize());
    EXPECT_EQ(0, ParseCall({"write", "1", "1=2", "--"}).m_Values.GetSize());
    EXPECT_EQ(1, ParseCall({"write", "1", "1=2", "--"}).m_Keys.GetSize());
}

TEST(Call, TableTakesAGroup) {
    const CALL l_Call = ParseCall({"table", "0x30200"});
    EXPECT_EQ(OPERATION::Table, l_Call.m_Operation);
    EXPECT_EQ(0x30200U, l_Call.m_Group);
}

TEST(Call, SleepAndWaitEventTakeMilliseconds) {
    EXPECT_EQ(OPERATION::Sleep, ParseCall({"sleep", "5"}).m_Operation);
    EXPECT_EQ(5, ParseCall({"sleep", "5"}).m_Milliseconds);
    EXPECT_EQ(OPERATION::WaitEvent, ParseCall({"wait-event", "0"}).m_Operation);
    EXPECT_EQ(2147483647, ParseCall({"wait-event", "2147483647"}).m_Milliseconds);
}

struct WRONG_CALL_CASE {
    std::vector<std::string> m_Words;
    const char* m_Expected;
};

TEST(Call, WhatCannotBeMeantSaysWhatWasExpected) {
    const WRONG_CALL_CASE l_Cases[] = {
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
    for (const WRONG_CALL_CASE& l_Case : l_Cases)
        EXPECT_THAT(UsageErrorOf([&] { ParseCall(l_Case.m_Words); }), HasSubstr(l_Case.m_Expected));
}

} // namespace
