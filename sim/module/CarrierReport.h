// The controller's own view of its carrier, as JSON for tests and people.
#pragma once

#include "sim/module/Carrier.h"

#include <string>
#include <vector>

namespace bladesim {

/// The objects of a list, one text each: for every LED of the carrier, what it shows and why.
std::vector<std::string> DescribeLEDs(const Carrier& carrier, LedClock::time_point now);

/// The same for the accepted FRU Controls.
std::vector<std::string> DescribeControls(const Carrier& carrier);

} // namespace bladesim
