// What people read: values as text, and aligned tables.
#pragma once

#include "host/output/Style.h"

#include "bm/Params.h"

#include <functional>
#include <string>
#include <vector>

namespace bmhost {

/// "12 (not found)".
std::string ResultText(int result);
/// The text with '?' for every byte that might control a terminal.
std::string PrintableText(std::string text);
/// A value as people read it, printable.
std::string ValueText(const BM_ADAPTOR::CBMIParam& param);

/// The number of the terminal's escape sequence for a cell ("31"), or null; called with line (the heading is line 0)
/// and column.
using CellPainter = std::function<const char*(std::size_t line, std::size_t column)>;

/// An indented table. With `color` its first line, the heading, is bold, and `painter` colours the other cells.
std::string AlignedTable(const std::vector<std::vector<std::string>>& lines, bool color,
                         const CellPainter& painter = {});

/// The same for an output of this style: cut to the terminal's width.
std::string AlignedTable(const std::vector<std::vector<std::string>>& lines, const Style& style,
                         const CellPainter& painter = {});

/// The table's rows under column names, taken from the rows in order of appearance.
std::vector<std::vector<std::string>> TableLines(const BM_ADAPTOR::CBMITable& table);

} // namespace bmhost
