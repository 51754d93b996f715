// The command line: options, and the command's words.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace BMHOST {

class SESSION;

struct OPTIONS {
    std::string m_Adaptor; ///< empty: the installed one
    int m_Mode = 1;
    int m_LogLevel = 0;
    std::string m_LogFile;
    std::string m_Storage;
    bool m_Json = false;
    int m_NoticeAfter = 10000;          ///< milliseconds after which a call that does not return is told of
    std::vector<std::string> m_Command; ///< the command and its words
    std::string m_Answer;               ///< a help or version text to print instead of anything else
    std::function<SESSION&()> m_Shell;  ///< the session of the shell that a command was typed in, after its init
    int m_Output = 1;                   ///< where such a command writes; standard output, unless it is the shell's
};

/// Reads the command line. Throws USAGE_ERROR.
OPTIONS ParseOptions(int a_Argc, const char* const* a_Argv);

/// The first word of every command that the shell takes.
std::vector<std::string> PromptCommands();
/// The help of the shell: a command's, or with an empty name the list. Throws USAGE_ERROR for an unknown one.
std::string HelpText(const std::string& a_Command);
/// A file of bmhost's own in the user's state folder.
std::string StateFile(const std::string& a_Name);

} // namespace BMHOST
