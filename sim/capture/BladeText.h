// The text of a blade file.
#pragma once

#include "sim/blade/Blade.h"

#include <string>

namespace bladesim {

/// Reading it gives the same blade. Inventories are written as the bytes of their images, faults as far as a capture
/// has them.
std::string BladeText(const Blade& blade, const std::string& description);

} // namespace bladesim
