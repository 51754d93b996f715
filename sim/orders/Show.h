// What bladesim shows of a running blade, as text for people.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace bladesim {

// Each takes what the blade answers, and makes a table of it.
std::string FormatRequests(const nlohmann::json& requests);
std::string FormatLog(const nlohmann::json& log);
std::string FormatFaults(const nlohmann::json& faults);
std::string FormatLeds(const nlohmann::json& leds, bool colors);
std::string FormatControls(const nlohmann::json& controls);

} // namespace bladesim
