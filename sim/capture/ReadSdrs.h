// Reads the records of a controller's SDR repository.
#pragma once

#include "sim/capture/Conversation.h"

namespace bladesim {

/// In the repository's order, with their headers. One that cannot be read whole is left out, which the conversation is
/// told.
std::vector<Bytes> ReadSdrs(Conversation& conversation);

} // namespace bladesim
