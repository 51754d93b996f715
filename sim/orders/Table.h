// Tables for people: columns as wide as their widest text.
#pragma once

#include <string>
#include <vector>

namespace BLADESIM {

struct CELL {
    std::string m_Text;
    const char* m_Color = nullptr; ///< the number of an escape sequence ("31"); null: as it is
};

/// The first row is the heading. Every column but the last is filled up with blanks; lines end with a line end. What a
/// terminal would take for a command is shown as '?', line ends in a text too.
std::string FormatTable(std::vector<std::vector<CELL>> a_Rows, bool a_Colors);

} // namespace BLADESIM
