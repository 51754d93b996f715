// The process of the media software: starting it, finding it, ending it. A blade has at most one.
#pragma once

#include "bm_dev/UniqueFd.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace bladesim {

/// In the run folder: its process id. The process holds a lock on it while it lives; the file of one that was killed is
/// not locked.
inline constexpr char MediaProcessFile[] = "media.pid";
/// In the run folder: its standard error.
inline constexpr char MediaLog[] = "media.log";
/// What it prints when it is ready.
inline constexpr char MediaReady[] = "ready\n";

enum class MediaEnd {
    Stop, ///< asks it to end; kills it when it does not within seconds
    Kill  ///< at once
};

/// Starts vxpsim and returns its process when it is ready; when one runs already, returns that. It outlives the caller.
/// Throws a BladeError.
pid_t StartMedia(const std::string& runFolder);

/// False when it does not run. Throws a BladeError.
bool EndMedia(const std::string& runFolder, MediaEnd how);

std::optional<pid_t> RunningMedia(const std::string& runFolder);

/// Called by the software itself: makes the file, and returns the lock on it.
[[nodiscard]] bm_dev::UniqueFd EnterMediaProcess(const std::string& runFolder);

} // namespace bladesim
