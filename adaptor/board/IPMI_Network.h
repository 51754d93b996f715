// What the kernel says of this machine's network interfaces. An interface without an IPv4 address counts as none.
#pragma once

#include "adaptor/board/IPMI_MAC.h"

#include <optional>
#include <string>

namespace BM_ADAPTOR {

/// The Ethernet address of an interface; nothing when there is no such interface, or it has no IPv4 address.
std::optional<MAC_ADDRESS> HardwareAddressOf(const std::string& a_Interface);
/// Its IPv4 address as dotted text, likewise.
std::optional<std::string> IPv4AddressOf(const std::string& a_Interface);

} // namespace BM_ADAPTOR
