// The adaptor's health monitor, as the log tells of it: nothing else of the adaptor does.
#include "host/resident/RunHealth.h"

#include "bm/Log.h"

#include <utility>

namespace bmhost {

std::string_view HealthName(HealthState health) {
    switch (health) {
    case HealthState::Monitored:
        return "monitored";
    case HealthState::Fault:
        return "fault";
    case HealthState::Ended:
        break;
    }
    return "ended";
}

// The monitor ends by itself after its first failed check, whose errors it has logged by then. It ends without any when
// it is told to. One that cannot even begin logs an error while it does not run.
std::optional<HealthChange> HealthLog::Take(int level, const std::string& component, const std::string& text) {
    if (text == "Monitor Thread started") {
        m_monitored = true;
        m_reasons.clear();
        return HealthChange{HealthState::Monitored, {}};
    }
    if (text == "Monitor Thread stopped") {
        m_monitored = false;
        auto reasons = std::exchange(m_reasons, {});
        const HealthState health = reasons.empty() ? HealthState::Ended : HealthState::Fault;
        return HealthChange{health, std::move(reasons)};
    }
    if (level > BM_LOG_ERROR) return std::nullopt;
    if (!m_monitored) {
        if (component != "Monitor Thread") return std::nullopt;
        return HealthChange{HealthState::Fault, {text}};
    }
    if (component == "Monitor Thread" || component == "Media Adaptor") m_reasons.push_back(text);
    return std::nullopt;
}

} // namespace bmhost
