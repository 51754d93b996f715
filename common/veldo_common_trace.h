// Log lines to the logger object that the host gave: formatted only when they will be written.
#pragma once

#include "bm/Log.h"

#include <atomic>

namespace BM_ADAPTOR {

/// The component under which the logger object is called; the adaptor's constructor sets it.
inline constexpr const char* IPMI_ADAPTOR_COMPONENT = "IPMI-Adaptor";
extern std::atomic<const char*> g_ComponentName;

/// The one gate of every trace: level 7 is written only while the host's global log level is 3.
inline bool TracesOn() {
    return BM_LOG_LEVEL == BM_LOG_ERROR;
}

/// The calling thread's number as traces show it, in 32 bits.
unsigned ThreadId();

/// Writes a trace (level 7) or an error (level 3) to `a_Logger`; a null logger is harmless. Never throws, whatever the
/// logger does; only a thread that is cancelled there ends. A trace that is off costs the evaluation of its arguments:
/// nothing is formatted and nothing is allocated.
void LogTrace(CBaseOsLog* a_Logger, const char* a_Format, ...) __attribute__((format(printf, 2, 3)));
void LogError(CBaseOsLog* a_Logger, const char* a_Format, ...) __attribute__((format(printf, 2, 3)));
/// The same for a finished text, at this level, whatever the host's log level is.
void LogLine(CBaseOsLog* a_Logger, int a_Level, const char* a_Text);

} // namespace BM_ADAPTOR
