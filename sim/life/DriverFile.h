// The file through which the PCI driver learns of the PSTN, /proc/mavkpcidrv/pstn.cfg, and all of /proc around it.
#pragma once

#include "sim/blade/Board.h"

#include <string>
#include <sys/types.h>

namespace bladesim {

inline constexpr char DriverFilePath[] = "/proc/mavkpcidrv/pstn.cfg";
/// In the run folder: the calls that the driver received, one per line.
inline constexpr char DriverRecords[] = "pstn.jsonl";

/// Makes the file, for the mount namespace of the caller, in which no mount is shared; returns the process that serves
/// it until it is killed. The rest of /proc is seen as before. Throws a BladeError.
pid_t StartDriverFile(const DriverFile& file, const std::string& runFolder);

} // namespace bladesim
