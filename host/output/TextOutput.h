// What people read: values as text, and aligned tables.
#pragma once

#include "bm/Params.h"

#include <functional>
#include <string>
#include <vector>

namespace BMHOST {

/// "12 (not found)".
std::string ResultText(int a_Result);
/// The text with '?' for every byte that might steer a terminal.
std::string PrintableText(std::string a_Text);
/// A value as people read it, printable.
std::string ValueText(const BM_ADAPTOR::CBMIParam& a_Param);

/// The terminal's escape sequence that a cell begins with, or null; asked by line (0 is the header) and column.
using CELL_PAINTER = std::function<const char*(std::size_t a_Line, std::size_t a_Column)>;

/// Columns as wide as their widest text; with `a_Color` the first line is the header, in bold, and the cells are
/// painted.
std::string AlignedTable(const std::vector<std::vector<std::string>>& a_Lines, bool a_Color,
                         const CELL_PAINTER& a_Painter = {});

/// The table's rows under column names, taken from the rows in order of appearance.
std::vector<std::vector<std::string>> TableLines(const BM_ADAPTOR::CBMITable& a_Table);

/// Whether the descriptor is a terminal that wants colour.
bool ColorWanted(int a_Descriptor);

} // namespace BMHOST
