// Serves the PCI driver's file where there is no FUSE: to programs that the preload library connects to it.
#pragma once

#include "sim/pstn/DriverFileLog.h"

#include <sys/types.h>

namespace bladesim {

/// Returns the process that serves it until it is killed; programs find it from now on. Throws a BladeError.
pid_t StartDriverFileServer(DriverFileLog& log);

} // namespace bladesim
