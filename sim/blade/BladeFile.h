// Reads a blade file: JSON, the schema is in docs/bladesim.md.
#pragma once

#include "sim/blade/Blade.h"

#include <string>

namespace bladesim {

/// Throws a BladeError that names file, line and key of an error.
Blade ReadBladeFile(const std::string& file);

} // namespace bladesim
