// The adaptor's health monitor, as seen in the log; the adaptor reports it nowhere else.
#pragma once

#include "host/picture/Picture.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

struct HealthChange {
    HealthState m_health = HealthState::Ended;
    std::vector<std::string> m_reasons; ///< of a fault, as in the log
};

/// "monitored", "fault", "ended".
std::string_view HealthName(HealthState health);

/// Follows the log line by line.
class HealthLog {
public:
    /// The change that this line reports, if any.
    std::optional<HealthChange> Take(int level, const std::string& component, const std::string& text);

private:
    bool m_monitored = false;
    std::vector<std::string> m_reasons;
};

} // namespace bmhost
