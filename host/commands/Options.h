// The command line: options, and the command's words.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bmhost {

class Session;

struct Options {
    std::string m_adaptor; ///< empty: the installed one
    int m_mode = 1;
    int m_logLevel = 0;
    std::string m_logFile;
    std::string m_storage;
    bool m_json = false;
    int m_noticeAfter = 10000;          ///< milliseconds after which a call that does not return is told of
    std::vector<std::string> m_command; ///< the command and its words
    std::string m_answer;               ///< a help or version text to print instead of anything else
    std::function<Session&()> m_shell;  ///< the session of the shell that a command was typed in, after its init
    int m_output = 1;                   ///< where such a command writes; standard output, unless it is the shell's
};

/// Reads the command line. Throws UsageError.
Options ParseOptions(int argc, const char* const* argv);

/// The first word of every command that the shell takes.
std::vector<std::string> PromptCommands();
/// The help of the shell: a command's, or with an empty name the list. Throws UsageError for an unknown one.
std::string HelpText(const std::string& command);
/// A file of bmhost's own in the user's state folder.
std::string StateFile(const std::string& name);

} // namespace bmhost
