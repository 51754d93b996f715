// The PCI driver's file as a real one, in a file system of ours.
#pragma once

#include "sim/base/Error.h"
#include "sim/pstn/DriverFileLog.h"

#include <sys/types.h>

namespace bladesim {

/// This machine, or this user, has no FUSE: says why. Nothing has been changed then.
struct NoFuse : BladeError {
    using BladeError::BladeError;
};

/// Makes the file, for the mount namespace of the caller, in which no mount is shared; returns the process that serves
/// it until it is killed. The rest of /proc is seen as before. Throws a BladeError, NoFuse among them.
pid_t StartDriverFileOnFuse(DriverFileLog& log);

} // namespace bladesim
