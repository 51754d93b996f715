// What the resident host itself says in the log.
#pragma once

#include "bm/Log.h"

#include <string>

namespace bmhost {

/// Neither an error nor a trace: it is always written, and is nobody's reason.
constexpr int OwnLogLevel = 6;
constexpr const char* OwnComponent = "bmhost";

/// A line of the resident host's own.
inline void LogOwn(const std::string& text) {
    bmiLog(OwnLogLevel, OwnComponent, "%s", text.c_str());
}

} // namespace bmhost
