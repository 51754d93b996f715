// Log lines that a test expects, written with the text as the code has it: Trace("... FRUID=%d", 3).
#pragma once

#include "fake/RecordingLog.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <ostream>
#include <string>

inline constexpr const char* LOG_COMPONENT = "IPMI-Adaptor";

inline std::string __attribute__((format(printf, 1, 0))) FormatExpected(const char* a_Format, va_list a_Arguments) {
    std::array<char, 1024> l_Text{};
    vsnprintf(l_Text.data(), l_Text.size(), a_Format, a_Arguments);
    return l_Text.data();
}

inline std::string __attribute__((format(printf, 1, 2))) Text(const char* a_Format, ...) {
    va_list l_Arguments;
    va_start(l_Arguments, a_Format);
    const std::string l_Text = FormatExpected(a_Format, l_Arguments);
    va_end(l_Arguments);
    return l_Text;
}

/// A line of level 7.
inline LOG_LINE __attribute__((format(printf, 1, 2))) Trace(const char* a_Format, ...) {
    va_list l_Arguments;
    va_start(l_Arguments, a_Format);
    const LOG_LINE l_Line{7, LOG_COMPONENT, FormatExpected(a_Format, l_Arguments)};
    va_end(l_Arguments);
    return l_Line;
}

/// A line of level 3.
inline LOG_LINE __attribute__((format(printf, 1, 2))) Warning(const char* a_Format, ...) {
    va_list l_Arguments;
    va_start(l_Arguments, a_Format);
    const LOG_LINE l_Line{3, LOG_COMPONENT, FormatExpected(a_Format, l_Arguments)};
    va_end(l_Arguments);
    return l_Line;
}

inline void PrintTo(const LOG_LINE& a_Line, std::ostream* a_Out) {
    *a_Out << a_Line.m_Level << ' ' << a_Line.m_Component << " \"" << a_Line.m_Text << '"';
}
