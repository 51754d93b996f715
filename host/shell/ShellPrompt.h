// The shell's prompt on a terminal, by libedit.
#pragma once

#include "host/shell/ShellLines.h"

#include <cstdio>

namespace bmhost {

/// Takes over the terminal and closes it at the end. The history is kept in the user's state folder.
std::unique_ptr<ShellLines> MakeShellPrompt(std::FILE* terminal);

} // namespace bmhost
