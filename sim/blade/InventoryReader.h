// Reads what a blade file says of one inventory area.
#pragma once

#include "sim/base/JsonReader.h"
#include "sim/blade/Blade.h"

namespace BLADESIM {

/// The object "inventory" of a FRU. Throws a BLADE_ERROR.
INVENTORY ReadInventory(JSON_OBJECT a_Object);

} // namespace BLADESIM
