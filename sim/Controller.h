// Starts ipmi_sim as the controller of a blade and waits until it answers.
#pragma once

#include "sim/Blade.h"
#include "sim/UniqueFd.h"

#include <string>
#include <sys/types.h>

namespace BLADESIM {

struct RUNNING_CONTROLLER {
    pid_t m_Process = -1;
    UNIQUE_FD m_Input;  ///< its standard input, which it wants open
    UNIQUE_FD m_VMPort; ///< connected, greeted, and it has answered
};

/// Throws a BLADE_ERROR with the end of ipmi_sim's log when it does not come up. `a_RunFolder` is empty and gets its
/// files.
RUNNING_CONTROLLER StartController(const BLADE& a_Blade, const std::string& a_RunFolder);

} // namespace BLADESIM
