// bladesim's command for the board's tools: what they were called with, and what they are told to do.
#pragma once

namespace BLADESIM {

/// Does such a command line; returns the status to exit with.
int RunToolCommand(int a_Count, char** a_Arguments);

} // namespace BLADESIM
