// A slow reader of storage files, to compare the storage's with: the layout of docs/storage.md, letter by letter.
#pragma once

#include "bm/Params.h"

#include <optional>
#include <string>
#include <vector>

namespace fuzzing {

/// Nothing when the text does not follow the layout.
std::optional<std::vector<BM_ADAPTOR::CBMIParams>> RowsInXml(const std::string& text);

} // namespace fuzzing
