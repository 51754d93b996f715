// Writes the inventory image of one FRU of a blade into a file.
#pragma once

#include "sim/blade/Blade.h"

#include <string>

namespace bladesim {

/// Replaces the file as a whole or, when something fails, leaves it as it was; writes straight to a device or a pipe.
/// Throws a BladeError when the blade has no such FRU, the FRU has no inventory or the file cannot be written.
void DumpFru(const Blade& blade, unsigned id, const std::string& file);

} // namespace bladesim
