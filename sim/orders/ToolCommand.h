// bladesim's command for the board's tools: how they were called, and the orders that they have.
#pragma once

namespace bladesim {

/// Runs such a command line; returns the status to exit with.
int RunToolCommand(int count, char** arguments);

} // namespace bladesim
