// What the plug-in finds on the machine besides the controller.
#pragma once

#include "sim/blade/Board.h"

namespace bladesim {

/// Its interface eth6, and whether the PCI driver has its file. Throws a BladeError.
Board ReadLocalBoard();

} // namespace bladesim
