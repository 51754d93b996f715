// The words that the shell completes: commands, groups and the parameters of a group.
#include "host/shell/ShellLines.h"

#include "common/veldo_common_protocol.h"
#include "host/commands/Options.h"
#include "host/words/Error.h"
#include "host/words/Names.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>

namespace bmhost {

namespace {

using Words = std::vector<std::string>;

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return lower;
}

// Each in its shortest form.
Words Groups() {
    Words groups;
    for (const auto& group : BM_ADAPTOR::g_GroupNames) {
        std::string_view name = group.m_Name;
        for (const std::string_view prefix : {"BMI_GROUP_", "HARDWARE_", "BM_IPMI_"}) {
            if (name.starts_with(prefix)) name.remove_prefix(prefix.size());
        }
        groups.push_back(Lower(name));
    }
    return groups;
}

Words Parameters(const std::string& groupName) {
    Words words;
    unsigned group = 0;
    try {
        group = GroupNumber(groupName);
    } catch (const UsageError&) {
        return words;
    }
    for (const auto& param : BM_ADAPTOR::g_ParameterNames) {
        if (!IsParameterOf(param.m_Id, group)) continue;
        std::string word = ColumnName(param.m_Id);
        std::replace(word.begin(), word.end(), ' ', '_');
        words.push_back(word + "=");
    }
    return words;
}

struct CommandWords {
    std::string_view m_command;
    std::string_view m_words;
};

constexpr CommandWords OwnWordsOf[] = {
    {"led", "set board rtm hot-swap out-of-service health on off blink local --color --on --off"},
    {"dsp", "set-ip"},
    {"switch", "enable disable"},
    {"firmware", "update show --target --bay --dry-run board amc rtm"},
};

Words OwnWords(const std::string& command) {
    Words words;
    for (const CommandWords& own : OwnWordsOf) {
        if (own.m_command != command) continue;
        std::istringstream stream{std::string(own.m_words)};
        for (std::string word; stream >> word;)
            words.push_back(word);
    }
    return words;
}

// Chosen by the words before the one that is completed.
Words Candidates(const Words& before) {
    if (before.empty()) return PromptCommands();
    const std::string& command = before[0];
    if (command == "help") return PromptCommands();
    if (command != "read" && command != "table" && command != "write") return OwnWords(command);
    if (before.size() == 1) return Groups();
    return command == "table" ? Words{} : Parameters(before[1]);
}

} // namespace

std::vector<std::string> ShellCompletions(const std::string& before) {
    const std::size_t begin = before.find_last_of(" \t") + 1;
    const std::string word = before.substr(begin);
    std::istringstream stream(before.substr(0, begin));
    Words earlier;
    for (std::string other; stream >> other;)
        earlier.push_back(other);
    Words words = Candidates(earlier);
    std::erase_if(words, [&](const std::string& candidate) { return !candidate.starts_with(word); });
    std::sort(words.begin(), words.end());
    return words;
}

} // namespace bmhost
