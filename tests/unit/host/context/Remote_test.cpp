// The options that name a blade elsewhere: what goes together, and what is only for this machine.
#include "host/commands/CommandList.h"
#include "host/connect/Elsewhere.h"
#include "host/context/GlobalOptions.h"

#include "host/TestFolder.h"
#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sys/stat.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

using Words = std::vector<std::string>;

GlobalOptions Taken(const Words& words) {
    GlobalOptions options;
    const auto commands = MakeCommands(OnCommandLine);
    AddGlobalOptions(commands->Root(), options);
    const Line line = commands->Read(words);
    NoteGiven(commands->Root(), line.m_command, options);
    TakeElsewhere(*line.m_command, options);
    return options;
}

TEST(Remote, WithoutAUrlTheHostIsThisMachines) {
    const GlobalOptions options = Taken({"leds"});
    EXPECT_EQ(nullptr, options.m_elsewhere);
    EXPECT_EQ(PlaceOfHost().Socket(), PlaceOf(options).Text());
}

TEST(Remote, TheUrlTheAccountAndTheTrustAreTaken) {
    const TestFolder folder;
    const std::string password = folder.Path() + "/password";
    std::ofstream(password) << "correct horse\n";
    chmod(password.c_str(), 0600);
    const GlobalOptions options = Taken({"--connect", "https://blade7", "leds", "--account", "anna", "--password-file",
                                         password, "--tls-ca", "ca.pem"});
    ASSERT_NE(nullptr, options.m_elsewhere);
    EXPECT_EQ("https://blade7:8443", PlaceOf(options).Text());
    EXPECT_EQ("anna", options.m_elsewhere->m_account);
    EXPECT_EQ("correct horse", options.m_elsewhere->m_password);
    EXPECT_EQ("ca.pem", options.m_elsewhere->m_tlsCa);
    EXPECT_EQ("", Taken({"--connect", "http://127.0.0.1:1", "leds"}).m_elsewhere->Authorization());
}

TEST(Remote, WhatDoesNotGoTogetherIsRefused) {
    struct WrongCase {
        Words m_words;
        const char* m_expected;
    };
    const WrongCase cases[] = {
        {{"--account", "anna", "leds"}, "--account goes with --connect URL only"},
        {{"--password-file", "f", "leds"}, "--password-file goes with --connect URL only"},
        {{"--tls-ca", "f", "leds"}, "--tls-ca goes with --connect URL only"},
        {{"--connect", "https://b", "--account", "anna", "leds"},
         "--account NAME and --password-file FILE go together"},
        {{"--connect", "https://b", "--password-file", "f", "leds"},
         "--account NAME and --password-file FILE go together"},
        {{"--connect", "https://b", "--account", "a:b", "--password-file", "f", "leds"}, "no account has ':'"},
        {{"--connect", "https://b", "--direct", "leds"}, "--direct: the blade of --connect has its own host"},
        {{"--connect", "http://127.0.0.1:1", "--tls-ca", "f", "leds"}, "--tls-ca: http:// has no certificate"},
        {{"--connect", "http://blade7:1", "leds"}, "over the network in clear"},
    };
    for (const WrongCase& testCase : cases)
        EXPECT_THAT(UsageErrorOf([&] { Taken(testCase.m_words); }), HasSubstr(testCase.m_expected));
}

TEST(Remote, CommandsForThisMachineAreRefusedBeforeAPasswordIsRead) {
    for (const Words& words : {Words{"run"}, {"pstn"}, {"metrics"}, {"account", "list"}, {"account", "remove", "x"}}) {
        Words all = {"--connect", "https://b", "--account", "a", "--password-file", "none"};
        all.insert(all.end(), words.begin(), words.end());
        EXPECT_THAT(UsageErrorOf([&] { Taken(all); }), HasSubstr("is for the machine that it runs on; give it there"));
    }
    for (const char* const word : {"web", "tls-init"})
        EXPECT_THAT(UsageErrorOf([&] { Taken({"--connect", "https://b", word}); }), HasSubstr("give it there"));
}

} // namespace
