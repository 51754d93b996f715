// Reads the inventory of one FRU from a blade file.
#pragma once

#include "sim/base/JsonReader.h"
#include "sim/blade/Blade.h"

namespace bladesim {

/// The object "inventory" of a FRU. Throws a BladeError.
Inventory ReadInventory(JsonObject object);

} // namespace bladesim
