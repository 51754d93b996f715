// All commands of one place, and the reading of a line.
#include "host/words/Commands.h"

#include "bm_dev/Nearest.h"
#include "host/words/CommandApp.h"
#include "host/words/Error.h"

#include <algorithm>

namespace bmhost {

namespace {

constexpr std::size_t SummaryColumn = 46;

std::vector<std::string> NamesOf(const Command& family) {
    std::vector<std::string> names;
    for (const auto& member : family.Members())
        names.push_back(member->Name());
    return names;
}

std::vector<std::string> OptionsOf(const Command& command) {
    std::vector<std::string> names;
    for (const Command::KnownOption& option : command.Options())
        names.push_back(option.m_name);
    return names;
}

// Of words that are not only options: what begins with one '-' may be a file or a number.
bool IsLongOption(const std::string& word) {
    return (word.size() > 2 && word.starts_with("--")) || word == "-h" || word == "-V" || word == "-q";
}

bool TakesNextWord(const Command& command, const std::string& word) {
    const Command::KnownOption* const option = command.FindOption(word);
    return option != nullptr && !option->m_value.empty() && word.find('=') == std::string::npos;
}

} // namespace

struct Commands::Apps {
    CommandApp m_here{"Loads an adaptor as a board manager does, and makes the calls that you give.", "bmhost"};
    CommandApp m_elsewhere{"", ""};
};

Commands::Commands(Place place)
    : m_place(place),
      m_apps(std::make_unique<Apps>()),
      m_root(std::make_unique<Command>(m_apps->m_here, nullptr, false)),
      m_elsewhere(std::make_unique<Command>(m_apps->m_elsewhere, nullptr, false)) {
    m_apps->m_here.require_subcommand(1);
    m_apps->m_here.get_formatter()->label("SUBCOMMAND", "COMMAND ...");
    if (place == InScript) m_apps->m_here.set_help_flag();
}

Commands::~Commands() = default;

Command& Commands::Add(const std::string& name, const std::string& summary, unsigned places) {
    return ((places & m_place) != 0 ? m_root : m_elsewhere)->Add(name, summary, (places & OnCommandLine) == 0);
}

// CLI11 takes a word that begins with '-' for an option, but none after "--". Where a command reads them otherwise, its
// options go to the front, and its words after a "--".
std::vector<std::string> Commands::Arranged(const std::vector<std::string>& words) const {
    std::size_t at = 0;
    while (at < words.size() && words[at].starts_with('-'))
        at += TakesNextWord(*m_root, words[at]) ? 2 : 1;
    const Command* const command = at < words.size() ? m_root->Find(words[at]) : nullptr;
    if (command == nullptr || command->HowDashesAreRead() == Dashes::AreOptions) return words;
    std::vector<std::string> front(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(at));
    std::vector<std::string> rest = {words[at], "--"};
    const bool onlyHelp = words.size() == at + 2 && (words[at + 1] == "--help" || words[at + 1] == "-h");
    const bool allAreWords = command->HowDashesAreRead() == Dashes::AreWords && !onlyHelp;
    if (allAreWords && at + 1 < words.size() && words[at + 1] == "--") ++at; // somebody has done so already
    for (++at; at < words.size(); ++at) {
        if (allAreWords || !IsLongOption(words[at])) {
            rest.push_back(words[at]);
            continue;
        }
        front.push_back(words[at]);
        if (!TakesNextWord(*m_root, words[at])) continue;
        if (at + 1 == words.size()) return words; // the library says what is missing
        front.push_back(words[++at]);
    }
    front.insert(front.end(), rest.begin(), rest.end());
    return front;
}

const Command* Commands::Chosen() const {
    const Command* chosen = nullptr;
    const Command* family = m_root.get();
    for (const CLI::App* app = &m_apps->m_here; !app->get_subcommands().empty();) {
        app = app->get_subcommands().front();
        chosen = family->Find(app->get_name());
        family = chosen;
    }
    return chosen;
}

Line Commands::Read(const std::vector<std::string>& words) {
    CommandApp& app = m_apps->m_here;
    app.ForgetLastLine();
    std::vector<std::string> reversed = Arranged(words); // the library wants the last one first
    std::reverse(reversed.begin(), reversed.end());
    try {
        app.parse(std::move(reversed));
    } catch (const CLI::CallForHelp&) {
        const Command* const command = Chosen();
        return {nullptr, command != nullptr ? command->Help() : Help()};
    } catch (const CLI::CallForVersion& version) {
        return {nullptr, std::string(version.what()) + "\n"};
    } catch (const CLI::ExtrasError&) {
        Refuse("");
    } catch (const CLI::RequiredError&) {
        Refuse("");
    } catch (const CLI::ParseError& error) {
        Refuse(error.what());
    }
    const Command* const command = Chosen();
    if (command == nullptr || !command->Runs()) Refuse("");
    return {command, ""};
}

// What CLI11 has left over says more than its texts do.
void Commands::Refuse(const std::string& reason) const {
    const Command* const command = Chosen();
    const std::vector<std::string> left = m_apps->m_here.remaining();
    if (!reason.empty()) {
        const bool own = command != nullptr &&
                         std::any_of(command->Options().begin(), command->Options().end(), [&](const auto& option) {
                             return reason.find(option.m_name) != std::string::npos;
                         });
        throw UsageError((own ? command->Path() + ": " : "") + reason);
    }
    const auto option = std::find_if(left.begin(), left.end(), [](const std::string& word) {
        return word.size() > 1 && word[0] == '-' && (word[1] < '0' || word[1] > '9');
    });
    const bool calls = m_place == InScript && command == nullptr;
    if (option != left.end() && !calls) RefuseOption(command, *option);
    if (command == nullptr && left.empty()) throw UsageError("no command: expected " + NamesOrList());
    if (command == nullptr) RefuseWord(*m_root, left[0]);
    if (!left.empty() && !command->Members().empty()) RefuseWord(*command, left[0]);
    if (!left.empty()) throw UsageError("'" + left[0] + "' is too much: expected " + command->Forms());
    throw UsageError("'" + command->Path() + "' is not enough: expected " + command->Forms());
}

void Commands::RefuseWord(const Command& family, const std::string& word) const {
    const bool ofAll = &family == m_root.get();
    if (ofAll && m_place == InShell && m_elsewhere->Find(word) != nullptr) throw UsageError(word + ": not in a shell");
    const std::string kind = m_place == InScript ? "call" : "command";
    throw UsageError("unknown " + kind + " '" + (ofAll ? "" : family.Path() + " ") + word + "': expected " +
                     (ofAll ? NamesOrList() : family.Forms()) + bm_dev::DidYouMean(word, NamesOf(family)));
}

void Commands::RefuseOption(const Command* command, const std::string& word) const {
    std::vector<std::string> known = OptionsOf(*m_root);
    std::string which;
    if (command != nullptr && !command->Options().empty()) {
        const auto own = OptionsOf(*command);
        known.insert(known.begin(), own.begin(), own.end());
        which = command->Path() + " ";
    }
    const std::string name = word.substr(0, word.find('='));
    if (m_place != OnCommandLine && known.empty())
        throw UsageError("unknown option '" + word + "': options stand on bmhost's own command line");
    throw UsageError("unknown option '" + word + "': expected one of those that `bmhost " + which + "--help` lists" +
                     bm_dev::DidYouMean(name, known));
}

std::string Commands::NamesOrList() const {
    if (m_place == OnCommandLine) return "one of those that `bmhost --help` lists";
    if (m_place == InShell) return "one of those that `help` lists";
    const auto names = NamesOf(*m_root);
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 < names.size() ? ", " : " or ") + names[i];
    return text;
}

std::string Commands::List() const {
    std::string text;
    const auto add = [&](const Command& command) {
        if (!command.Runs()) return;
        const std::string whole = command.Usage();
        const std::string usage = whole.size() < SummaryColumn ? whole : command.ShortUsage();
        text += "  " + usage + std::string(usage.size() < SummaryColumn ? SummaryColumn - usage.size() : 1, ' ') +
                command.Summary() + "\n";
    };
    for (const auto& command : m_root->Members()) {
        add(*command);
        for (const auto& member : command->Members())
            add(*member);
    }
    return text;
}

std::string Commands::Help() const {
    if (m_place != OnCommandLine) return List();
    const std::string commands = "Commands (bmhost COMMAND --help tells more):\n" + List();
    m_apps->m_here.footer(
        commands +
        "\nExit status: 0 every call returned 1, 1 some call did not, 2 bad usage, 3 the adaptor could not be loaded,\n"
        "4 simulated data that nobody asked for, 5 the time was up, 6 another host has the blade.");
    return m_apps->m_here.get_formatter()->make_help(&m_apps->m_here, "bmhost", CLI::AppFormatMode::Normal);
}

std::string Commands::Help(const std::vector<std::string>& path) const {
    if (path.empty()) return Help();
    const Command* command = m_root.get();
    std::string name;
    for (const std::string& word : path) {
        name += (name.empty() ? "" : " ") + word;
        const Command* const member = command->Find(word);
        if (member == nullptr) {
            throw UsageError("no help for '" + name + "': expected a command that `" +
                             (m_place == OnCommandLine ? "bmhost --help" : "help") + "` lists" +
                             bm_dev::DidYouMean(word, NamesOf(*command)));
        }
        command = member;
    }
    return command->Help();
}

} // namespace bmhost
