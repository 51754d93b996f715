// The adaptor's health monitor, as the log tells of it: nothing else of the adaptor does.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace BMHOST {

enum class HEALTH { Monitored, Fault, Ended };

struct HEALTH_CHANGE {
    HEALTH m_Health = HEALTH::Ended;
    std::vector<std::string> m_Reasons; ///< of a fault, as they were logged
};

/// "monitored", "fault", "ended".
std::string_view HealthName(HEALTH a_Health);

/// Follows the log line by line.
class HEALTH_LOG {
public:
    /// What this line of the log changes, if it does.
    std::optional<HEALTH_CHANGE> Take(int a_Level, const std::string& a_Component, const std::string& a_Text);

private:
    bool m_Monitored = false;
    std::vector<std::string> m_Reasons;
};

} // namespace BMHOST
