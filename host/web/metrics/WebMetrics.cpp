// Metrics of the web door itself.
#include "host/web/metrics/MetricTable.h"

namespace bmhost {

namespace {

Samples DoorInfo(const Scrape& scrape) {
    if (scrape.m_web == nullptr) return {};
    return {{.m_labels = {{"version", LabelText(scrape.m_web->m_version)}}}};
}

Samples CertificateExpiry(const Scrape& scrape) {
    if (scrape.m_web == nullptr || !scrape.m_web->m_certificateExpires) return {};
    return OneSample(SecondsOf(*scrape.m_web->m_certificateExpires));
}

Samples OfDoor(const Scrape& scrape, uint64_t WebFacts::*count) {
    return scrape.m_web == nullptr ? Samples{} : OneSample(static_cast<double>(scrape.m_web->*count));
}

Samples Connections(const Scrape& scrape) {
    return OfDoor(scrape, &WebFacts::m_connections);
}

Samples EventStreams(const Scrape& scrape) {
    return OfDoor(scrape, &WebFacts::m_eventStreams);
}

Samples SessionCount(const Scrape& scrape) {
    return OfDoor(scrape, &WebFacts::m_sessions);
}

Samples FailedLogins(const Scrape& scrape) {
    return OfDoor(scrape, &WebFacts::m_failedLogins);
}

constexpr Metric WebTable[] = {
    {"bmhost_web_info", MetricKind::Info, "", "version", "The web door.", DoorInfo},
    {"bmhost_web_certificate_expiry_timestamp_seconds", MetricKind::Gauge, "seconds", "",
     "When the web door's certificate expires; left out without one.", CertificateExpiry},
    {"bmhost_web_connections", MetricKind::Gauge, "", "", "Connections to the web door.", Connections},
    {"bmhost_web_event_streams", MetricKind::Gauge, "", "", "Readers of its event streams.", EventStreams},
    {"bmhost_web_sessions", MetricKind::Gauge, "", "", "Sessions of accounts that have logged in.", SessionCount},
    {"bmhost_web_failed_logins_total", MetricKind::Counter, "", "", "Logins with an unknown name or a wrong password.",
     FailedLogins},
};

} // namespace

std::span<const Metric> WebMetrics() {
    return WebTable;
}

} // namespace bmhost
