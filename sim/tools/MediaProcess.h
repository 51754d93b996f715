// The process of the media software: starting it, finding it, ending it. There is one in a blade at most.
#pragma once

#include "sim/base/UniqueFd.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace bladesim {

/// In the run folder: its process id. The process holds a lock on it for as long as it lives, by which the file of one
/// that has been killed is told.
inline constexpr char MediaProcessFile[] = "media.pid";
/// In the run folder: what it says on standard error.
inline constexpr char MediaLog[] = "media.log";
/// What it prints when it can be spoken with.
inline constexpr char MediaReady[] = "ready\n";

enum class MediaEnd {
    Stop, ///< as it is stopped; killed, if it does not end within seconds
    Kill  ///< at once
};

/// Starts vxpsim and returns its process when it is ready; the one that runs already, if there is one. It goes on when
/// the caller ends. Throws a BladeError.
pid_t StartMedia(const std::string& runFolder);

/// False when it does not run. Throws a BladeError.
bool EndMedia(const std::string& runFolder, MediaEnd how);

std::optional<pid_t> RunningMedia(const std::string& runFolder);

/// Called by the software itself: makes the file, and returns the lock on it.
[[nodiscard]] UniqueFd EnterMediaProcess(const std::string& runFolder);

} // namespace bladesim
