// The lines of a shell: typed at a prompt with history and completion, or plain ones.
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

/// From standard input, with a prompt when that and standard error are terminals. The adaptor finds its standard input
/// empty from now on.
std::unique_ptr<ShellLines> MakeShellLines();

/// What may stand in place of the last word of this text, which is what stands before the cursor.
std::vector<std::string> ShellCompletions(const std::string& before);

} // namespace bmhost
