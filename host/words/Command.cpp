// One command as it is registered, on top of CLI11's own subcommand.
#include "host/words/Command.h"

#include "host/words/CommandApp.h"

#include <algorithm>
#include <memory>

namespace bmhost {

namespace {

void CheckRange(CLI::Option& option, Command::Range range) {
    const Command::Range any;
    if (range.m_first == any.m_first && range.m_last == any.m_last) return;
    option.check(CLI::Range(range.m_first, range.m_last).description(""));
}

} // namespace

Command& Command::Add(const std::string& name, const std::string& summary, bool isShellsOwn) {
    CLI::App& app = *m_app.add_subcommand(std::make_shared<CommandApp>(summary, name, &m_app));
    app.fallthrough()->require_subcommand(0, 1)->group("");
    const bool isRoot = m_app.get_parent() == nullptr;
    m_members.push_back(std::make_unique<Command>(app, isRoot ? nullptr : this, isShellsOwn));
    return *m_members.back();
}

Command& Command::Details(const std::string& text) {
    m_details = text;
    return *this;
}

Command& Command::Example(const std::string& line) {
    m_examples.push_back(line);
    return *this;
}

Command& Command::Usage(const std::string& words) {
    m_usage = {{words, false}};
    return *this;
}

Command& Command::WithoutTimeLimit() {
    m_lasts = true;
    return *this;
}

Command& Command::OnlyHere() {
    m_onlyHere = true;
    return *this;
}

Command& Command::Dash(Dashes dashes) {
    m_dashes = dashes;
    return *this;
}

Command& Command::Word(const std::string& name, std::string& value, Choices choices) {
    const auto take = [&value](const CLI::results_t& results) {
        value = results.back();
        return true;
    };
    m_app.add_option(name, CLI::callback_t(take))->required();
    m_usage.push_back({name});
    m_words.push_back(std::move(choices));
    return *this;
}

Command& Command::Words(const std::string& usage, std::vector<std::string>& values, Choices choices) {
    const auto take = [&values](const CLI::results_t& results) {
        values = results;
        return true;
    };
    m_app.add_option("WORDS", CLI::callback_t(take))->expected(CLI::detail::expected_max_vector_size);
    m_usage.push_back({usage});
    m_words.push_back(std::move(choices));
    m_lastWordRepeats = true;
    return *this;
}

Command& Command::Known(const OptionText& text, CLI::Option& option) {
    option.type_name(text.m_value);
    option.required(text.m_required);
    if (text.m_required) option.option_text(text.m_value);
    const std::string value = text.m_value;
    const std::string usage = std::string(text.m_name) + (value.empty() ? "" : " " + value);
    if (text.m_withLast) {
        m_usage.back().m_text += " " + usage;
    } else {
        m_usage.push_back({usage, !text.m_required});
    }
    m_options.push_back({text.m_name, value, text.m_choices, &option});
    return *this;
}

Command& Command::Option(const OptionText& text, std::string& value) {
    return Known(text, *m_app.add_option(text.m_name, value, text.m_help));
}

Command& Command::Option(const OptionText& text, std::optional<std::string>& value) {
    const auto take = [&value](const std::string& given) { value = given; };
    return Known(text, *m_app.add_option_function<std::string>(text.m_name, take, text.m_help));
}

Command& Command::Option(const OptionText& text, int& value, Range range) {
    CLI::Option& option = *m_app.add_option(text.m_name, value, text.m_help)->capture_default_str();
    CheckRange(option, range);
    return Known(text, option);
}

Command& Command::Option(const OptionText& text, std::optional<int>& value, Range range) {
    const auto take = [&value](const int& given) { value = given; };
    CLI::Option& option = *m_app.add_option_function<int>(text.m_name, take, text.m_help);
    CheckRange(option, range);
    return Known(text, option);
}

Command& Command::Option(const OptionText& text, std::optional<double>& value) {
    const auto take = [&value](const double& given) { value = given; };
    return Known(text, *m_app.add_option_function<double>(text.m_name, take, text.m_help));
}

Command& Command::Flag(const OptionText& text, bool& value) {
    CLI::Option& option = *m_app.add_flag(text.m_name, value, text.m_help);
    m_usage.push_back({text.m_name, true});
    m_options.push_back({text.m_name, "", {}, &option});
    return *this;
}

Command& Command::KnownFlag(const char* name) {
    m_options.push_back({name, "", {}, nullptr});
    return *this;
}

Command& Command::Run(Runner runner) {
    m_run = std::move(runner);
    return *this;
}

void Command::BeforeEachLine(std::function<void()> reset) {
    m_app.preparse_callback([reset = std::move(reset)](std::size_t) { reset(); });
}

std::string Command::Name() const {
    return m_app.get_name();
}

std::string Command::Path() const {
    return (m_family != nullptr ? m_family->Path() + " " : "") + Name();
}

std::string Command::Summary() const {
    return m_app.get_description();
}

const Command* Command::Find(std::string_view name) const {
    const auto found =
        std::find_if(m_members.begin(), m_members.end(), [&](const auto& member) { return member->Name() == name; });
    return found != m_members.end() ? found->get() : nullptr;
}

const Command::KnownOption* Command::FindOption(std::string_view word) const {
    const std::string_view name = word.substr(0, word.find('='));
    const auto found = std::find_if(m_options.begin(), m_options.end(),
                                    [&](const KnownOption& option) { return option.m_name == name; });
    return found != m_options.end() ? &*found : nullptr;
}

const Choices& Command::ChoicesOf(std::size_t word) const {
    static const Choices none;
    if (word < m_words.size()) return m_words[word];
    return m_lastWordRepeats ? m_words.back() : none;
}

} // namespace bmhost
