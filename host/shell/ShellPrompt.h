// The shell's prompt on a terminal, by libedit.
#pragma once

#include "host/shell/ShellLines.h"

#include <cstdio>

namespace bmhost {

/// Takes the terminal, which it closes at its end.
std::unique_ptr<ShellLines> MakeShellPrompt(std::FILE* terminal, PromptHelp help);

} // namespace bmhost
