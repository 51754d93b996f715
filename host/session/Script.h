// Calls from a file or from standard input, one a line, in one process.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace BMHOST {

class SESSION;

/// Words of a line, separated by blanks; '…' and "…" keep blanks inside a word, '#' begins a comment. Throws
/// USAGE_ERROR for a quote that does not end.
std::vector<std::string> SplitWords(const std::string& a_Line);

class SCRIPT {
public:
    /// Opens the file; "-" is standard input. Throws USAGE_ERROR.
    explicit SCRIPT(const std::string& a_File);

    /// Makes every call of the script as its line is read, and returns whether all of them returned 1. Throws
    /// USAGE_ERROR naming file and line where a line cannot be meant: the calls before it were made.
    bool Run(SESSION& a_Session);

private:
    bool NextLine(std::string& a_Line);

    struct CLOSE_FILE {
        void operator()(std::FILE* a_File) const { std::fclose(a_File); }
    };

    std::string m_Name;
    std::unique_ptr<std::FILE, CLOSE_FILE> m_File;
};

} // namespace BMHOST
