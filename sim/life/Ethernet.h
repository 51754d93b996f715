// The blade's network interfaces: ends of virtual cables, whose other ends are hidden from the blade.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/blade/Board.h"

#include <vector>

namespace bladesim {

/// Makes them in the network namespace of the caller, in this order, up and with a carrier. They exist as long as the
/// returned descriptor; without interfaces there is no descriptor. Throws a BladeError.
bm_dev::UniqueFd MakeInterfaces(const std::vector<EthernetInterface>& interfaces);

} // namespace bladesim
