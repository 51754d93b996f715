// The adaptor's health monitor, as seen in the log; the adaptor reports it nowhere else.
#include "host/news/RunHealth.h"

#include "common/veldo_common_protocol.h"

#include "bm/Log.h"

#include <utility>

namespace bmhost {

using namespace BM_ADAPTOR;

std::string_view HealthName(HealthState health) {
    switch (health) {
    case HealthState::Monitored:
        return "monitored";
    case HealthState::Fault:
        return "fault";
    case HealthState::Ended:
    case HealthState::NotMonitored:
        break;
    }
    return "ended";
}

// The monitor ends by itself after its first failed check, having logged the errors. If it is stopped, there are no
// errors. If it cannot start, it logs an error while it is not running. While it runs, a start logs errors under the
// same component, but on another thread than the monitor's.
std::optional<HealthChange> HealthLog::Take(int level, const std::string& component, const std::string& text) {
    if (text == MONITOR_STARTED_TEXT) {
        m_monitor = std::this_thread::get_id();
        m_reasons.clear();
        return HealthChange{HealthState::Monitored, {}};
    }
    if (text == MONITOR_STOPPED_TEXT) {
        m_monitor.reset();
        auto reasons = std::exchange(m_reasons, {});
        const HealthState health = reasons.empty() ? HealthState::Ended : HealthState::Fault;
        return HealthChange{health, std::move(reasons)};
    }
    if (level > BM_LOG_ERROR) return std::nullopt;
    if (!m_monitor) {
        if (component != COMPONENT_MONITOR_THREAD) return std::nullopt;
        return HealthChange{HealthState::Fault, {text}};
    }
    const bool isReason = component == COMPONENT_MONITOR_THREAD || component == COMPONENT_MEDIA_ADAPTOR;
    if (isReason && m_monitor == std::this_thread::get_id()) m_reasons.push_back(text);
    return std::nullopt;
}

} // namespace bmhost
