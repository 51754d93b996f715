// Reads what a blade file says of one inventory area.
#pragma once

#include "sim/base/JsonReader.h"
#include "sim/blade/Blade.h"

namespace bladesim {

/// The object "inventory" of a FRU. Throws a BladeError.
Inventory ReadInventory(JsonObject object);

} // namespace bladesim
