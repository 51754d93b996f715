// Starts ipmi_sim as the controller of a blade and waits until it answers.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/base/Paths.h"
#include "sim/blade/Blade.h"

#include <string>
#include <sys/types.h>

namespace bladesim {

struct RunningController {
    pid_t m_process = -1;      ///< child of the caller
    bm_dev::UniqueFd m_input;  ///< its standard input, which must stay open
    bm_dev::UniqueFd m_vmPort; ///< connected, greeted, and it has answered
};

/// Writes its files to the run folder, replacing those of a former controller. Throws a BladeError with the end of
/// ipmi_sim's log when it does not come up.
RunningController StartController(const Blade& blade, const Paths& paths);

/// Kills it, as a loss of power would. It has ended when this returns.
void StopController(RunningController& controller);

} // namespace bladesim
