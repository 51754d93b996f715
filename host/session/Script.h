// The lines of a file or of standard input, each with one call.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bmhost {

/// Words of a line, separated by blanks; '…' and "…" keep blanks inside a word, '#' begins a comment. Throws
/// UsageError for a quote that does not end.
std::vector<std::string> SplitWords(const std::string& line);

class Script {
public:
    /// Opens the file; "-" is standard input. Throws UsageError.
    explicit Script(const std::string& file);

    /// Hands the words of each line over as it is read, and returns whether all was right. Throws UsageError naming
    /// file and line where the taker throws one: what the lines before it ask for has been done.
    bool Run(const std::function<bool(const std::vector<std::string>& words)>& line);

private:
    bool NextLine(std::string& line);

    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::string m_name;
    std::unique_ptr<std::FILE, CloseFile> m_file;
};

} // namespace bmhost
