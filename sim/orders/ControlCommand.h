// bladesim's commands for a running blade: fault, controller, show.
#pragma once

namespace bladesim {

/// Runs such a command line; returns the status to exit with.
int RunControlCommand(int count, char** arguments);

} // namespace bladesim
