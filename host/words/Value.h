// Values as they are typed on the command line: ID=VALUE.
#pragma once

#include "bm/Params.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace bmhost {

/// A whole number, decimal (with a sign) or 0x…; nothing when the text is no number.
std::optional<int64_t> ParseNumber(std::string_view text);

/// A parameter from "ID=VALUE", for a call on the group. VALUE is an integer, true or false, or text; the prefix i:,
/// u:, s: or b: forces type 1, 2, 4 or 0. Throws UsageError saying what was expected.
BM_ADAPTOR::CBMIParam ParseParam(std::string_view text, bool key, unsigned group);

} // namespace bmhost
