// What bladesim shows of a running blade, as text for people.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace BLADESIM {

// Each takes what the blade answers, and makes a table of it.
std::string FormatRequests(const nlohmann::json& a_Requests);
std::string FormatLog(const nlohmann::json& a_Log);
std::string FormatFaults(const nlohmann::json& a_Faults);
std::string FormatLeds(const nlohmann::json& a_Leds, bool a_Colors);
std::string FormatControls(const nlohmann::json& a_Controls);

} // namespace BLADESIM
