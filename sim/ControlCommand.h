// bladesim's commands for a blade that runs: fault, controller, show.
#pragma once

#include <string>

namespace BLADESIM {

/// Whether this first word of a command line is one of these commands.
bool IsControlCommand(const std::string& a_Word);

/// Does such a command line; returns the status to exit with.
int RunControlCommand(int a_Count, char** a_Arguments);

} // namespace BLADESIM
