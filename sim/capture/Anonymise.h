// Replaces the serial numbers and MAC addresses of a captured blade.
#pragma once

#include "sim/blade/Board.h"
#include "sim/capture/ReadController.h"

namespace bladesim {

/// Consistently: what was the same remains the same, wherever it is. Lengths stay, and so does whether a checksum is
/// right. Serial numbers of four bytes and more are replaced in other texts and in SDRs, too. `seed` makes the
/// substitutes.
void Anonymise(CapturedController& captured, Board& board, uint64_t seed);

} // namespace bladesim
