// What the web door knows of itself, for metrics.
#pragma once

#include "host/output/Time.h"

#include <cstdint>
#include <optional>
#include <string>

namespace bmhost {

struct WebFacts {
    std::string m_version;
    std::optional<WallTime> m_certificateExpires; ///< none: no certificate
    uint64_t m_connections = 0;
    uint64_t m_eventStreams = 0;
    uint64_t m_sessions = 0;
    uint64_t m_failedLogins = 0; ///< since the door's start
};

} // namespace bmhost
