// What bladesim's commands for a blade that runs have in common: a command line is read whole before anything is done.
#pragma once

#include "platform/src/ByteText.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace BLADESIM {

/// One command line: CLI11 fills members of the derived class in, the callbacks note what is to be done.
class ORDER_COMMAND {
public:
    /// Returns the status to exit with; what goes wrong is said on standard error.
    int Run(int a_Count, char** a_Arguments);

protected:
    /// `a_Word` is the command's first word on the command line; its subcommands are added to what this returns.
    CLI::App& AddCommand(const std::string& a_Word, const std::string& a_Description);
    void Does(CLI::App& a_Command, std::function<void()> a_Do);
    void AddJson(CLI::App& a_Command) { a_Command.add_flag("--json", m_Json, "One line of JSON"); }

    ORDER_COMMAND();

    bool m_Json = false;
    std::function<void()> m_Do;

private:
    CLI::App m_App;
};

/// To standard output.
void Print(const std::string& a_Text);

/// A line of JSON that steers no terminal.
template <typename JSON>
std::string JsonLine(const JSON& a_Json) {
    return BM_PLATFORM::EscapedJson(a_Json.dump()) + "\n";
}

} // namespace BLADESIM
