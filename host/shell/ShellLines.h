// The lines of a shell: typed at a prompt with history and completion, or plain.
#pragma once

#include <functional>
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

/// What a prompt knows beside the line that is typed.
struct PromptHelp {
    std::string m_historyFile;
    /// What may stand in place of the last word of this text, which is what stands before the cursor.
    std::function<std::vector<std::string>(const std::string& before)> m_completions;
};

/// From standard input, with a prompt when that and standard error are terminals. The adaptor finds its standard input
/// empty from now on.
std::unique_ptr<ShellLines> MakeShellLines(PromptHelp help);

} // namespace bmhost
