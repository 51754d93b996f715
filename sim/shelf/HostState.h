// What the resident host of a blade says of itself, asked from outside the blade.
#pragma once

#include <string>
#include <sys/types.h>

namespace bladesim {

enum class HostState {
    Silent,   ///< it does not answer yet
    Starting, ///< Init or Start has not returned
    Started   ///< Init or Start has returned, with whatever result
};

/// @param inside     process 1 of the blade, as the caller sees it
/// @param runFolder  the blade's run folder
HostState AskHost(pid_t inside, const std::string& runFolder);

/// The state in an answer of the resident host, with its headers, to a GET of /v1/blade/host.
HostState StateIn(const std::string& answer);

} // namespace bladesim
