// The shell's prompt on a terminal, by libedit.
#pragma once

#include "host/shell/ShellLines.h"

#include <cstdio>

namespace BMHOST {

/// Takes the terminal, which it closes at its end. The history is kept in the user's state folder.
std::unique_ptr<SHELL_LINES> MakeShellPrompt(std::FILE* a_Terminal);

} // namespace BMHOST
