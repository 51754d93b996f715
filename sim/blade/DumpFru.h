// Writes the inventory image of one FRU of a blade into a file.
#pragma once

#include "sim/blade/Blade.h"

#include <string>

namespace bladesim {

/// The file is replaced as a whole or, when something fails, left as it was; a device or a pipe is written to. Throws a
/// BladeError: the blade has no such FRU, the FRU has no inventory, the file cannot be written.
void DumpFru(const Blade& blade, unsigned id, const std::string& file);

} // namespace bladesim
