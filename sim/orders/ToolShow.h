// What bladesim shows of tools and media software, as text for people.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace bladesim {

/// The runs of tools, as ReadToolLog gives them.
std::string FormatToolRuns(const nlohmann::ordered_json& runs);

/// The tools with their orders: name, description, exit, signal, delay_ms, times.
std::string FormatTools(const nlohmann::ordered_json& tools);

/// One value per line.
std::string FormatMedia(const nlohmann::ordered_json& media);

} // namespace bladesim
