// bladesim's command that makes a blade file of a real blade.
#pragma once

namespace bladesim {

/// `bladesim capture …`. Returns the status to exit with.
int RunCaptureCommand(int count, char** arguments);

} // namespace bladesim
