// The lines of a shell: typed at a prompt with history and completion, or plain.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bmhost {

class ShellLines {
public:
    virtual ~ShellLines() = default;

    /// The next line without its end, or nothing after the last.
    virtual std::optional<std::string> Next() = 0;
};

/// Reads standard input, with a prompt when it and standard error are terminals. From now on the adaptor finds its
/// standard input empty.
std::unique_ptr<ShellLines> MakeShellLines();

/// The candidates for the last word of the text before the cursor.
std::vector<std::string> ShellCompletions(const std::string& before);

} // namespace bmhost
