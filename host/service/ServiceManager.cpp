// What systemd is told of the resident host, where it runs as a service.
#include "host/service/ServiceManager.h"

#include "host/output/TextOutput.h"
#include "host/session/Session.h"

#include <cstdint>
#include <cstdlib>
#include <systemd/sd-daemon.h>

namespace bmhost {

namespace {

std::string FailedCall(const CallOutcome& outcome) {
    std::string text = outcome.m_operation + ": " + ResultText(outcome.m_result) + ", " + Rfc3339(outcome.m_time);
    if (!outcome.m_reasons.empty()) text += ": " + outcome.m_reasons.back();
    return text;
}

std::string HealthText(const Health& health) {
    const std::string since = Rfc3339(health.m_since);
    if (health.m_state == HealthState::Monitored) return "running, monitored since " + since;
    if (health.m_state == HealthState::Fault)
        return "fault, " + since + (health.m_reasons.empty() ? "" : ": " + health.m_reasons.front());
    return "not monitored";
}

} // namespace

std::string ServiceStatus(const Picture& picture) {
    std::string text;
    for (const CallInProgress& call : picture.m_calls) {
        if (call.m_waiting) continue;
        if (call.m_operation == "init" || call.m_operation == "start" || call.m_operation == "stop")
            text = call.m_operation + " is under way, since " + Rfc3339(call.m_since);
    }
    const HostFacts& host = picture.m_host;
    if (text.empty() && host.m_init && host.m_init->m_result != Success) text = FailedCall(*host.m_init);
    if (text.empty() && host.m_start && host.m_start->m_result != Success) text = FailedCall(*host.m_start);
    if (text.empty() && host.m_init && !host.m_start) text = "not started";
    if (text.empty()) text = HealthText(picture.m_health);
    if (picture.m_controller.m_state == Controller::State::Lost)
        text += "; controller lost since " + Rfc3339(picture.m_controller.m_since);
    for (char& letter : text) {
        if (letter == '\n') letter = ' ';
    }
    return text;
}

ServiceManager::ServiceManager() {
    uint64_t microseconds = 0;
    m_watched = sd_watchdog_enabled(0, &microseconds) > 0;
}

void ServiceManager::Ready() {
    sd_notify(0, "READY=1");
}

void ServiceManager::Feed(const std::string& status) {
    std::string state = m_watched ? "WATCHDOG=1\n" : "";
    if (status != m_status) {
        m_status = status;
        state += "STATUS=" + m_status + "\n";
    }
    if (!state.empty()) sd_notify(0, state.c_str());
}

void ServiceManager::Stopping() {
    sd_notify(0, "STOPPING=1");
}

bool ServiceManager::IsThere() {
    return getenv("NOTIFY_SOCKET") != nullptr;
}

} // namespace bmhost
