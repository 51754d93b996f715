// What bladesim shows of the board's Ethernet switch.
#pragma once

#include "bm_dev/SimulatedSwitch.h"

#include <nlohmann/json.hpp>

#include <string>

namespace bladesim {

/// The ports, and where there are any the learnt addresses and the calls that fail, as tables for people.
std::string FormatSwitch(const bm_dev::SwitchState& state);

/// The same for programs: docs/bladesim.md describes it.
nlohmann::ordered_json JsonOfSwitch(const bm_dev::SwitchState& state);

} // namespace bladesim
