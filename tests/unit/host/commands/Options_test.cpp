// The command line.
#include "host/commands/Options.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace bmhost;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

Options Parsed(std::vector<const char*> words) {
    words.insert(words.begin(), "bmhost");
    return ParseOptions(static_cast<int>(words.size()), words.data());
}

constexpr const char* Commands[] = {"init",  "start",  "stop",      "fin",    "read",  "table",
                                    "write", "script", "inventory", "groups", "dsp",   "switch",
                                    "pstn",  "status", "firmware",  "run",    "shell", "completions"};

TEST(Options, HaveTheirDefaults) {
    setenv("XDG_STATE_HOME", "/state", 1);
    const Options options = Parsed({"init"});
    EXPECT_EQ("", options.m_adaptor);
    EXPECT_EQ(1, options.m_mode);
    EXPECT_EQ(0, options.m_logLevel);
    EXPECT_EQ("", options.m_logFile);
    EXPECT_EQ("/state/bmhost", options.m_storage);
    EXPECT_FALSE(options.m_json);
    EXPECT_EQ(10000, options.m_noticeAfter);
    EXPECT_EQ("", options.m_answer);
    EXPECT_THAT(options.m_command, ElementsAre("init"));
}

TEST(Options, StorageIsInTheUsersStateFolder) {
    setenv("HOME", "/home/user", 1);
    for (const char* unset : {"", static_cast<const char*>(nullptr)}) {
        unsetenv("XDG_STATE_HOME");
        if (unset != nullptr) setenv("XDG_STATE_HOME", unset, 1);
        EXPECT_EQ("/home/user/.local/state/bmhost", Parsed({"init"}).m_storage);
    }
}

TEST(Options, AreTakenBeforeTheCommand) {
    const Options options = Parsed({"--adaptor", "a.so", "--mode", "3", "--log-level=7", "--log", "f", "--storage", "d",
                                    "--json", "--notice-after", "50", "table", "0x300"});
    EXPECT_EQ("a.so", options.m_adaptor);
    EXPECT_EQ(3, options.m_mode);
    EXPECT_EQ(7, options.m_logLevel);
    EXPECT_EQ("f", options.m_logFile);
    EXPECT_EQ("d", options.m_storage);
    EXPECT_TRUE(options.m_json);
    EXPECT_EQ(50, options.m_noticeAfter);
    EXPECT_THAT(options.m_command, ElementsAre("table", "0x300"));
}

TEST(Options, LeaveTheCommandsWordsAsTheyAre) {
    EXPECT_THAT(Parsed({"write", "1", "2=-3", "--", "4=--json", "5="}).m_command,
                ElementsAre("write", "1", "2=-3", "--", "4=--json", "5="));
    EXPECT_THAT(Parsed({"write", "1", "--", "4=5"}).m_command, ElementsAre("write", "1", "--", "4=5"));
    EXPECT_THAT(Parsed({"script", "-"}).m_command, ElementsAre("script", "-"));
}

TEST(Options, OfHalfALineToCompleteAreItsWords) {
    EXPECT_THAT(Parsed({"completions", "led", "set", "--c"}).m_command,
                ElementsAre("completions", "led", "set", "--c"));
    EXPECT_THAT(Parsed({"completions", "write", "1", "--", ""}).m_command,
                ElementsAre("completions", "write", "1", "--", ""));
    EXPECT_EQ("", Parsed({"completions", "dsp", "--help"}).m_answer);
}

struct WrongOptionCase {
    std::vector<const char*> m_words;
    const char* m_expected;
};

TEST(Options, WhatCannotBeMeantSaysWhatWasExpected) {
    const WrongOptionCase cases[] = {
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
    for (const WrongOptionCase& testCase : cases)
        EXPECT_THAT(UsageErrorOf([&] { Parsed(testCase.m_words); }), HasSubstr(testCase.m_expected));
}

TEST(Help, ListsEveryOptionCommandAndExitStatus) {
    for (const char* word : {"--help", "-h"}) {
        const std::string help = Parsed({word}).m_answer;
        EXPECT_THAT(help, HasSubstr("Usage: bmhost [OPTIONS] COMMAND ..."));
        for (const char* text : {"--adaptor", "--mode", "--log-level", "--log ", "--storage", "--json",
                                 "--notice-after", "--version", "Exit status: 0 "})
            EXPECT_THAT(help, HasSubstr(text));
        for (const char* command : Commands)
            EXPECT_THAT(help, HasSubstr(std::string("\n  ") + command));
    }
}

TEST(Help, OfEveryCommandShowsItsUsage) {
    for (const char* command : Commands) {
        const std::string usage = std::string("Usage: bmhost [OPTIONS] ") + command;
        EXPECT_THAT(Parsed({command, "--help"}).m_answer, StartsWith(usage));
        EXPECT_THAT(Parsed({command, "-h"}).m_answer, StartsWith(usage));
    }
}

TEST(Help, IsGivenWhereverItIsAskedFor) {
    EXPECT_THAT(Parsed({"write", "1", "--", "2=3", "--help"}).m_answer, StartsWith("Usage: bmhost [OPTIONS] write"));
}

TEST(Help, OfCallsWithParametersTellsHowTheyAreWritten) {
    for (const char* command : {"read", "table", "write", "script"}) {
        EXPECT_THAT(Parsed({command, "--help"}).m_answer, AllOf(HasSubstr("GROUP"), HasSubstr("VALUE"))) << command;
    }
}

TEST(Help, OfScriptsTellsOfTheirOwnCalls) {
    EXPECT_THAT(Parsed({"script", "--help"}).m_answer, AllOf(HasSubstr("sleep MS"), HasSubstr("wait-event MS")));
}

TEST(Version, IsTheProjects) {
    EXPECT_EQ("bmhost " PROJECT_VERSION_TEXT "\n", Parsed({"--version"}).m_answer);
}

} // namespace
