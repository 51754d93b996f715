// The lines of a shell: typed at a prompt with history and completion, or plain ones.
#include "host/shell/ShellLines.h"

#include "host/output/Redirect.h"
#include "host/shell/ShellPrompt.h"

#include <cstdio>
#include <unistd.h>

namespace BMHOST {

namespace {

class PLAIN_LINES final : public SHELL_LINES {
public:
    explicit PLAIN_LINES(std::FILE* a_Input) : m_Input(a_Input) {}
    PLAIN_LINES(const PLAIN_LINES&) = delete;
    PLAIN_LINES& operator=(const PLAIN_LINES&) = delete;
    ~PLAIN_LINES() override { std::fclose(m_Input); }

    std::optional<std::string> Next() override {
        std::string l_Line;
        int l_Char = 0;
        while ((l_Char = getc(m_Input)) != EOF && l_Char != '\n')
            l_Line += static_cast<char>(l_Char);
        if (l_Char == EOF && l_Line.empty()) return std::nullopt;
        return l_Line;
    }

private:
    std::FILE* m_Input;
};

} // namespace

std::unique_ptr<SHELL_LINES> MakeShellLines() {
    const bool l_Prompt = isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
    std::FILE* const l_Input = fdopen(TakeStandardInput(), "r");
    if (l_Prompt) return MakeShellPrompt(l_Input);
    return std::make_unique<PLAIN_LINES>(l_Input);
}

} // namespace BMHOST
