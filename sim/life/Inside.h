// The inside of a simulated blade: the first process of its process namespace, which brings it up, runs the command and
// takes everything down by ending.
#pragma once

#include "sim/base/ExitStatus.h"
#include "sim/base/Paths.h"
#include "sim/base/UniqueFd.h"
#include "sim/blade/Blade.h"
#include "sim/controller/SystemInterface.h"
#include "sim/driver/RequestQueue.h"

#include <chrono>
#include <string>
#include <vector>

namespace BLADESIM {

struct OPTIONS {
    BLADE m_Blade;
    PATHS m_Paths;
    std::vector<std::string> m_Command;
    std::chrono::milliseconds m_TimeOut = g_DriverTimeOut; ///< of the driver; 0: it waits for ever
    SYSTEM_INTERFACE m_IPMI = SYSTEM_INTERFACE::BRIDGE;
    bool m_Verbose = false;
};

/// Runs as process 1, with SIGCHLD blocked. `a_Outside` is a socket to the process that was started by the user: each
/// byte that comes is a signal number for the command, its end means that nobody is there any more. Returns the status
/// to exit with.
int RunInside(const OPTIONS& a_Options, UNIQUE_FD a_Outside);

} // namespace BLADESIM
