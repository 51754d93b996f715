// The adaptor's health monitor, as seen in the log; the adaptor reports it nowhere else.
#pragma once

#include "host/picture/Picture.h"

#include <optional>
#include <string>
#include <string_view>
#include <thread>
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
    /// The change that this line reports, if any. To be called on the thread that logs, by one thread at a time.
    std::optional<HealthChange> Take(int level, const std::string& component, const std::string& text);

private:
    std::optional<std::thread::id> m_monitor; ///< the thread that checks, while it does
    std::vector<std::string> m_reasons;
};

} // namespace bmhost
