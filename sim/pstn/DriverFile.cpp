// The file through which the PCI driver learns of the PSTN, /proc/mavkpcidrv/pstn.cfg.
#include "sim/pstn/DriverFile.h"

#include "sim/pstn/DriverFileFuse.h"
#include "sim/pstn/DriverFileServer.h"

namespace bladesim {

RunningDriverFile StartDriverFile(const DriverFile& file, const std::string& runFolder) {
    DriverFileLog log(file, runFolder);
    try {
        return {StartDriverFileOnFuse(log), ""};
    } catch (const NoFuse& error) {
        return {StartDriverFileServer(log), error.what()};
    }
}

} // namespace bladesim
