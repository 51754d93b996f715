// The picture's enumerations in words, for people and in JSON.
#pragma once

#include "host/picture/Picture.h"

#include <optional>
#include <string_view>

namespace bmhost {

/// "hardware", "missing", "permission", "no controller".
std::string_view SourceWord(Source::Kind kind);
std::optional<Source::Kind> SourceOfWord(std::string_view word);
/// "not monitored", "monitored", "fault", "ended".
std::string_view HealthWord(HealthState state);
std::optional<HealthState> HealthOfWord(std::string_view word);
/// "unknown", "answers", "lost".
std::string_view ControllerWord(Controller::State state);
std::optional<Controller::State> ControllerOfWord(std::string_view word);
/// "up", "down", "unknown".
std::string_view LinkWord(std::optional<bool> linkUp);

} // namespace bmhost
