// What a client tells whose time is up.
#pragma once

#include "host/client/HostClient.h"

#include <chrono>
#include <string>

namespace bmhost {

/// "30 s", "0.5 s".
std::string SecondsText(std::chrono::milliseconds time);

/// What the resident host is doing: "waiting for `read 0x30300` since 2026-11-22T09:30:00.125Z"; of a call that waits
/// for its turn also what comes first. Prefers this process's own calls. Asks it, for a short time; never throws for
/// what it answers.
std::string WaitingFor(const HostPlace& place);

} // namespace bmhost
