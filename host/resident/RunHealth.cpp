// The adaptor's health monitor, as the log tells of it: nothing else of the adaptor does.
#include "host/resident/RunHealth.h"

#include "bm/Log.h"

#include <utility>

namespace BMHOST {

std::string_view HealthName(HEALTH a_Health) {
    switch (a_Health) {
    case HEALTH::Monitored:
        return "monitored";
    case HEALTH::Fault:
        return "fault";
    case HEALTH::Ended:
        break;
    }
    return "ended";
}

// The monitor ends by itself after its first failed check, whose errors it has logged by then. It ends without any when
// it is told to. One that cannot even begin logs an error while it does not run.
std::optional<HEALTH_CHANGE> HEALTH_LOG::Take(int a_Level, const std::string& a_Component, const std::string& a_Text) {
    if (a_Text == "Monitor Thread started") {
        m_Monitored = true;
        m_Reasons.clear();
        return HEALTH_CHANGE{HEALTH::Monitored, {}};
    }
    if (a_Text == "Monitor Thread stopped") {
        m_Monitored = false;
        auto l_Reasons = std::exchange(m_Reasons, {});
        const HEALTH l_Health = l_Reasons.empty() ? HEALTH::Ended : HEALTH::Fault;
        return HEALTH_CHANGE{l_Health, std::move(l_Reasons)};
    }
    if (a_Level > BM_LOG_ERROR) return std::nullopt;
    if (!m_Monitored) {
        if (a_Component != "Monitor Thread") return std::nullopt;
        return HEALTH_CHANGE{HEALTH::Fault, {a_Text}};
    }
    if (a_Component == "Monitor Thread" || a_Component == "Media Adaptor") m_Reasons.push_back(a_Text);
    return std::nullopt;
}

} // namespace BMHOST
