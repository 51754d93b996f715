// The command line: options, and the command's words.
#pragma once

#include <string>
#include <vector>

namespace BMHOST {

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
};

/// Reads the command line. Throws USAGE_ERROR.
OPTIONS ParseOptions(int a_Argc, const char* const* a_Argv);

} // namespace BMHOST
