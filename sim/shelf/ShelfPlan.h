// What a shelf consists of: which blade stands in which slot, by which name and address.
#pragma once

#include <netinet/in.h>
#include <string>
#include <vector>

namespace bladesim {

constexpr unsigned MaxSlots = 14;
constexpr uint16_t DoorPort = 8443;

struct ShelfPlace {
    std::string m_name;  ///< by which the blade is asked, as a host name
    unsigned m_slot;     ///< 1 to MaxSlots
    std::string m_blade; ///< name or file, as for --blade
};

/// That many sound blades, of different kinds: blade1 in slot 1, and so on.
std::vector<ShelfPlace> PlanOf(unsigned count);

/// Addresses of the base interface: the shelf's own, that of a slot, and their mask.
in_addr ShelfAddress();
in_addr AddressOf(const ShelfPlace& place);
in_addr BaseMask();

std::string TextOf(in_addr address);

/// A file of host names: the shelf's, then `others`.
std::string HostNames(const std::vector<ShelfPlace>& places, const std::string& others);

} // namespace bladesim
