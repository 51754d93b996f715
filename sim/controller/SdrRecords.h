// The SDR repository of a carrier's controller: locators and names of the controller and its FRUs.
#pragma once

#include "sim/blade/Blade.h"

#include <cstdint>
#include <vector>

namespace bladesim {

using SdrRecord = std::vector<uint8_t>; ///< with its header; the repository gives the record ids

/// A locator of the controller, and one of each FRU.
std::vector<SdrRecord> LocatorRecords(const Blade& blade);

} // namespace bladesim
