// What bladesim's commands for a running blade have in common: the whole command line is read before anything is done.
#pragma once

#include "bm_dev/ByteText.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace bladesim {

/// One command line: CLI11 fills in members of the derived class, and the callbacks note what to do.
class OrderCommand {
public:
    /// Returns the status to exit with; errors go to standard error.
    int Run(int count, char** arguments);

protected:
    /// `word` is the command's first word on the command line; its subcommands are added to what this returns.
    CLI::App& AddCommand(const std::string& word, const std::string& description);
    void Does(CLI::App& command, std::function<void()> deed);
    void AddJson(CLI::App& command) { command.add_flag("--json", m_json, "One line of JSON"); }

    OrderCommand();

    bool m_json = false;
    std::function<void()> m_do;

private:
    std::string Mistyped(int count, char** arguments) const;

    CLI::App m_app;
};

/// To standard output.
void Print(const std::string& text);

/// A line of JSON that cannot control a terminal.
template <typename Json>
std::string JsonLine(const Json& json) {
    return bm_dev::EscapedJson(json.dump()) + "\n";
}

} // namespace bladesim
