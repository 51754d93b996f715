// Calls as they are typed.
#include "host/context/FakeContext.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

using Words = std::vector<std::string>;

Call CallOf(const Words& words, Place place = OnCommandLine) {
    FakeContext context;
    const auto commands = MakeCommands(place);
    Do(*commands->Read(words).m_command, context);
    return context.m_calls.at(0);
}

TEST(Calls, LifecycleCallsStandAlone) {
    constexpr std::pair<const char*, Operation> cases[] = {
        {"init", Operation::Init}, {"start", Operation::Start}, {"stop", Operation::Stop}, {"fin", Operation::Fin}};
    for (const auto& [word, operation] : cases) {
        EXPECT_EQ(operation, CallOf({word}).m_operation);
        EXPECT_EQ(operation, CallOf({word}, InScript).m_operation);
        EXPECT_EQ(word, OperationName(operation));
    }
}

TEST(Calls, ReadTakesGroupAndKeys) {
    const Call call = CallOf({"read", "0x300", "0x303=-3", "AMC_BAY=s:-x", "1=i:-1"});
    EXPECT_EQ(Operation::Read, call.m_operation);
    EXPECT_EQ(0x300U, call.m_group);
    ASSERT_EQ(3, call.m_keys.GetSize());
    EXPECT_EQ(-3, call.m_keys.Get(0)->GetInt());
    EXPECT_EQ("-x", call.m_keys.Get(1)->GetString());
    EXPECT_EQ(-1, call.m_keys.Get(2)->GetInt());
}

TEST(Calls, WriteKeepsItsTwoDashes) {
    const Call call = CallOf({"write", "1", "2=-3", "--", "4=--json", "5="});
    ASSERT_EQ(1, call.m_keys.GetSize());
    ASSERT_EQ(2, call.m_values.GetSize());
    EXPECT_EQ("--json", call.m_values.Get(0)->GetString());
    EXPECT_EQ("", call.m_values.Get(1)->GetString());
    EXPECT_EQ(0, CallOf({"write", "1", "--", "4=5"}).m_keys.GetSize());
    EXPECT_EQ(0, CallOf({"write", "1", "4=5", "--"}).m_values.GetSize());
}

TEST(Calls, OneLineLeavesNothingToTheNext) {
    const auto lines = MakeCommands(InScript);
    FakeContext context;
    Do(*lines->Read({"write", "1", "2=3", "--", "4=5"}).m_command, context);
    Do(*lines->Read({"read", "0x300"}).m_command, context);
    Do(*lines->Read({"write", "6", "--"}).m_command, context);
    EXPECT_EQ(0, context.m_calls.at(1).m_keys.GetSize());
    EXPECT_EQ(0, context.m_calls.at(2).m_keys.GetSize());
    EXPECT_EQ(0, context.m_calls.at(2).m_values.GetSize());
}

struct WrongCallCase {
    Words m_words;
    const char* m_expected;
};

TEST(Calls, WhatCannotBeMeantSaysWhatWasExpected) {
    const WrongCallCase cases[] = {
        {{"Init"},
         "unknown call 'Init': expected init, start, stop, fin, read, table, write, sleep or wait-event; did you mean "
         "init?"},
        {{"tabel", "1"}, "; did you mean table?"},
        {{"inventory"}, "unknown call 'inventory': expected init, start"},
        {{"--json"}, "unknown call '--json'"},
        {{"read", "1", "--json"}, "unknown option '--json'"},
        {{"read", "--help"}, "unknown option '--help'"},
        {{"init", "now"}, "'now' is too much: expected init"},
        {{"read"}, "'read' is not enough: expected read GROUP [ID=VALUE ...]"},
        {{"read", "1", "bay"}, "'bay': expected ID=VALUE"},
        {{"read", "1", "-x=2"}, "unknown parameter '-x'"},
        {{"read", "1", "--", "1=2"}, "'--' in a read: expected read GROUP [ID=VALUE ...]"},
        {{"table"}, "'table' is not enough: expected table GROUP"},
        {{"table", "1", "2=3"}, "'2=3' is too much: expected table GROUP"},
        {{"table", "nosuch"}, "unknown group 'nosuch'"},
        {{"table", "amc_tabel"}, "; did you mean AMC_TABLE?"},
        {{"write"}, "'write' is not enough"},
        {{"write", "1", "2=3"},
         "no '--' between keys and values: expected write GROUP [ID=VALUE ...] -- [ID=VALUE ...]"},
        {{"write", "1", "--", "1=2", "--"}, "'--': expected ID=VALUE"},
        {{"sleep"}, "'sleep' is not enough: expected sleep MS"},
        {{"sleep", "-1"}, "'-1' is no number of milliseconds: expected sleep MS"},
        {{"sleep", "2147483648"}, "is no number of milliseconds"},
        {{"wait-event", "soon"}, "'soon' is no number of milliseconds: expected wait-event MS"},
        {{"wait-event", "1", "2"}, "'2' is too much"},
    };
    for (const WrongCallCase& testCase : cases)
        EXPECT_THAT(UsageErrorOf([&] { CallOf(testCase.m_words, InScript); }), HasSubstr(testCase.m_expected));
}

TEST(Calls, WaitsAreForShellsAndScripts) {
    EXPECT_EQ(5, CallOf({"sleep", "5"}, InScript).m_milliseconds);
    EXPECT_EQ(0, CallOf({"wait-event", "0"}, InShell).m_milliseconds);
    EXPECT_THAT(UsageErrorOf([] { CallOf({"sleep", "5"}); }), HasSubstr("unknown command 'sleep'"));
}

} // namespace
