// Tables for people: columns as wide as their widest text.
#include "sim/orders/Table.h"

#include "platform/src/ByteText.h"

#include <algorithm>
#include <utility>

namespace BLADESIM {
namespace {

constexpr char g_Gap[] = "  ";

/// Characters of a UTF-8 text; those that are used here are one column wide.
size_t Width(const std::string& a_Text) {
    return static_cast<size_t>(
        std::count_if(a_Text.begin(), a_Text.end(), [](char a_Byte) { return (a_Byte & 0xC0) != 0x80; }));
}

} // namespace

std::string FormatTable(std::vector<std::vector<CELL>> a_Rows, bool a_Colors) {
    std::vector<size_t> l_Widths;
    for (auto& l_Row : a_Rows) {
        l_Widths.resize(std::max(l_Widths.size(), l_Row.size()));
        for (size_t l_Column = 0; l_Column < l_Row.size(); ++l_Column) {
            std::string& l_Text = l_Row[l_Column].m_Text;
            l_Text = BM_PLATFORM::Printable(std::move(l_Text));
            l_Widths[l_Column] = std::max(l_Widths[l_Column], Width(l_Text));
        }
    }
    std::string l_Table;
    for (const auto& l_Row : a_Rows) {
        std::string l_Line;
        for (size_t l_Column = 0; l_Column < l_Row.size(); ++l_Column) {
            const CELL& l_Cell = l_Row[l_Column];
            const bool l_Colored = a_Colors && l_Cell.m_Color != nullptr;
            l_Line += (l_Column == 0 ? "" : g_Gap);
            l_Line +=
                l_Colored ? std::string("\033[") + l_Cell.m_Color + "m" + l_Cell.m_Text + "\033[0m" : l_Cell.m_Text;
            l_Line += std::string(l_Widths[l_Column] - Width(l_Cell.m_Text), ' ');
        }
        l_Line.erase(l_Line.find_last_not_of(' ') + 1);
        l_Table += l_Line + "\n";
    }
    return l_Table;
}

} // namespace BLADESIM
