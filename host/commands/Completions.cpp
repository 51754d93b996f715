// `bmhost completions`: what the last word of a command line may become, for the completion of a shell.
#include "host/words/Completion.h"

#include "host/context/Context.h"
#include "host/context/GlobalOptions.h"
#include "host/output/Redirect.h"

#include <nlohmann/json.hpp>

namespace bmhost {

namespace {

// Also what is to come: this is registered before some of the others.
std::vector<std::string> Completions(const Commands& commands, std::vector<std::string> words) {
    const std::string begun = words.empty() ? "" : words.back();
    if (!words.empty()) words.pop_back();
    const Completion completion = Complete(commands, words, begun);
    if (completion.m_kind == Choices::Kind::File) return {"<file>"};
    if (completion.m_kind == Choices::Kind::Folder) return {"<folder>"};
    return completion.m_words;
}

std::string Shown(const std::vector<std::string>& completions, bool json) {
    if (json) return nlohmann::ordered_json{{"op", "completions"}, {"words", completions}}.dump() + "\n";
    std::string text;
    for (const std::string& word : completions)
        text += word + "\n";
    return text;
}

} // namespace

void AddCompletions(Commands& commands) {
    Command& command =
        commands.Add("completions", "list what the last word of a command line may become", OnCommandLine);
    const auto words = command.Own<std::vector<std::string>>();
    command.Dash(Dashes::AreWords)
        .Words("WORD ...", *words)
        .Details(
            "For the completion of a shell. WORD ... is what stands after bmhost, the last one begun or empty; a -- before\n"
            "them keeps --help from being bmhost's own. <file> and <folder> stand for any file, and any folder.\n")
        .Example("bmhost completions write amc_table run")
        .Run([&commands, words](Context& context) {
            WriteAll(context.Output(), Shown(Completions(commands, *words), context.Globals().m_json));
            return true;
        });
}

} // namespace bmhost
