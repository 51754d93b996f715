// Formatted text as a string.
#pragma once

#include <cstdarg>
#include <string>

namespace BM_ADAPTOR {

/// printf into a string, of any length.
std::string FormatText(const char* a_Format, ...) __attribute__((format(printf, 1, 2)));
std::string FormatTextList(const char* a_Format, va_list a_Arguments) __attribute__((format(printf, 1, 0)));

} // namespace BM_ADAPTOR
