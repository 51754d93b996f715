// The inside of a simulated blade: the first process of its process namespace, which brings it up, runs the command and
// takes everything down by ending.
#pragma once

#include "sim/Blade.h"
#include "sim/Paths.h"
#include "sim/UniqueFd.h"

#include <string>
#include <vector>

namespace BLADESIM {

struct OPTIONS {
    BLADE m_Blade;
    PATHS m_Paths;
    std::vector<std::string> m_Command;
    bool m_NoIPMI = false;
    bool m_Verbose = false;
};

/// The status when the blade could not be brought up.
constexpr int g_NotBroughtUp = 3;

/// Runs as process 1, with SIGCHLD blocked. `a_Outside` is a socket to the process that was started by the user: each
/// byte that comes is a signal number for the command, its end means that nobody is there any more. Returns the status
/// to exit with.
int RunInside(const OPTIONS& a_Options, UNIQUE_FD a_Outside);

} // namespace BLADESIM
