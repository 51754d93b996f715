// What the shell and `bmhost completions` complete.
#include "host/words/Completion.h"

#include "host/commands/CommandList.h"
#include "host/context/GlobalOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

std::vector<std::string> InTheShell(const std::string& text) {
    return CompleteText(*MakeCommands(InShell), text);
}

Completion OnTheCommandLine(const std::vector<std::string>& earlier, const std::string& begun) {
    const auto commands = MakeCommands(OnCommandLine);
    GlobalOptions globals;
    AddGlobalOptions(commands->Root(), globals);
    return Complete(*commands, earlier, begun);
}

TEST(Completions, OfTheFirstWordAreCommands) {
    EXPECT_THAT(InTheShell("re"), ElementsAre("read", "reset"));
    EXPECT_THAT(InTheShell("le"), ElementsAre("led", "leds"));
    EXPECT_THAT(InTheShell("zz"), IsEmpty());
    EXPECT_THAT(InTheShell(""), AllOf(Contains("wait-event"), Contains("sleep"), Contains("status"),
                                      Not(Contains("shell")), Not(Contains("run"))));
    EXPECT_THAT(OnTheCommandLine({}, "").m_words, AllOf(Contains("run"), Not(Contains("sleep"))));
}

TEST(Completions, OfACallsGroupAreItsShortestNames) {
    EXPECT_THAT(InTheShell("table bo"), ElementsAre("board"));
    EXPECT_THAT(InTheShell("read firm"), ElementsAre("firmware_update"));
    EXPECT_THAT(InTheShell("write  baseboard_led"), ElementsAre("baseboard_led", "baseboard_led_internal"));
}

TEST(Completions, OfParametersAreTheGroupsOwn) {
    EXPECT_THAT(InTheShell("read amc_table b"), ElementsAre("bay="));
    EXPECT_THAT(InTheShell("write 0x30200 bay=3 -- run"), ElementsAre("run_status="));
    EXPECT_THAT(OnTheCommandLine({"--json", "write", "amc_table", "bay=3", "--"}, "run").m_words,
                ElementsAre("run_status="));
    EXPECT_THAT(InTheShell("read nonsense b"), IsEmpty());
    EXPECT_THAT(InTheShell("table board b"), IsEmpty());
}

TEST(Completions, OfOtherCommandsAreTheirWords) {
    EXPECT_THAT(InTheShell("firmware up"), ElementsAre("update"));
    EXPECT_THAT(InTheShell("firmware update --target "), ElementsAre("amc", "board", "rtm"));
    EXPECT_THAT(InTheShell("led s"), ElementsAre("set"));
    EXPECT_THAT(InTheShell("led set bo"), ElementsAre("board"));
    EXPECT_THAT(InTheShell("led set board h"), ElementsAre("health", "hot-swap"));
    EXPECT_THAT(InTheShell("led set board health o"), ElementsAre("off", "on"));
    EXPECT_THAT(InTheShell("led set board health on --color bl"), ElementsAre("blue"));
    EXPECT_THAT(InTheShell("switch enable "), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(InTheShell("help inv"), ElementsAre("inventory"));
    EXPECT_THAT(InTheShell("help led "), ElementsAre("set"));
    EXPECT_THAT(InTheShell("inventory "), IsEmpty());
}

TEST(Completions, OfFilesAndFoldersAreLeftToWhoAsks) {
    EXPECT_EQ(Choices::Kind::File, OnTheCommandLine({"script"}, "ca").m_kind);
    EXPECT_EQ(Choices::Kind::File, OnTheCommandLine({"--adaptor"}, "").m_kind);
    EXPECT_EQ(Choices::Kind::File, OnTheCommandLine({"firmware", "update", "--target", "rtm"}, "im").m_kind);
    EXPECT_EQ(Choices::Kind::Folder, OnTheCommandLine({"leds", "--storage"}, "").m_kind);
    EXPECT_EQ(Choices::Kind::Words, OnTheCommandLine({"leds"}, "x").m_kind);
}

TEST(Completions, OfOptionsAreTheCommandsOwnAndWhenAskedForAll) {
    EXPECT_THAT(OnTheCommandLine({"leds"}, "--j").m_words, ElementsAre("--json"));
    EXPECT_THAT(OnTheCommandLine({"leds"}, "").m_words, IsEmpty());
    EXPECT_THAT(OnTheCommandLine({"led", "set"}, "--").m_words, AllOf(Contains("--color"), Contains("--mode")));
}

} // namespace
