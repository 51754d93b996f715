// The command line.
#include "host/commands/Options.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace BMHOST;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

OPTIONS Parsed(std::vector<const char*> a_Words) {
    a_Words.insert(a_Words.begin(), "bmhost");
    return ParseOptions(static_cast<int>(a_Words.size()), a_Words.data());
}

constexpr const char* COMMANDS[] = {"init",  "start",  "stop",      "fin",    "read",  "table",
                                    "write", "script", "inventory", "groups", "dsp",   "switch",
                                    "pstn",  "status", "firmware",  "run",    "shell", "completions"};

TEST(Options, HaveTheirDefaults) {
    setenv("XDG_STATE_HOME", "/state", 1);
    const OPTIONS l_Options = Parsed({"init"});
    EXPECT_EQ("", l_Options.m_Adaptor);
    EXPECT_EQ(1, l_Options.m_Mode);
    EXPECT_EQ(0, l_Options.m_LogLevel);
    EXPECT_EQ("", l_Options.m_LogFile);
    EXPECT_EQ("/state/bmhost", l_Options.m_Storage);
    EXPECT_FALSE(l_Options.m_Json);
    EXPECT_EQ(10000, l_Options.m_NoticeAfter);
    EXPECT_EQ("", l_Options.m_Answer);
    EXPECT_THAT(l_Options.m_Command, ElementsAre("init"));
}

TEST(Options, StorageIsInTheUsersStateFolder) {
    setenv("HOME", "/home/user", 1);
    for (const char* l_Unset : {"", static_cast<const char*>(nullptr)}) {
        unsetenv("XDG_STATE_HOME");
        if (l_Unset != nullptr) setenv("XDG_STATE_HOME", l_Unset, 1);
        EXPECT_EQ("/home/user/.local/state/bmhost", Parsed({"init"}).m_Storage);
    }
}

TEST(Options, AreTakenBeforeTheCommand) {
    const OPTIONS l_Options = Parsed({"--adaptor", "a.so", "--mode", "3", "--log-level=7", "--log", "f", "--storage",
                                      "d", "--json", "--notice-after", "50", "table", "0x300"});
    EXPECT_EQ("a.so", l_Options.m_Adaptor);
    EXPECT_EQ(3, l_Options.m_Mode);
    EXPECT_EQ(7, l_Options.m_LogLevel);
    EXPECT_EQ("f", l_Options.m_LogFile);
    EXPECT_EQ("d", l_Options.m_Storage);
    EXPECT_TRUE(l_Options.m_Json);
    EXPECT_EQ(50, l_Options.m_NoticeAfter);
    EXPECT_THAT(l_Options.m_Command, ElementsAre("table", "0x300"));
}

TEST(Options, LeaveTheCommandsWordsAsTheyAre) {
    EXPECT_THAT(Parsed({"write", "1", "2=-3", "--", "4=--json", "5="}).m_Command,
                ElementsAre("write", "1", "2=-3", "--", "4=--json", "5="));
    EXPECT_THAT(Parsed({"write", "1", "--", "4=5"}).m_Command, ElementsAre("write", "1", "--", "4=5"));
    EXPECT_THAT(Parsed({"script", "-"}).m_Command, ElementsAre("script", "-"));
}

TEST(Options, OfHalfALineToCompleteAreItsWords) {
    EXPECT_THAT(Parsed({"completions", "led", "set", "--c"}).m_Command,
                ElementsAre("completions", "led", "set", "--c"));
    EXPECT_THAT(Parsed({"completions", "write", "1", "--", ""}).m_Command,
                ElementsAre("completions", "write", "1", "--", ""));
    EXPECT_EQ("", Parsed({"completions", "dsp", "--help"}).m_Answer);
}

struct WRONG_OPTION_CASE {
    std::vector<const char*> m_Words;
    const char* m_Expected;
};

TEST(Options, WhatCannotBeMeantSaysWhatWasExpected) {
    const WRONG_OPTION_CASE l_Cases[] = {
        {{}, "no command: expected one of those that `bmhost --help` lists"},
        {{"--json"}, "no command"},
        {{"inti"}, "unknown command 'inti': expected one of those that `bmhost --help` lists"},
        {{"sleep", "5"}, "unknown command 'sleep'"},
        {{"--verbose", "init"}, "unknown option '--verbose'"},
        {{"table", "1", "--json"}, "'--json' after the command: options stand before it"},
        {{"--mode", "one", "init"}, "--mode"},
        {{"--log-level", "99999999999", "init"}, "--log-level"},
        {{"--notice-after", "0", "init"}, "--notice-after"},
        {{"--adaptor"}, "--adaptor"},
        {{"--storage", "/dev/null", "init"}, "--storage: '/dev/null' is no folder"},
    };
    for (const WRONG_OPTION_CASE& l_Case : l_Cases)
        EXPECT_THAT(UsageErrorOf([&] { Parsed(l_Case.m_Words); }), HasSubstr(l_Case.m_Expected));
}

TEST(Help, ListsEveryOptionCommandAndExitStatus) {
    for (const char* l_Word : {"--help", "-h"}) {
        const std::string l_Help = Parsed({l_Word}).m_Answer;
        EXPECT_THAT(l_Help, HasSubstr("Usage: bmhost [OPTIONS] COMMAND ..."));
        for (const char* l_Text : {"--adaptor", "--mode", "--log-level", "--log ", "--storage", "--json",
                                   "--notice-after", "--version", "Exit status: 0 "})
            EXPECT_THAT(l_Help, HasSubstr(l_Text));
        for (const char* l_Command : COMMANDS)
            EXPECT_THAT(l_Help, HasSubstr(std::string("\n  ") + l_Command));
    }
}

TEST(Help, OfEveryCommandShowsItsUsage) {
    for (const char* l_Command : COMMANDS) {
        const std::string l_Usage = std::string("Usage: bmhost [OPTIONS] ") + l_Command;
        EXPECT_THAT(Parsed({l_Command, "--help"}).m_Answer, StartsWith(l_Usage));
        EXPECT_THAT(Parsed({l_Command, "-h"}).m_Answer, StartsWith(l_Usage));
    }
}

TEST(Help, IsGivenWhereverItIsAskedFor) {
    EXPECT_THAT(Parsed({"write", "1", "--", "2=3", "--help"}).m_Answer, StartsWith("Usage: bmhost [OPTIONS] write"));
}

TEST(Help, OfCallsWithParametersTellsHowTheyAreWritten) {
    for (const char* l_Command : {"read", "table", "write", "script"}) {
        EXPECT_THAT(Parsed({l_Command, "--help"}).m_Answer, AllOf(HasSubstr("GROUP"), HasSubstr("VALUE"))) << l_Command;
    }
}

TEST(Help, OfScriptsTellsOfTheirOwnCalls) {
    EXPECT_THAT(Parsed({"script", "--help"}).m_Answer, AllOf(HasSubstr("sleep MS"), HasSubstr("wait-event MS")));
}

TEST(Version, IsTheProjects) {
    EXPECT_EQ("bmhost " PROJECT_VERSION_TEXT "\n", Parsed({"--version"}).m_Answer);
}

} // namespace
