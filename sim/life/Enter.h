// Runs a command in a blade that is up already, for another terminal.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace bladesim {

/// Keeps the environment of the calling process, process 1 of a blade, for those who enter the blade later. Nobody but
/// its user can read it, and nothing of it is left when the process has ended.
void KeepEnvironment();

/// Enters the namespaces of the blade of this process 1, with its environment, runs the command there and returns the
/// status to exit with; `interactive`: it is a shell, which gets the terminal for itself. Throws a BladeError.
int RunInBlade(pid_t process, const std::vector<std::string>& command, bool interactive);

} // namespace bladesim
