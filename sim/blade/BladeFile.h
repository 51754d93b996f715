// Reads a blade file: JSON, the schema is in docs/bladesim.md.
#pragma once

#include "sim/blade/Blade.h"

#include <string>

namespace BLADESIM {

/// Throws a BLADE_ERROR that names the file, and the line and the key of what is wrong in it.
BLADE ReadBladeFile(const std::string& a_File);

} // namespace BLADESIM
