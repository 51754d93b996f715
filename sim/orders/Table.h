// Tables for people: columns as wide as their widest text.
#pragma once

#include <string>
#include <vector>

namespace bladesim {

struct Cell {
    std::string m_text;
    const char* m_color = nullptr; ///< the number of an escape sequence ("31"); null: as it is
};

/// The first row is the heading. Every column but the last is filled up with blanks; lines end with a line end. What a
/// terminal would take for a command is shown as '?', line ends in a text too.
std::string FormatTable(std::vector<std::vector<Cell>> rows, bool colors);

} // namespace bladesim
