// bladesim's commands for a blade that runs: fault, controller, show.
#pragma once

namespace bladesim {

/// Does such a command line; returns the status to exit with.
int RunControlCommand(int count, char** arguments);

} // namespace bladesim
