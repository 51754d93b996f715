// bladesim's command for the media software: how it behaves towards the health monitor.
#pragma once

namespace BLADESIM {

/// Does such a command line; returns the status to exit with.
int RunMediaCommand(int a_Count, char** a_Arguments);

} // namespace BLADESIM
