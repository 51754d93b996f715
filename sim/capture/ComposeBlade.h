// Makes a blade of what a controller has answered: as far as a blade file has words for it, and the very replies for
// the rest.
#pragma once

#include "sim/capture/ReadController.h"

namespace bladesim {

/// The blade whose simulated controller answers every request as the real one did; what it cannot is told. It has no
/// board. A lamp test that runs is not part of it.
Blade ComposeBlade(const CapturedController& captured, const Tell& tell);

/// Those of the replies that the blade's controller would not give.
std::map<Bytes, Bytes> DifferentReplies(const Blade& blade, const std::map<Bytes, Bytes>& replies);

} // namespace bladesim
