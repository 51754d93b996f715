// The outside of a simulated blade: the process that the user started. It makes the inside, passes signals to it and
// returns its status; nothing of the blade is left when it has ended.
#pragma once

#include "sim/life/Inside.h"

#include <functional>

namespace bladesim {

/// What runs as process 1 of its process namespace, with SIGINT, SIGTERM, SIGHUP and SIGCHLD blocked; see RunInside.
using InsideFunction = std::function<int(bm_dev::UniqueFd outside)>;

/// Makes an inside, passes signals to it and returns its status; `tellInside` is called with its process as soon as
/// there is one. Throws a BladeError when it cannot be made.
int RunOutside(const InsideFunction& runInside, const std::function<void(pid_t)>& tellInside = {});

/// Returns the status to exit with. Throws a BladeError when the inside cannot be made.
int RunBlade(const Options& options);

} // namespace bladesim
