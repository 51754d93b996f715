// `bmhost-web` as it serves.
#pragma once

#include <string>
#include <vector>

namespace bmhost {

/// Serves until SIGINT or SIGTERM; SIGHUP reads certificate and accounts again. To be called on the process's first
/// thread. Throws UsageError when it may not be served so.
/// @param words  the command line's
/// @return the status
int ServeWeb(const std::vector<std::string>& words);

} // namespace bmhost
