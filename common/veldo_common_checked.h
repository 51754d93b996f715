// Log texts that are kept in a table or handed on: the compiler checks what they print.
#pragma once

#include "common/veldo_common_trace.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace BM_ADAPTOR {

/// A log text with this many integers to print. The compiler checks its conversions, as it does for a literal in a
/// call of LogTrace. The default writes no line.
template <std::size_t INTEGERS>
class CHECKED_TEXT {
public:
    consteval CHECKED_TEXT() = default;
    consteval CHECKED_TEXT(const char* a_Format) : m_Format(a_Format) { // NOLINT(google-explicit-constructor): literals
        std::size_t l_Conversions = 0;
        for (const char* l_Char = a_Format; *l_Char != '\0'; ++l_Char) {
            if (*l_Char != '%') continue;
            ++l_Char;
            if (*l_Char != 'i' && *l_Char != 'd' && *l_Char != 'x') throw "only %i, %d and %x are printed";
            ++l_Conversions;
        }
        if (l_Conversions != INTEGERS) throw "another number of integers is printed";
    }

    const char* Format() const { return m_Format; }

private:
    const char* m_Format = nullptr;
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // CHECKED_TEXT has checked it
#pragma GCC diagnostic ignored "-Wformat-security"

template <typename... INTEGERS>
void TraceText(CBaseOsLog* a_Logger, const CHECKED_TEXT<sizeof...(INTEGERS)>& a_Text, INTEGERS... a_Integers) {
    static_assert(((std::is_same_v<INTEGERS, int32_t> || std::is_same_v<INTEGERS, unsigned>)&&...));
    if (a_Text.Format() != nullptr) LogTrace(a_Logger, a_Text.Format(), a_Integers...);
}

template <typename... INTEGERS>
void ErrorText(CBaseOsLog* a_Logger, const CHECKED_TEXT<sizeof...(INTEGERS)>& a_Text, INTEGERS... a_Integers) {
    static_assert(((std::is_same_v<INTEGERS, int32_t> || std::is_same_v<INTEGERS, unsigned>)&&...));
    if (a_Text.Format() != nullptr) LogError(a_Logger, a_Text.Format(), a_Integers...);
}

#pragma GCC diagnostic pop

} // namespace BM_ADAPTOR
