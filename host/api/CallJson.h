// A call of the fixed grammar as JSON: {"op": "read", "group": "0x300", "keys": [{"id": "bay", "type": 1, "value":
// 3}]}.
#pragma once

#include "host/words/Call.h"

#include <nlohmann/json.hpp>

#include <string>

namespace bmhost {

/// The JSON that a request's body holds. Throws Refusal.
nlohmann::json JsonOf(const std::string& body);

/// Throws Refusal: 409 for an operation that clients cannot give, 400 with the key that is wrong.
Call CallOf(const nlohmann::json& value);

} // namespace bmhost
