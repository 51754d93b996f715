// The file through which the PCI driver learns of the PSTN, /proc/mavkpcidrv/pstn.cfg.
#pragma once

#include "sim/blade/Board.h"

#include <string>
#include <sys/types.h>

namespace bladesim {

struct RunningDriverFile {
    pid_t m_process = -1; ///< serves the file until it is killed
    std::string m_noFuse; ///< why the preload library has to make the file; empty: it is a real one
};

/// Makes the file, for the namespaces of the caller: through FUSE or, where there is none, for programs with the
/// preload library. Throws a BladeError.
RunningDriverFile StartDriverFile(const DriverFile& file, const std::string& runFolder);

} // namespace bladesim
