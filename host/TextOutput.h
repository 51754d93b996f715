// What people read: values as text, and aligned tables.
#pragma once

#include "bm/Params.h"

#include <string>
#include <vector>

namespace BMHOST {

/// A value as people read it; control bytes are shown as '?'.
std::string ValueText(const BM_ADAPTOR::CBMIParam& a_Param);

/// Columns as wide as their widest text; the first line is the header, in bold when `a_Color`.
std::string AlignedTable(const std::vector<std::vector<std::string>>& a_Lines, bool a_Color);

/// The table's rows under column names, taken from the rows in order of appearance.
std::vector<std::vector<std::string>> TableLines(const BM_ADAPTOR::CBMITable& a_Table);

/// Whether the descriptor is a terminal that wants colour.
bool ColorWanted(int a_Descriptor);

} // namespace BMHOST
