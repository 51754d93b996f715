// What bladesim shows of tools and media software, as text for people.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace BLADESIM {

/// The runs of tools, as ReadToolLog gives them.
std::string FormatToolRuns(const nlohmann::ordered_json& a_Runs);

/// The tools with what is ordered of them: name, description, exit, signal, delay_ms, times.
std::string FormatTools(const nlohmann::ordered_json& a_Tools);

/// One value a line.
std::string FormatMedia(const nlohmann::ordered_json& a_Media);

} // namespace BLADESIM
