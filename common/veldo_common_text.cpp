// Formatted text as a string.
#include "common/veldo_common_text.h"

#include <cstdio>

namespace BM_ADAPTOR {

std::string FormatText(const char* a_Format, ...) {
    va_list l_Arguments;
    va_start(l_Arguments, a_Format);
    std::string l_Text = FormatTextList(a_Format, l_Arguments);
    va_end(l_Arguments);
    return l_Text;
}

std::string FormatTextList(const char* a_Format, va_list a_Arguments) {
    va_list l_Again;
    va_copy(l_Again, a_Arguments);
    const int l_Length = vsnprintf(nullptr, 0, a_Format, a_Arguments);
    std::string l_Text(l_Length > 0 ? static_cast<std::size_t>(l_Length) : 0, '\0');
    vsnprintf(l_Text.data(), l_Text.size() + 1, a_Format, l_Again);
    va_end(l_Again);
    return l_Text;
}

} // namespace BM_ADAPTOR
