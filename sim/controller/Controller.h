// Starts ipmi_sim as the controller of a blade and waits until it answers.
#pragma once

#include "sim/base/Paths.h"
#include "sim/base/UniqueFd.h"
#include "sim/blade/Blade.h"

#include <string>
#include <sys/types.h>

namespace BLADESIM {

struct RUNNING_CONTROLLER {
    pid_t m_Process = -1; ///< child of the caller
    UNIQUE_FD m_Input;    ///< its standard input, which it wants open
    UNIQUE_FD m_VMPort;   ///< connected, greeted, and it has answered
};

/// Throws a BLADE_ERROR with the end of ipmi_sim's log when it does not come up. The run folder gets its files; those
/// of a controller before it are replaced.
RUNNING_CONTROLLER StartController(const BLADE& a_Blade, const PATHS& a_Paths);

/// Kills it, as a controller that loses its power; it has ended when this returns.
void StopController(RUNNING_CONTROLLER& a_Controller);

} // namespace BLADESIM
