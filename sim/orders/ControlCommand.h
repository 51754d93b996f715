// bladesim's commands for a blade that runs: fault, controller, show.
#pragma once

namespace BLADESIM {

/// Does such a command line; returns the status to exit with.
int RunControlCommand(int a_Count, char** a_Arguments);

} // namespace BLADESIM
