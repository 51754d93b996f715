// The JSON of a call, for those who do not write it to a descriptor.
#pragma once

#include "host/output/Output.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>

namespace bmhost {

/// Hands over what would be one line, call by call. On a line it is written by bm_dev::EscapedJson.
std::unique_ptr<Output> MakeJsonOutput(std::function<void(nlohmann::ordered_json)> taker);

} // namespace bmhost
