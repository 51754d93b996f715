// The blade as its resident host last told it, for everything that the web door serves.
#pragma once

#include "host/output/Time.h"
#include "host/picture/Picture.h"

#include <cstdint>
#include <memory>
#include <string>

namespace bmhost {

struct BladeView {
    std::shared_ptr<const Picture> m_picture; ///< null until the host has been heard for the first time
    bool m_reachable = false;                 ///< whether the host answers now
    WallTime m_since{};                       ///< since when it does, or does not
    std::string m_reason;                     ///< why it does not
    uint64_t m_lastNews = 0;                  ///< the last event that this view knows
};

} // namespace bmhost
