// The resident host's counts as JSON, and back: what the socket carries.
#pragma once

#include "host/picture/Statistics.h"

#include <nlohmann/json_fwd.hpp>

namespace bmhost {

nlohmann::ordered_json StatisticsJson(const Statistics& statistics);
/// Throws std::runtime_error saying what is missing or of another type.
Statistics StatisticsOf(const nlohmann::ordered_json& object);

} // namespace bmhost
