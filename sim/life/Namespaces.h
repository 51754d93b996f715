// Gives a blade mounts and a network of its own, which vanish with the last process in them.
#pragma once

#include <string>

namespace bladesim {

/// Gives the calling process mount and network namespaces of its own: nothing that is mounted here is seen outside, the
/// only network is a loopback interface that is up, /proc shows this process namespace. Throws a BladeError.
void EnterBladeNamespaces();

/// Mounts an empty file system in memory on an existing folder.
void MountRunFolder(const std::string& folder);

} // namespace bladesim
