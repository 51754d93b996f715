// The options that every command takes.
#include "host/context/GlobalOptions.h"

#include "host/commands/CommandList.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace bmhost;
using testing::HasSubstr;

using Words = std::vector<std::string>;

struct Parsed {
    explicit Parsed(const Words& words) {
        const auto commands = MakeCommands(OnCommandLine);
        AddGlobalOptions(commands->Root(), m_options);
        const Line line = commands->Read(words);
        m_answer = line.m_answer;
        if (line.m_command != nullptr) m_path = line.m_command->Path();
        NoteGiven(commands->Root(), line.m_command, m_options);
    }

    GlobalOptions m_options;
    std::string m_path;
    std::string m_answer;
};

TEST(GlobalOptions, HaveTheirDefaults) {
    setenv("XDG_STATE_HOME", "/state", 1);
    const Parsed parsed({"init"});
    EXPECT_EQ("init", parsed.m_path);
    EXPECT_EQ("", parsed.m_answer);
    EXPECT_EQ("", parsed.m_options.m_adaptor);
    EXPECT_EQ(1, parsed.m_options.m_mode);
    EXPECT_EQ(0, parsed.m_options.m_logLevel);
    EXPECT_EQ("", parsed.m_options.m_logFile);
    EXPECT_EQ("/state/bmhost", parsed.m_options.m_storage);
    EXPECT_FALSE(parsed.m_options.m_json);
    EXPECT_EQ(10000, parsed.m_options.m_noticeAfter);
    EXPECT_FALSE(parsed.m_options.m_timeout);
    EXPECT_FALSE(parsed.m_options.m_direct || parsed.m_options.m_quiet || parsed.m_options.m_simulated ||
                 parsed.m_options.m_wide);
    EXPECT_THAT(parsed.m_options.m_forOwnAdaptor, testing::IsEmpty());
}

TEST(GlobalOptions, ThoseOfAnOwnAdaptorAreKnownWhereTheyAreGiven) {
    EXPECT_THAT(Parsed({"--json", "init", "-q", "--direct"}).m_options.m_forOwnAdaptor, testing::IsEmpty());
    EXPECT_THAT(Parsed({"--mode", "1", "init", "--log", "f"}).m_options.m_forOwnAdaptor,
                testing::ElementsAre("--mode", "--log"));
}

TEST(GlobalOptions, TheTimeLimitIsTheGivenOneOrThatOfWhatSomebodyWaitsFor) {
    using namespace std::chrono_literals;
    const GlobalOptions given = Parsed({"--timeout", "1.5", "leds"}).m_options;
    EXPECT_EQ(1500ms, TimeLimit(given, true));
    EXPECT_EQ(1500ms, TimeLimit(given, false));
    const GlobalOptions none = Parsed({"leds"}).m_options;
    EXPECT_EQ(30s, TimeLimit(none, true));
    EXPECT_EQ(std::nullopt, TimeLimit(none, false));
    const GlobalOptions upgrade = Parsed({"firmware", "update", "--target", "rtm", "f"}).m_options;
    EXPECT_EQ(std::nullopt, TimeLimit(upgrade, true));
    EXPECT_EQ(10s, TimeLimit(Parsed({"firmware", "update", "--target", "rtm", "f", "--timeout=10"}).m_options, true));
}

TEST(GlobalOptions, StorageIsInASimulatedBladeItsOwn) {
    setenv("BLADESIM_RUN_DIR", "/run/blade", 1);
    EXPECT_EQ("/run/blade/bmhost", Parsed({"init"}).m_options.m_storage);
    unsetenv("BLADESIM_RUN_DIR");
}

// A line of every command, which its own words do not take from the options.
const Words LineOfEach[] = {{"init"},
                            {"start"},
                            {"stop"},
                            {"fin"},
                            {"read", "0x300", "0x303=-3"},
                            {"table", "0x300"},
                            {"write", "0x300", "1=i:-1", "--", "2=-x"},
                            {"write", "0x300", "--"},
                            {"script", "-"},
                            {"inventory"},
                            {"leds"},
                            {"led", "set", "1", "1", "on", "--color", "red"},
                            {"dsp"},
                            {"dsp", "set-ip", "1", "10.0.0.1"},
                            {"switch"},
                            {"switch", "enable", "1"},
                            {"switch", "disable", "1"},
                            {"pstn"},
                            {"status"},
                            {"firmware", "update", "--target", "amc", "--bay", "3", "file"},
                            {"firmware", "show"},
                            {"run"},
                            {"shell"},
                            {"groups"},
                            {"help", "led", "set"}};

TEST(GlobalOptions, StandBeforeAndAfterEveryCommand) {
    const Words options = {"--adaptor", "a.so",      "--mode",   "3",      "--log-level=7",  "--log",
                           "f",         "--storage", "d",        "--json", "--notice-after", "50",
                           "--timeout", "0.5",       "--direct", "-q",     "--simulated",    "--wide"};
    for (const Words& line : LineOfEach) {
        Words before = options;
        before.insert(before.end(), line.begin(), line.end());
        Words after = line;
        after.insert(after.end(), options.begin(), options.end());
        for (const Words& words : {before, after}) {
            const Parsed parsed(words);
            EXPECT_THAT(parsed.m_path, testing::StartsWith(line[0])) << testing::PrintToString(words);
            EXPECT_EQ("a.so", parsed.m_options.m_adaptor);
            EXPECT_EQ(3, parsed.m_options.m_mode);
            EXPECT_EQ(7, parsed.m_options.m_logLevel);
            EXPECT_EQ("f", parsed.m_options.m_logFile);
            EXPECT_EQ("d", parsed.m_options.m_storage);
            EXPECT_TRUE(parsed.m_options.m_json) << testing::PrintToString(words);
            EXPECT_EQ(50, parsed.m_options.m_noticeAfter);
            EXPECT_EQ(0.5, parsed.m_options.m_timeout);
            EXPECT_TRUE(parsed.m_options.m_direct && parsed.m_options.m_quiet && parsed.m_options.m_simulated &&
                        parsed.m_options.m_wide)
                << testing::PrintToString(words);
        }
    }
}

TEST(GlobalOptions, WhatCannotBeMeantSaysWhatWasExpected) {
    struct WrongOptionCase {
        Words m_words;
        const char* m_expected;
    };
    const WrongOptionCase cases[] = {
        {{"--mode", "one", "init"}, "--mode"},
        {{"--log-level", "99999999999", "init"}, "--log-level"},
        {{"--notice-after", "0", "init"}, "--notice-after"},
        {{"--timeout", "0", "init"}, "--timeout"},
        {{"--timeout", "-1", "init"}, "--timeout"},
        {{"--timeout", "soon", "init"}, "--timeout"},
        {{"--adaptor"}, "--adaptor"},
        {{"init", "--adaptor"}, "--adaptor"},
        {{"--storage", "/dev/null", "init"}, "--storage: '/dev/null' is no folder"},
        {{"init", "--storage", "/dev/null"}, "--storage: '/dev/null' is no folder"},
        {{"--adapter", "a", "init"}, "; did you mean --adaptor?"},
    };
    for (const WrongOptionCase& testCase : cases)
        EXPECT_THAT(UsageErrorOf([&] { Parsed parsed(testCase.m_words); }), HasSubstr(testCase.m_expected));
}

TEST(GlobalOptions, VersionIsTheProjects) {
    for (const Words& words : {Words{"--version"}, {"-V"}, {"leds", "-V"}, {"read", "--version"}})
        EXPECT_EQ("bmhost " PROJECT_VERSION_TEXT "\n", Parsed(words).m_answer);
}

TEST(GlobalOptions, AreInTheHelp) {
    for (const char* word : {"--help", "-h", "help"}) {
        const auto commands = MakeCommands(OnCommandLine);
        GlobalOptions options;
        AddGlobalOptions(commands->Root(), options);
        const Line line = commands->Read({word});
        const std::string help = line.m_command != nullptr ? commands->Help({}) : line.m_answer;
        EXPECT_THAT(help, HasSubstr("Usage: bmhost [OPTIONS] COMMAND ..."));
        for (const char* text : {"--adaptor FILE", "--mode N", "--log-level N", "--log FILE", "--storage DIR", "--json",
                                 "--notice-after MS", "--timeout SECONDS", "--direct", "-q,--quiet", "--simulated",
                                 "--wide", "--connect URL", "--account NAME", "--password-file FILE", "--tls-ca FILE",
                                 "-V,--version", "-h,--help", "Exit status: 0 "})
            EXPECT_THAT(help, HasSubstr(text));
    }
}

} // namespace
