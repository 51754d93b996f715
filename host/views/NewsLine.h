// What happens at the resident host, as a line for people.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace bmhost {

/// "2026-11-22T09:30:00.125Z  order led-set, AMC bay 3: done (0), changed; asked by uid 0, process 4711\n". Empty for a
/// change of the picture: what has changed is in the picture, and what made it change is told by itself.
/// @param kind  "event", "health", "call", "picture", "lost"; of another, as a newer host may have, all fields are
/// shown
/// @param data  an object
std::string NewsLine(const std::string& kind, const nlohmann::ordered_json& data);

} // namespace bmhost
