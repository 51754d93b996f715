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

/// How wide a table may be, and what a text ends with that is cut to fit.
struct TableWidth {
    std::size_t m_columns = 0; ///< of the terminal; 0: as wide as it comes
    std::string_view m_mark = "…";
};

/// The first `columns` columns of a UTF-8 text, the mark among them; the whole text where it fits.
inline std::string CutText(const std::string& text, std::size_t columns, std::string_view mark) {
    if (ColumnsOf(text) <= columns) return text;
    const std::size_t markColumns = std::min(ColumnsOf(mark), columns);
    std::size_t kept = 0;
    std::size_t bytes = 0;
    while (bytes < text.size()) {
        const bool begins = (text[bytes] & 0xC0) != 0x80;
        if (begins && kept == columns - markColumns) break;
        kept += begins ? 1 : 0;
        ++bytes;
    }
    return text.substr(0, bytes) + std::string(ColumnsOf(mark) <= columns ? mark : mark.substr(0, columns));
}

/// Makes the widest columns narrower until the table fits, or none is left that can lose anything. The first one, which
/// tells the rows apart, loses only what the others cannot.
inline void FitColumns(std::vector<std::size_t>& widths, std::size_t spared, std::size_t limit) {
    constexpr std::size_t narrowest = 6;
    std::size_t sum = spared;
    for (const std::size_t width : widths)
        sum += width;
    while (sum > limit) {
        auto widest = std::max_element(widths.begin() + 1, widths.end());
        if (widest == widths.end() || *widest <= narrowest) widest = widths.begin();
        if (*widest <= narrowest) return;
        --*widest;
        --sum;
    }
}

/// A line for each row: `indent`, then the cells in columns that are two blanks apart. Rows may have different lengths,
/// and no line ends in blanks. Colours are used only with `colors`. What a terminal would take for a command is shown
/// as '?', and so is a line end within a text. A table that is too wide has its longest columns cut.
inline std::string FormatTable(TableRows rows, bool colors, std::string_view indent = {}, TableWidth width = {}) {
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
    if (width.m_columns != 0 && !widths.empty())
        FitColumns(widths, indent.size() + gap.size() * (widths.size() - 1), width.m_columns);
    for (auto& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column)
            row[column].m_text = CutText(row[column].m_text, widths[column], width.m_mark);
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
