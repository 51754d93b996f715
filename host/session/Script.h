// Calls from a file or from standard input, one per line, in one process.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace bmhost {

class Session;

/// Words of a line, separated by blanks; '…' and "…" keep blanks inside a word, '#' begins a comment. Throws
/// UsageError for a quote that does not end.
std::vector<std::string> SplitWords(const std::string& line);

class Script {
public:
    /// Opens the file; "-" is standard input. Throws UsageError.
    explicit Script(const std::string& file);

    /// Makes each call of the script when its line is read, and returns whether all calls returned 1. Throws
    /// UsageError, naming file and line, for a line that makes no sense; the calls before it have been made.
    bool Run(Session& session);

private:
    bool NextLine(std::string& line);

    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::string m_name;
    std::unique_ptr<std::FILE, CloseFile> m_file;
};

} // namespace bmhost
