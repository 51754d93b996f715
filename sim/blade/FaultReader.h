// Reads the faults of a blade file.
#pragma once

#include "sim/base/JsonReader.h"
#include "sim/blade/Blade.h"

namespace bladesim {

/// One object of "faults". Throws a BladeError.
Fault ReadFault(JsonObject object);

} // namespace bladesim
