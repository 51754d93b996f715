// bladesim's command for the media software: how it behaves towards the health monitor.
#pragma once

namespace bladesim {

/// Runs such a command line; returns the status to exit with.
int RunMediaCommand(int count, char** arguments);

} // namespace bladesim
