// A connection to the web door of a blade elsewhere.
#pragma once

#include "host/connect/Deadline.h"
#include "host/connect/Elsewhere.h"

#include "bm_dev/UniqueFd.h"

namespace bmhost {

/// To a door on this machine, without TLS. Nonblocking. Throws Unreachable, DeadlinePassed, std::system_error.
bm_dev::UniqueFd ConnectLoopback(const Elsewhere& place, const Deadline& deadline);

} // namespace bmhost
