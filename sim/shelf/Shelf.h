// A shelf: blades side by side on a base interface, and the command that runs beside them.
#pragma once

#include "sim/base/DriverAddress.h"
#include "sim/base/Paths.h"
#include "sim/shelf/ShelfPlan.h"

#include <string>
#include <vector>

namespace bladesim {

struct ShelfOptions {
    Paths m_paths;
    std::vector<ShelfPlace> m_places;
    std::vector<std::string> m_command;
};

/// Where the shelf takes orders, in its network namespace: a line of JSON each, answered by a line of JSON.
inline SocketAddress ShelfAddressForOrders() {
    return AbstractAddress("bladesim/shelf");
}

/// Brings the shelf up, runs the command and takes everything down. Returns the status to exit with. Throws a
/// BladeError when there cannot be a shelf.
int RunShelf(const ShelfOptions& options);

} // namespace bladesim
