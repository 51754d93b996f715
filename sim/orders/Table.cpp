// Tables for people: columns as wide as their widest text.
#include "sim/orders/Table.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <utility>

namespace bladesim {
namespace {

constexpr char Gap[] = "  ";

/// Characters of a UTF-8 text; those that are used here are one column wide.
size_t Width(const std::string& text) {
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

} // namespace

std::string FormatTable(std::vector<std::vector<Cell>> rows, bool colors) {
    std::vector<size_t> widths;
    for (auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t column = 0; column < row.size(); ++column) {
            std::string& text = row[column].m_text;
            text = bm_dev::Printable(std::move(text));
            widths[column] = std::max(widths[column], Width(text));
        }
    }
    std::string table;
    for (const auto& row : rows) {
        std::string line;
        for (size_t column = 0; column < row.size(); ++column) {
            const Cell& cell = row[column];
            const bool colored = colors && cell.m_color != nullptr;
            line += (column == 0 ? "" : Gap);
            line += colored ? std::string("\033[") + cell.m_color + "m" + cell.m_text + "\033[0m" : cell.m_text;
            line += std::string(widths[column] - Width(cell.m_text), ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        table += line + "\n";
    }
    return table;
}

} // namespace bladesim
