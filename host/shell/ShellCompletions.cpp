// What the shell's completion knows: commands, groups and the parameters of a group.
#include "host/shell/ShellLines.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/commands/Options.h"
#include "host/words/Error.h"
#include "host/words/Names.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>

namespace BMHOST {

namespace {

using WORDS = std::vector<std::string>;

std::string Lower(std::string_view a_Text) {
    std::string l_Text(a_Text);
    std::transform(l_Text.begin(), l_Text.end(), l_Text.begin(),
                   [](unsigned char a_Char) { return static_cast<char>(std::tolower(a_Char)); });
    return l_Text;
}

// The shortest way to write each of them.
WORDS Groups() {
    WORDS l_Groups;
    for (const auto& l_Group : BM_ADAPTOR::g_GroupNames) {
        std::string_view l_Name = l_Group.m_Name;
        for (const std::string_view l_Prefix : {"BMI_GROUP_", "HARDWARE_", "BM_IPMI_"}) {
            if (l_Name.starts_with(l_Prefix)) l_Name.remove_prefix(l_Prefix.size());
        }
        l_Groups.push_back(Lower(l_Name));
    }
    return l_Groups;
}

WORDS Parameters(const std::string& a_Group) {
    WORDS l_Words;
    unsigned l_Group = 0;
    try {
        l_Group = GroupNumber(a_Group);
    } catch (const USAGE_ERROR&) {
        return l_Words;
    }
    for (const auto& l_Param : BM_ADAPTOR::g_ParameterNames) {
        if (!IsParameterOf(l_Param.m_Id, l_Group)) continue;
        std::string l_Word = ColumnName(l_Param.m_Id);
        std::replace(l_Word.begin(), l_Word.end(), ' ', '_');
        l_Words.push_back(l_Word + "=");
    }
    return l_Words;
}

struct OWN_WORDS {
    std::string_view m_Command;
    std::string_view m_Words;
};

constexpr OWN_WORDS OWN[] = {
    {"led", "set board rtm hot-swap out-of-service health on off blink local --color --on --off"},
    {"dsp", "set-ip"},
    {"switch", "enable disable"},
    {"firmware", "update show --target --bay --dry-run board amc rtm"},
};

WORDS OwnWords(const std::string& a_Command) {
    WORDS l_Words;
    for (const OWN_WORDS& l_Own : OWN) {
        if (l_Own.m_Command != a_Command) continue;
        std::istringstream l_Stream{std::string(l_Own.m_Words)};
        for (std::string l_Word; l_Stream >> l_Word;)
            l_Words.push_back(l_Word);
    }
    return l_Words;
}

// By the words before the one that is completed.
WORDS Candidates(const WORDS& a_Before) {
    if (a_Before.empty()) return PromptCommands();
    const std::string& l_Command = a_Before[0];
    if (l_Command == "help") return PromptCommands();
    if (l_Command != "read" && l_Command != "table" && l_Command != "write") return OwnWords(l_Command);
    if (a_Before.size() == 1) return Groups();
    return l_Command == "table" ? WORDS{} : Parameters(a_Before[1]);
}

} // namespace

std::vector<std::string> ShellCompletions(const std::string& a_Before) {
    const std::size_t l_Begin = a_Before.find_last_of(" \t") + 1;
    const std::string l_Word = a_Before.substr(l_Begin);
    std::istringstream l_Stream(a_Before.substr(0, l_Begin));
    WORDS l_Before;
    for (std::string l_Other; l_Stream >> l_Other;)
        l_Before.push_back(l_Other);
    WORDS l_Words = Candidates(l_Before);
    std::erase_if(l_Words, [&](const std::string& a_Candidate) { return !a_Candidate.starts_with(l_Word); });
    std::sort(l_Words.begin(), l_Words.end());
    return l_Words;
}

} // namespace BMHOST
