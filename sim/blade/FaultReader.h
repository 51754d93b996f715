// Reads the faults of a blade file.
#pragma once

#include "sim/base/JsonReader.h"
#include "sim/blade/Blade.h"

namespace BLADESIM {

/// One object of "faults". Throws a BLADE_ERROR.
FAULT ReadFault(JSON_OBJECT a_Object);

} // namespace BLADESIM
