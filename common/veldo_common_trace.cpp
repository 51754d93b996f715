// Log lines to the logger object that the host gave: formatted only when they will be written.
#include "common/veldo_common_trace.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cxxabi.h>
#include <memory>
#include <new>
#include <pthread.h>

namespace BM_ADAPTOR {

std::atomic<const char*> g_ComponentName = IPMI_ADAPTOR_COMPONENT;

namespace {

void __attribute__((format(printf, 3, 0)))
Write(CBaseOsLog& a_Logger, int a_Level, const char* a_Format, va_list a_Arguments) {
    std::array<char, 512> l_Line{};
    va_list l_Again;
    va_copy(l_Again, a_Arguments);
    const int l_Length = vsnprintf(l_Line.data(), l_Line.size(), a_Format, a_Arguments);
    std::unique_ptr<char[]> l_Long;
    if (l_Length >= static_cast<int>(l_Line.size())) {
        const auto l_Size = static_cast<std::size_t>(l_Length) + 1;
        l_Long.reset(new (std::nothrow) char[l_Size]); // without memory only the beginning of the line is written
        if (l_Long) vsnprintf(l_Long.get(), l_Size, a_Format, l_Again);
    }
    va_end(l_Again);
    LogLine(&a_Logger, a_Level, l_Long ? l_Long.get() : l_Line.data());
}

} // namespace

unsigned ThreadId() {
    return static_cast<unsigned>(pthread_self());
}

// The unwinding of a cancelled thread comes without an object, which the sanitizer would take for a null reference.
__attribute__((no_sanitize("null"))) void LogLine(CBaseOsLog* a_Logger, int a_Level, const char* a_Text) {
    if (a_Logger == nullptr) return;
    try {
        a_Logger->Log(a_Level, g_ComponentName, a_Text);
    } catch (const abi::__forced_unwind&) {
        throw; // the host has cancelled this thread
    } catch (...) {
        // a line that could not be written must not undo what it reports
    }
}

void LogTrace(CBaseOsLog* a_Logger, const char* a_Format, ...) {
    if (a_Logger == nullptr || !TracesOn()) return;
    va_list l_Arguments;
    va_start(l_Arguments, a_Format);
    Write(*a_Logger, BM_LOG_DEBUG, a_Format, l_Arguments);
    va_end(l_Arguments);
}

void LogError(CBaseOsLog* a_Logger, const char* a_Format, ...) {
    if (a_Logger == nullptr) return;
    va_list l_Arguments;
    va_start(l_Arguments, a_Format);
    Write(*a_Logger, BM_LOG_ERROR, a_Format, l_Arguments);
    va_end(l_Arguments);
}

} // namespace BM_ADAPTOR
