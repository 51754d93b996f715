// The process that takes the controller's place when a recording answers.
#pragma once

#include "sim/controller/Controller.h"
#include "sim/record/Replay.h"

namespace bladesim {

/// Forks; the child answers on the connection like a controller's VM port. `atOnce`: without the recorded delays, and
/// with the driver's time-out for a request that was never answered. Throws a BladeError.
RunningController StartReplay(const Recording& recording, const Replay::NameCommand& name, bool atOnce);

} // namespace bladesim
