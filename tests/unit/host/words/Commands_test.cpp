// Registration of commands, and the reading of lines.
#include "host/words/Commands.h"

#include "host/UsageError.h"
#include "host/words/Completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Words = std::vector<std::string>;

struct PaintWords {
    std::string m_place;
    std::optional<std::string> m_color;
    std::optional<int> m_coats;
    bool m_dry = false;
};

// A program with "paint wall PLACE" and "echo WORD ...", and one option that all take.
class CommandsTest : public testing::Test {
protected:
    CommandsTest() {
        m_commands.Root().Flag({"--json", "", "lines for programs"}, m_json);
        m_commands.Root().Option({"--mode", "N", "how it is done"}, m_mode, {});
        Command& wall = m_commands.Add("paint", "paint things", OnCommandLine).Add("wall", "paint a wall");
        m_paint = wall.Own<PaintWords>();
        wall.Option({"--color", "C", "its colour", {"red", "green"}}, m_paint->m_color)
            .Option({"--coats", "N", "how often"}, m_paint->m_coats, {1, 3})
            .Word("PLACE", m_paint->m_place, {"hall", "kitchen"})
            .Flag({"--dry", "", "touch nothing"}, m_paint->m_dry)
            .Details("It takes a day.\n")
            .Example("program paint wall hall")
            .Run([](Context&) { return true; });
        Command& echo = m_commands.Add("echo", "say it again", OnCommandLine);
        m_echo = echo.Own<Words>();
        echo.Dash(Dashes::LongOnly).Words("WORD ...", *m_echo).Run([](Context&) { return true; });
        Command& quote = m_commands.Add("quote", "say it as it is", OnCommandLine);
        m_quote = quote.Own<Words>();
        quote.Dash(Dashes::AreWords).Words("WORD ...", *m_quote).Run([](Context&) { return true; });
        m_commands.Add("leave", "go away", InShell).Run([](Context&) { return true; });
    }

    std::string Refusal(const Words& words) {
        return UsageErrorOf([&] { m_commands.Read(words); });
    }
    Words Completed(const Words& earlier, const std::string& begun) {
        return Complete(m_commands, earlier, begun).m_words;
    }

    Commands m_commands{OnCommandLine};
    bool m_json = false;
    int m_mode = 1;
    std::shared_ptr<PaintWords> m_paint;
    std::shared_ptr<Words> m_echo;
    std::shared_ptr<Words> m_quote;
};

TEST_F(CommandsTest, TakeTheOptionsOfAllBeforeAndAfterTheCommand) {
    const Words lines[] = {{"--json", "--mode", "2", "paint", "wall", "hall"},
                           {"paint", "--json", "wall", "--mode=2", "hall"},
                           {"paint", "wall", "hall", "--mode", "2", "--json"}};
    for (const Words& words : lines) {
        m_json = false;
        m_mode = 0;
        EXPECT_EQ("paint wall", m_commands.Read(words).m_command->Path());
        EXPECT_TRUE(m_json);
        EXPECT_EQ(2, m_mode);
        EXPECT_EQ("hall", m_paint->m_place);
    }
}

TEST_F(CommandsTest, WordsOfOneLineAreNotThoseOfTheNext) {
    m_commands.Read({"paint", "wall", "hall", "--color", "red", "--coats", "2", "--dry"});
    EXPECT_EQ("red", m_paint->m_color);
    EXPECT_EQ(2, m_paint->m_coats);
    EXPECT_TRUE(m_paint->m_dry);
    m_commands.Read({"paint", "wall", "kitchen"});
    EXPECT_EQ("kitchen", m_paint->m_place);
    EXPECT_FALSE(m_paint->m_color || m_paint->m_coats || m_paint->m_dry);
}

TEST_F(CommandsTest, AWordMayLookLikeACommand) {
    m_commands.Read({"paint", "wall", "echo"});
    EXPECT_EQ("echo", m_paint->m_place);
    m_commands.Read({"echo", "paint", "wall"});
    EXPECT_THAT(*m_echo, ElementsAre("paint", "wall"));
}

TEST_F(CommandsTest, WordsMayBeginWithADash) {
    m_commands.Read({"echo", "-1", "--", "-x", "", "--json", "[a]x"});
    EXPECT_THAT(*m_echo, ElementsAre("-1", "--", "-x", "", "[a]x"));
    EXPECT_TRUE(m_json) << "after -- as well";
    m_commands.Read({"paint", "wall", "--", "-x"});
    EXPECT_EQ("-x", m_paint->m_place);
    EXPECT_THAT(Refusal({"echo", "a", "--colour"}), HasSubstr("unknown option '--colour'"));
}

TEST_F(CommandsTest, AllWordsMayBeOptionsOfAnotherLine) {
    m_commands.Read({"quote", "paint", "--help", "--", "--jso"});
    EXPECT_THAT(*m_quote, ElementsAre("paint", "--help", "--", "--jso"));
    m_commands.Read({"quote", "--", "--help"});
    EXPECT_THAT(*m_quote, ElementsAre("--help"));
    EXPECT_THAT(m_commands.Read({"quote", "--help"}).m_answer, StartsWith("Usage: bmhost [OPTIONS] quote WORD ..."));
}

TEST_F(CommandsTest, WhatCannotBeMeantSaysWhatWasExpected) {
    struct WrongCase {
        Words m_words;
        const char* m_expected;
    };
    const WrongCase cases[] = {
        {{}, "no command: expected one of those that `bmhost --help` lists"},
        {{"--json"}, "no command: expected one of those that `bmhost --help` lists"},
        {{"nothing"}, "unknown command 'nothing': expected one of those that `bmhost --help` lists"},
        {{"pinat"}, "unknown command 'pinat': expected one of those that `bmhost --help` lists; did you mean paint?"},
        {{"leave"}, "unknown command 'leave': expected one of those that `bmhost --help` lists"},
        {{"--", "echo"}, "unknown option '--': expected one of those that `bmhost --help` lists"},
        {{"--jsno", "echo"},
         "unknown option '--jsno': expected one of those that `bmhost --help` lists; did you mean --json?"},
        {{"paint"}, "'paint' is not enough: expected paint wall [--color C] [--coats N] PLACE [--dry]"},
        {{"paint", "wlal", "hall"},
         "unknown command 'paint wlal': expected paint wall [--color C] [--coats N] PLACE [--dry]; did you mean wall?"},
        {{"paint", "wall"}, "'paint wall' is not enough: expected paint wall [--color C] [--coats N] PLACE [--dry]"},
        {{"paint", "wall", "a", "b"}, "'b' is too much: expected paint wall [--color C] [--coats N] PLACE [--dry]"},
        {{"paint", "wall", "a", "--colour=red"},
         "unknown option '--colour=red': expected one of those that `bmhost paint wall --help` lists; did you mean --color?"},
        {{"paint", "wall", "a", "--coats", "4"}, "paint wall: --coats: Value 4 not in range 1 to 3"},
        {{"echo", "--mode", "x"}, "Could not convert: --mode = x"},
    };
    for (const WrongCase& testCase : cases)
        EXPECT_EQ(testCase.m_expected, Refusal(testCase.m_words));
}

TEST_F(CommandsTest, HelpIsMadeOfTheRegistration) {
    const std::string help = "Usage: bmhost [OPTIONS] paint wall [--color C] [--coats N] PLACE [--dry]\n\n"
                             "paint a wall\n\nIt takes a day.\n\n"
                             "  --color C         its colour\n"
                             "  --coats N         how often\n"
                             "  --dry             touch nothing\n\n"
                             "Example: program paint wall hall\n\n"
                             "`bmhost --help` lists the options that every command takes.\n";
    EXPECT_EQ(help, m_commands.Read({"paint", "wall", "--help"}).m_answer);
    EXPECT_EQ(help, m_commands.Read({"paint", "wall", "a", "-h"}).m_answer);
    EXPECT_EQ(help, m_commands.Read({"--help", "paint", "wall"}).m_answer);
    EXPECT_EQ(help, m_commands.Read({"paint", "--help"}).m_answer) << "all of the family";
    EXPECT_EQ(help, m_commands.Help({"paint", "wall"}));
    EXPECT_THAT(m_commands.Help({}), HasSubstr("\n  paint wall PLACE ...                          paint a wall\n"));
    EXPECT_EQ(m_commands.Help({}), m_commands.Read({"--help"}).m_answer);
    EXPECT_EQ("no help for 'paint wal': expected a command that `bmhost --help` lists; did you mean wall?",
              UsageErrorOf([&] {
                  m_commands.Help({"paint", "wal"});
              }));
}

TEST_F(CommandsTest, CompletionIsMadeOfTheRegistration) {
    EXPECT_THAT(Completed({}, ""), ElementsAre("--json", "--mode", "echo", "paint", "quote"));
    EXPECT_THAT(Completed({}, "--"), ElementsAre("--json", "--mode"));
    EXPECT_THAT(Completed({"--mode", "2"}, "pa"), ElementsAre("paint"));
    EXPECT_THAT(Completed({"paint"}, ""), ElementsAre("wall"));
    EXPECT_THAT(Completed({"paint", "wall"}, ""), ElementsAre("--coats", "--color", "--dry", "hall", "kitchen"));
    EXPECT_THAT(Completed({"paint", "wall"}, "--j"), ElementsAre("--json"));
    EXPECT_THAT(Completed({"paint", "wall", "--color"}, ""), ElementsAre("green", "red"));
    EXPECT_THAT(Completed({"paint", "wall", "--color", "red"}, "k"), ElementsAre("kitchen"));
    EXPECT_THAT(Completed({"paint", "wall", "--color=red"}, "k"), ElementsAre("kitchen"));
    EXPECT_THAT(Completed({"paint", "wall", "hall"}, "k"), IsEmpty());
    EXPECT_THAT(CompleteText(m_commands, "paint wall --co"), ElementsAre("--coats", "--color"));
}

} // namespace
