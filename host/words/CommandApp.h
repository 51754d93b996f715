// CLI11's app as the commands use it: it reads one line after another.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <utility>

namespace bmhost {

/// All subcommands of one are of this class, too.
class CommandApp final : public CLI::App {
public:
    /// The one above all commands.
    CommandApp(std::string description, std::string name) : CLI::App(std::move(description), std::move(name)) {}
    /// A member of a family.
    CommandApp(std::string description, std::string name, CLI::App* family)
        : CLI::App(std::move(description), std::move(name), family) {}

    /// Before each line: CLI11 2.1 notes the order in which a line gave the options, and adds that of every later line.
    void ForgetLastLine() {
        parse_order_.clear();
        for (const CLI::App_p& member : subcommands_)
            static_cast<CommandApp&>(*member).ForgetLastLine();
    }
};

} // namespace bmhost
