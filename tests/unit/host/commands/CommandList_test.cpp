// Every command has what its user looks for.
#include "host/commands/CommandList.h"

#include "host/context/FakeContext.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace {

using namespace bmhost;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using Words = std::vector<std::string>;

// Each command that runs something, members of families too.
void ForEach(const Command& family, const std::function<void(const Command&, const Words& path)>& visit,
             Words path = {}) {
    for (const auto& command : family.Members()) {
        path.push_back(command->Name());
        if (command->Runs()) visit(*command, path);
        ForEach(*command, visit, path);
        path.pop_back();
    }
}

TEST(CommandList, HasTheCommandsOfEachPlace) {
    const auto namesIn = [](Place place) {
        Words names;
        const auto commands = MakeCommands(place);
        for (const auto& command : commands->Root().Members())
            names.push_back(command->Name());
        return names;
    };
    EXPECT_THAT(namesIn(OnCommandLine),
                ElementsAre("init", "start", "stop", "fin", "read", "table", "write", "script", "inventory", "leds",
                            "status", "pstn", "groups", "why", "led", "dsp", "switch", "reset", "firmware", "run",
                            "watch", "events", "log", "metrics", "report", "account", "web", "tls-init", "shell",
                            "completions", "help"));
    EXPECT_THAT(namesIn(InScript),
                ElementsAre("init", "start", "stop", "fin", "read", "table", "write", "sleep", "wait-event"));
    EXPECT_THAT(namesIn(InShell), ElementsAre("init", "start", "stop", "fin", "read", "table", "write", "sleep",
                                              "wait-event", "inventory", "leds", "status", "pstn", "groups", "why",
                                              "led", "dsp", "switch", "reset", "firmware", "help"));
}

TEST(CommandList, EveryCommandHasAHelpWithAnExample) {
    const auto commands = MakeCommands(OnCommandLine);
    ForEach(commands->Root(), [&](const Command& command, const Words& path) {
        const std::string help = commands->Help(path);
        EXPECT_THAT(help, AllOf(StartsWith("Usage: bmhost [OPTIONS] " + command.Path()), HasSubstr("\nExample: ")));
        for (const char* word : {"--help", "-h"}) {
            Words asked = path;
            asked.push_back(word);
            EXPECT_EQ(help, MakeCommands(OnCommandLine)->Read(asked).m_answer) << command.Path();
        }
        FakeContext context;
        Words asked = path;
        asked.insert(asked.begin(), "help");
        RunWords(context, asked);
        EXPECT_EQ(help, context.m_answer);
    });
}

TEST(CommandList, EveryCommandIsSuggestedWhenItsLettersAreSwapped) {
    const auto commands = MakeCommands(OnCommandLine);
    ForEach(commands->Root(), [&](const Command& command, const Words& path) {
        Words typed = path;
        std::swap(*(typed.back().end() - 1), *(typed.back().end() - 2));
        if (typed == path || commands->Root().Find(typed.back()) != nullptr) return;
        FakeContext context;
        EXPECT_THAT(UsageErrorOf([&] { RunWords(context, typed); }),
                    AllOf(StartsWith("unknown command"), testing::EndsWith("; did you mean " + path.back() + "?")))
            << command.Path();
    });
}

TEST(CommandList, HelpOfCallsTellsHowTheirWordsAreWritten) {
    const auto commands = MakeCommands(OnCommandLine);
    for (const char* command : {"read", "table", "write", "script"})
        EXPECT_THAT(commands->Help({command}), AllOf(HasSubstr("GROUP"), HasSubstr("VALUE"))) << command;
    EXPECT_THAT(commands->Help({"script"}), AllOf(HasSubstr("sleep MS"), HasSubstr("wait-event MS")));
}

} // namespace
