// bladesim's command for the board's Ethernet switch: its ports, its forwarding table, and the calls that it makes
// fail.
#pragma once

namespace bladesim {

/// Runs such a command line; returns the status to exit with.
int RunSwitchCommand(int count, char** arguments);

} // namespace bladesim
