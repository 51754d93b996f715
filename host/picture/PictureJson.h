// The picture as JSON, and back: what the socket carries and what --json shows.
#pragma once

#include "host/picture/Picture.h"

#include <nlohmann/json_fwd.hpp>

namespace bmhost {

/// The parts of the picture by the names that they have in JSON and in the socket's paths: "source", "host",
/// "inventory", "leds", "dsps", "ports", "health", "controller", "upgrades", "calls", "faults", "status".
nlohmann::ordered_json PictureJson(const Picture& picture);
/// The part "source" alone.
nlohmann::ordered_json SourceJson(const Source& source);
/// Throws std::runtime_error naming what is missing or of another type.
Picture PictureOf(const nlohmann::ordered_json& picture);

} // namespace bmhost
