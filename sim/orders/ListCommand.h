// bladesim's commands list and attach: the blades that there are, and those that run.
#pragma once

namespace bladesim {

/// Each runs such a command line; returns the status to exit with.
int RunListCommand(int count, char** arguments);
int RunAttachCommand(int count, char** arguments);

} // namespace bladesim
