// Reads a blade file: JSON, the schema is in docs/bladesim.md.
#pragma once

#include "sim/blade/Blade.h"

#include <string>

namespace bladesim {

/// Throws a BladeError that names the file, and the line and the key of what is wrong in it.
Blade ReadBladeFile(const std::string& file);

} // namespace bladesim
