// Reads what a blade file says of the board: the keys "ethernet" and "pstn_driver".
#pragma once

#include "sim/base/JsonReader.h"
#include "sim/blade/Board.h"

namespace BLADESIM {

/// `a_Blade` is the whole blade file. Throws a BLADE_ERROR.
BOARD ReadBoard(JSON_OBJECT& a_Blade);

} // namespace BLADESIM
