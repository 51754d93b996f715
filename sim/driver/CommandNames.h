// The names of IPMI commands, for people who read the log.
#pragma once

#include <cstdint>

namespace bladesim {

/// The name in the standards; empty for a command that is never sent to a carrier's controller. Group extension
/// commands are taken to be PICMG's.
const char* CommandName(uint8_t netFn, uint8_t command);

} // namespace bladesim
