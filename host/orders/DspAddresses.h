// Which addresses a DSP can have: start-up takes those in the network of the blade's interface only.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace bmhost {

/// The interface to which the DSPs are connected.
constexpr const char* DspInterface = "eth6";

/// An IPv4 address, in the order of its text; nothing for another text.
std::optional<uint32_t> Ipv4Of(const std::string& text);
std::string Ipv4Text(uint32_t address);

/// The first IPv4 address of the machine's interface; nothing when it has none.
std::optional<uint32_t> AddressOfInterface(const char* name);

/// Why a DSP cannot have this address; empty when it can.
/// @param own  of the interface; none: nothing is known of its network
/// @param others  the other DSPs' addresses by their numbers
std::string ComplaintOfAddress(uint32_t address, std::optional<uint32_t> own, const std::map<int, std::string>& others);

} // namespace bmhost
