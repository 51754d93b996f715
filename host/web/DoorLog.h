// What the web door itself says in the log.
#pragma once

#include "bm/Log.h"
#include "bm_dev/ByteText.h"

#include <string>

namespace bmhost {

/// A line of the web door's own. Much of it comes from the network: it stays one line of plain text.
inline void LogDoor(const std::string& text) {
    constexpr int level = 6; // neither an error nor a trace: it is always written
    bmiLog(level, "bmhost-web", "%s", bm_dev::Printable(text, "").c_str());
}

} // namespace bmhost
