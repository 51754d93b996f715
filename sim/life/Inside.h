// The inside of a simulated blade: the first process of its process namespace, which brings it up, runs the command and
// takes everything down by ending.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/base/ExitStatus.h"
#include "sim/base/Paths.h"
#include "sim/blade/Blade.h"
#include "sim/controller/SystemInterface.h"
#include "sim/driver/RequestQueue.h"
#include "sim/record/Recording.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace bladesim {

struct Options {
    Blade m_blade;
    Paths m_paths;
    std::vector<std::string> m_command;
    std::chrono::milliseconds m_timeOut = DriverTimeOut; ///< of the driver; 0: it waits for ever
    bool m_timeOutWhenLost = false;                      ///< its time-out comes when no reply can come any more
    SystemInterface m_ipmi = SystemInterface::Bridge;
    std::string m_name; ///< in the register of running blades; empty: the first free one after the blade file's
    std::string m_keep; ///< the folder for what bmhost keeps; empty: in the run folder
    bool m_verbose = false;
    std::string m_record;              ///< where to record what goes over /dev/ipmi0; empty: nowhere
    std::optional<Recording> m_replay; ///< answers instead of a controller
};

/// What the inside sends to the outside when the blade is up, just before COMMAND starts.
constexpr char UpByte = 'U';

/// Runs as process 1, with SIGCHLD blocked. `outside` is a socket to the process that was started by the user: each
/// byte that comes is a signal number for the command, end of file means that the outside has gone. Returns the status
/// to exit with.
int RunInside(const Options& options, bm_dev::UniqueFd outside);

} // namespace bladesim
