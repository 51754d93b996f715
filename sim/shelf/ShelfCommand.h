// bladesim's command line for a shelf: `bladesim shelf …`.
#pragma once

namespace bladesim {

/// Returns the status to exit with.
int RunShelfCommand(int count, char** arguments);

} // namespace bladesim
