// bladesim's command for the board's tools: how they were called, and what they are ordered to do.
#pragma once

namespace bladesim {

/// Runs such a command line; returns the status to exit with.
int RunToolCommand(int count, char** arguments);

} // namespace bladesim
