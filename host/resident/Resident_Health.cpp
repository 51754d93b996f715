// The resident host: the log's lines, the health that they tell, and the restarts after a fault.
#include "host/resident/Resident.h"

#include "host/news/NewsTexts.h"
#include "host/service/OwnLog.h"

#include "bm_dev/ByteText.h"

#include <utility>

namespace bmhost {

using namespace BM_ADAPTOR;
using nlohmann::ordered_json;

namespace {

constexpr std::chrono::seconds FaultLooks(1);

} // namespace

void Resident::Hear(int level, const std::string& component, const std::string& text) {
    std::optional<HealthChange> change;
    {
        const std::lock_guard lock(m_healthGuard);
        change = m_health.Take(level, component, text);
    }
    if (change) Changed(*change);
}

void Resident::Changed(const HealthChange& change) {
    const WallTime now = WallNow();
    m_picture.Change({"health"}, [&](Picture& picture) {
        picture.m_health = {change.m_health, now, change.m_reasons};
        return true;
    });
    m_news.Add("health", bm_dev::EscapedJson(ordered_json({{"op", "health"},
                                                           {"state", HealthName(change.m_health)},
                                                           {"reasons", TextsOf(change.m_reasons)},
                                                           {"time", Rfc3339(now)}})
                                                 .dump()));
    m_listeners.m_health(change);
    if (change.m_health != HealthState::Fault) return;
    const std::lock_guard lock(m_guard);
    m_fault = true;
    const bool started = m_picture.Now()->m_host.m_start.has_value();
    const bool restarts = m_settings.m_restartOnFault && started &&
                          m_restarts.Fault(FaultRestarts::Clock::now()) == FaultRestarts::Verdict::Restarts;
    m_gaveUp = m_settings.m_restartOnFault && started && !restarts;
    if (!restarts && m_settings.m_exitOnFault) m_listeners.m_wantsToEnd();
}

void Resident::Tick() {
    Judge();
    const auto now = Lane::Clock::now();
    if (now - m_faultsSought >= FaultLooks) {
        m_faultsSought = now;
        m_picture.LookForFaults();
    }
    bool restarts = false;
    bool gaveUp = false;
    {
        const std::lock_guard lock(m_guard);
        restarts = !m_ending && m_restarts.IsDue(FaultRestarts::Clock::now());
        gaveUp = std::exchange(m_gaveUp, false);
    }
    if (gaveUp) LogOwn("three restarts in a row ended with a fault: no more of them until the next start by order");
    if (restarts) Restart();
}

} // namespace bmhost
