// The names of IPMI commands, for people who read what was asked.
#pragma once

#include <cstdint>

namespace bladesim {

/// The name in the standards; empty for a command that nobody asks of a carrier's controller. What is in the group
/// extension is taken for PICMG's.
const char* CommandName(uint8_t netFn, uint8_t command);

} // namespace bladesim
