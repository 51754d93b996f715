// bladesim's command for the board's tools: what they were called with, and what they are told to do.
#pragma once

namespace bladesim {

/// Does such a command line; returns the status to exit with.
int RunToolCommand(int count, char** arguments);

} // namespace bladesim
