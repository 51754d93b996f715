// Gives a blade its own mounts and network, which vanish with the last process in them.
#pragma once

#include <string>

namespace bladesim {

/// Gives the calling process its own mount and network namespaces: mounts made here are not visible outside, the only
/// network is a loopback interface that is up, and /proc shows this process namespace. Throws a BladeError.
void EnterBladeNamespaces();

/// Mounts an empty file system in memory on an existing folder.
void MountRunFolder(const std::string& folder);

} // namespace bladesim
