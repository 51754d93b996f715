// A row of the adaptor as a JSON object with the names of its columns, and back.
#pragma once

#include "bm/Params.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace bmhost {

/// {"bay": 3, "product_name": "…"}: a column without a name has its number, "0x30209".
nlohmann::ordered_json RowJson(const BM_ADAPTOR::CBMIParams& row);
/// The row of this group, its types and keys as the protocol has them; a value of another type keeps that. Columns
/// are in the order of their numbers; members that are no columns of the group are left out. Throws std::runtime_error
/// naming a value that a row cannot have.
/// @param place  where the object stands, for the error's text: "inventory.board[0]"
BM_ADAPTOR::CBMIParams RowOfJson(const nlohmann::ordered_json& object, unsigned group, const std::string& place);

/// The text with characters up to U+00FF as the hardware's bytes; other characters become '?'.
std::string BytesOfUtf8(const std::string& text);

} // namespace bmhost
