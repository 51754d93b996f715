// The lines of a shell: typed at a prompt with history and completion, or plain.
#include "host/shell/ShellLines.h"

#include "host/output/Redirect.h"
#include "host/shell/ShellPrompt.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace bmhost {

namespace {

class PlainLines final : public ShellLines {
public:
    explicit PlainLines(std::FILE* input) : m_input(input) {}
    PlainLines(const PlainLines&) = delete;
    PlainLines& operator=(const PlainLines&) = delete;
    ~PlainLines() override { std::fclose(m_input); }

    std::optional<std::string> Next() override {
        std::string line;
        int next = 0;
        while ((next = getc(m_input)) != EOF && next != '\n')
            line += static_cast<char>(next);
        if (next == EOF && line.empty()) return std::nullopt;
        return line;
    }

private:
    std::FILE* m_input;
};

} // namespace

std::unique_ptr<ShellLines> MakeShellLines(PromptHelp help) {
    const bool prompt = isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
    std::FILE* const input = fdopen(TakeStandardInput(), "r");
    if (prompt) return MakeShellPrompt(input, std::move(help));
    return std::make_unique<PlainLines>(input);
}

} // namespace bmhost
