// Makes the controller of a blade stand still: it keeps its connections, and answers nothing.
#pragma once

#include <sys/types.h>

namespace bladesim {

/// Returns when it stands still, or goes on. Throws a BladeError when the blade has no running controller.
/// @param inside  process 1 of the blade, as the caller sees it
void FreezeController(pid_t inside, bool frozen);

} // namespace bladesim
