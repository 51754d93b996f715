// The shelf's base interface: a bridge, with a cable to each blade that is plugged in.
#pragma once

#include "bm_dev/UniqueFd.h"
#include "sim/shelf/ShelfPlan.h"

#include <string>
#include <sys/types.h>

namespace bladesim {

/// Lives in one thread, in the shelf's network namespace. Its operations throw a BladeError.
class Backplane {
public:
    /// Makes the bridge, with the shelf's own address.
    Backplane();

    /// The blade gets an interface with the slot's address and MAC; `inside` is a process in its network namespace.
    void Plug(const ShelfPlace& place, pid_t inside);
    /// From now on nothing reaches the blade. Does nothing when it is not plugged in.
    void Unplug(const ShelfPlace& place);

private:
    bm_dev::UniqueFd m_netlink;
    bm_dev::UniqueFd m_socket;
    unsigned m_bridge = 0; ///< its number
};

} // namespace bladesim
