// Tables for people: columns as wide as their widest text.
#pragma once

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bm_dev {

struct Cell {
    std::string m_text;
    const char* m_color = nullptr; ///< the number of a terminal's escape sequence ("31"), or null for none
};

using TableRows = std::vector<std::vector<Cell>>;

/// How many columns a UTF-8 text takes. The characters used here are one column wide.
inline std::size_t ColumnsOf(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

/// A line for each row: `indent`, then the cells in columns that are two blanks apart. Rows may have different lengths,
/// and no line ends in blanks. Colours are used only with `colors`. What a terminal would take for a command is shown
/// as '?', and so is a line end within a text.
inline std::string FormatTable(TableRows rows, bool colors, std::string_view indent = {}) {
    constexpr std::string_view gap = "  ";
    std::vector<std::size_t> widths;
    for (auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column) {
            std::string& text = row[column].m_text;
            text = Printable(std::move(text));
            widths[column] = std::max(widths[column], ColumnsOf(text));
        }
    }
    std::string table;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const Cell& cell = row[column];
            const bool colored = colors && cell.m_color != nullptr && !cell.m_text.empty();
            line += column == 0 ? indent : gap;
            line += colored ? std::string("\033[") + cell.m_color + "m" + cell.m_text + "\033[0m" : cell.m_text;
            line.append(widths[column] - ColumnsOf(cell.m_text), ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        table += line + "\n";
    }
    return table;
}

} // namespace bm_dev
