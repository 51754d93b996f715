// Reads what a blade file says about the board: the keys "ethernet" and "pstn_driver".
#pragma once

#include "sim/base/JsonReader.h"
#include "sim/blade/Board.h"

namespace bladesim {

/// `blade` is the whole blade file. Throws a BladeError.
Board ReadBoard(JsonObject& blade);

} // namespace bladesim
