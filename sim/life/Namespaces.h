// Gives a blade its own mounts and network, which vanish with the last process in them.
#pragma once

#include <string>
#include <sys/types.h>

namespace bladesim {

/// Makes an ordinary user root of a user namespace of his own, which owns every namespace that is made from now on.
/// Root stays where it is. The process must have one thread. Throws a BladeError that names what forbids it.
void EnterUserNamespace();

/// Gives the calling process its own mount and network namespaces: mounts made here are not visible outside, the only
/// network is a loopback interface that is up, and /proc shows this process namespace. Throws a BladeError.
void EnterBladeNamespaces();

/// As fork, but the child is process 1 of a new process namespace. The caller's later children belong to its own
/// namespace again: once process 1 has ended the new one takes none, not even a sanitizer's helper thread. Who has just
/// entered a user namespace finds no way back, and has no later children. Throws a BladeError.
pid_t ForkIntoNewProcessNamespace();

/// Mounts an empty file system in memory on an existing folder.
void MountRunFolder(const std::string& folder);

} // namespace bladesim
