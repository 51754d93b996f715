// The controller's own view of its carrier, as JSON for tests and people.
#pragma once

#include "sim/module/Carrier.h"

#include <string>
#include <vector>

namespace BLADESIM {

/// The objects of a list, one text each: of every LED of the carrier what it shows and why.
std::vector<std::string> DescribeLEDs(const CARRIER& a_Carrier, LED_CLOCK::time_point a_Now);

/// Likewise the FRU Controls that were accepted.
std::vector<std::string> DescribeControls(const CARRIER& a_Carrier);

} // namespace BLADESIM
