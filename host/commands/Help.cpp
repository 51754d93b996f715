// `help`: the list of commands, or what there is to know of one.
#include "host/context/Context.h"
#include "host/words/Commands.h"

namespace bmhost {

namespace {

// The members of the family whose words are there already.
std::vector<std::string> NamesAfter(const Commands& commands, const std::vector<std::string>& path) {
    const Command* family = &commands.Root();
    for (const std::string& word : path) {
        family = family->Find(word);
        if (family == nullptr) return {};
    }
    std::vector<std::string> names;
    for (const auto& member : family->Members())
        names.push_back(member->Name());
    return names;
}

} // namespace

void AddHelp(Commands& commands) {
    Command& command = commands.Add("help", "list the commands, or explain one", OnCommandLine | InShell);
    const auto path = command.Own<std::vector<std::string>>();
    Choices names;
    names.m_after = [&commands](const std::vector<std::string>& earlier) { return NamesAfter(commands, earlier); };
    command.Words("[COMMAND]", *path, names)
        .Details("COMMAND may have two words: help led set.\n")
        .Example("bmhost help led set")
        .Run([&commands, path](Context& context) {
            context.Answer(commands.Help(*path));
            return true;
        });
}

} // namespace bmhost
