// The help of a command, out of its registration.
#include "host/words/Command.h"

#include <CLI/CLI.hpp>

namespace bmhost {

namespace {

constexpr std::size_t OptionColumn = 20;

} // namespace

std::vector<std::string> Command::Usages() const {
    std::vector<std::string> usages;
    if (m_run) usages.push_back(Usage());
    for (const auto& member : m_members)
        usages.push_back(member->Usage());
    return usages;
}

std::string Command::Forms() const {
    std::string forms;
    for (const std::string& usage : Usages())
        forms += (forms.empty() ? "" : ", or ") + usage;
    return forms;
}

std::string Command::Usage() const {
    std::string usage = Path();
    for (const UsagePart& part : m_usage)
        usage += " " + (part.m_optional ? "[" + part.m_text + "]" : part.m_text);
    return usage;
}

std::string Command::ShortUsage() const {
    std::string usage = Path();
    bool more = false;
    for (const UsagePart& part : m_usage) {
        more = more || part.m_optional;
        if (!part.m_optional) usage += " " + part.m_text;
    }
    return usage + (more ? " ..." : "");
}

// What a command tells of itself below its usage.
std::string Command::HelpBody(const std::string& title) const {
    std::string text = title + Summary() + "\n" + (m_details.empty() ? "" : "\n" + m_details);
    CLI::Formatter formatter;
    formatter.column_width(OptionColumn);
    std::string options;
    for (const KnownOption& option : m_options)
        options += formatter.make_option(option.m_option, false);
    if (!options.empty()) text += "\n" + options;
    std::string examples;
    for (const std::string& example : m_examples)
        examples += "Example: " + example + "\n";
    return text + (examples.empty() ? "" : "\n" + examples);
}

std::string Command::Help() const {
    const std::string program = m_isShellsOwn ? "" : "bmhost [OPTIONS] ";
    std::string text;
    for (const std::string& usage : Usages()) {
        text += text.empty() ? "Usage: " : "       ";
        text.append(program).append(usage).append("\n");
    }
    if (m_run) text += "\n" + HelpBody("");
    for (const auto& member : m_members)
        text += "\n" + member->HelpBody(Usages().size() > 1 ? member->Path() + ": " : "");
    return text + (m_isShellsOwn ? "" : "\n`bmhost --help` lists the options that every command takes.\n");
}

} // namespace bmhost
