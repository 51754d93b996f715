// The outside of a simulated blade: the process that the user started. It makes the inside, passes signals to it and
// returns its status; nothing of the blade is left when it has ended.
#pragma once

#include "sim/life/Inside.h"

namespace bladesim {

/// Returns the status to exit with. Throws a BladeError when the inside cannot be made.
int RunBlade(const Options& options);

} // namespace bladesim
