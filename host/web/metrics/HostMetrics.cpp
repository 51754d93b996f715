// Metrics of the resident host, of the blade as a whole, and of its controller.
#include "host/picture/PictureWords.h"
#include "host/picture/Verdict.h"
#include "host/web/metrics/MetricTable.h"

#include "bm_dev/ByteText.h"

#include <algorithm>

namespace bmhost {

namespace {

Samples Up(const Scrape& scrape) {
    return OneSample(scrape.m_reachable ? 1 : 0);
}

Samples UpChanged(const Scrape& scrape) {
    return OneTime(scrape.m_since);
}

// Without a picture nothing is said of the blade, whose clock it is.
Samples Clock(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneTime(scrape.m_now);
}

Samples HostInfo(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    const HostFacts& host = scrape.m_picture->m_host;
    return {{.m_labels = {{"version", LabelText(host.m_version)},
                          {"adaptor", LabelText(host.m_adaptor)},
                          {"mode", std::to_string(host.m_mode)},
                          {"source", std::string(SourceWord(scrape.m_picture->m_source.m_kind))}}}};
}

Samples Started(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneTime(scrape.m_picture->m_host.m_started);
}

Samples PictureTime(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneTime(scrape.m_picture->m_time);
}

Samples PictureChanges(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneSample(static_cast<double>(scrape.m_picture->m_revision));
}

template <typename ValueOf>
Samples OfLifecycle(const Scrape& scrape, const ValueOf& valueOf) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    const HostFacts& host = scrape.m_picture->m_host;
    for (const auto* const call : {&host.m_init, &host.m_start, &host.m_stop}) {
        if (*call) samples.push_back({.m_labels = {{"operation", (*call)->m_operation}}, .m_value = valueOf(**call)});
    }
    return samples;
}

Samples LifecycleResult(const Scrape& scrape) {
    return OfLifecycle(scrape, [](const CallOutcome& call) { return static_cast<double>(call.m_result); });
}

Samples LifecycleTime(const Scrape& scrape) {
    return OfLifecycle(scrape, [](const CallOutcome& call) { return SecondsOf(call.m_time); });
}

Samples Simulated(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneSample(scrape.m_picture->m_source.IsSimulated() ? 1 : 0);
}

Samples Good(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneSample(IsGood(*scrape.m_picture) ? 1 : 0);
}

Samples HealthStates(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    static constexpr HealthState states[] = {HealthState::NotMonitored, HealthState::Monitored, HealthState::Fault,
                                             HealthState::Ended};
    std::vector<std::string_view> words;
    for (const HealthState state : states)
        words.push_back(HealthWord(state));
    Samples samples;
    AddStates(samples, {}, words, HealthWord(scrape.m_picture->m_health.m_state));
    return samples;
}

Samples HealthChanged(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneTime(scrape.m_picture->m_health.m_since);
}

Samples FaultCount(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneSample(static_cast<double>(scrape.m_picture->m_faults.size()));
}

Samples Faults(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    for (const Fault& fault : scrape.m_picture->m_faults)
        samples.push_back({.m_labels = {{"place", LabelText(fault.m_place)}, {"what", LabelText(fault.m_kind)}}});
    return samples;
}

Samples ControllerUp(const Scrape& scrape) {
    if (scrape.m_picture == nullptr || scrape.m_picture->m_controller.m_state == Controller::State::Unknown) return {};
    return OneSample(scrape.m_picture->m_controller.m_state == Controller::State::Answers ? 1 : 0);
}

Samples ControllerChanged(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneTime(scrape.m_picture->m_controller.m_since);
}

Samples CallsUnderWay(const Scrape& scrape) {
    return scrape.m_picture == nullptr ? Samples{} : OneSample(static_cast<double>(scrape.m_picture->m_calls.size()));
}

Samples OldestCall(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    double oldest = 0;
    for (const CallInProgress& call : scrape.m_picture->m_calls)
        oldest = std::max(oldest, AgeOf(call.m_since, scrape.m_now));
    return OneSample(oldest);
}

constexpr Metric HostTable[] = {
    {"bmhost_up", MetricKind::Gauge, "", "",
     "Whether the resident host answers: 1 yes, 0 no; then nothing but this is known of the blade.", Up},
    {"bmhost_up_changed_timestamp_seconds", MetricKind::Gauge, "seconds", "",
     "Since when the resident host answers, or does not.", UpChanged},
    {"bmhost_time_seconds", MetricKind::Gauge, "seconds", "", "The blade's own time as of the scrape.", Clock},
    {"bmhost_host_info", MetricKind::Info, "", "adaptor, mode, source, version",
     "The resident host: its version, the adaptor that it has loaded, its mode, and where the inventory comes from.",
     HostInfo},
    {"bmhost_start_time_seconds", MetricKind::Gauge, "seconds", "", "When the resident host was started.", Started},
    {"bmhost_picture_timestamp_seconds", MetricKind::Gauge, "seconds", "",
     "When the picture of the blade last changed.", PictureTime},
    {"bmhost_picture_changes_total", MetricKind::Counter, "", "", "How often the picture of the blade has changed.",
     PictureChanges},
    {"bmhost_lifecycle_result", MetricKind::Gauge, "", "operation",
     "What the last init, start and stop returned: 1 is success.", LifecycleResult},
    {"bmhost_lifecycle_timestamp_seconds", MetricKind::Gauge, "seconds", "operation",
     "When the last init, start and stop returned.", LifecycleTime},
    {"bmhost_inventory_simulated", MetricKind::Gauge, "", "",
     "Whether the inventory is the adaptor's simulated one: 1 yes, 0 it is the controller's.", Simulated},
    {"bmhost_blade_good", MetricKind::Gauge, "", "",
     "Whether nothing is at fault, as `bmhost status` judges it: 1 nothing, 0 something.", Good},
    {"bmhost_health", MetricKind::Gauge, "", "state",
     "The health that the monitor tells: 1 for its state, 0 for the others.", HealthStates},
    {"bmhost_health_changed_timestamp_seconds", MetricKind::Gauge, "seconds", "",
     "Since when the health has its state.", HealthChanged},
    {"bmhost_faults", MetricKind::Gauge, "", "", "How many faults stand, as `bmhost why` explains them.", FaultCount},
    {"bmhost_fault", MetricKind::Gauge, "", "place, what", "A fault that stands: always 1.", Faults},
    {"bmhost_controller_up", MetricKind::Gauge, "", "",
     "Whether the controller answers: 1 yes, 0 it is lost. Left out while nobody knows.", ControllerUp},
    {"bmhost_controller_changed_timestamp_seconds", MetricKind::Gauge, "seconds", "",
     "Since when the controller answers, or is lost.", ControllerChanged},
    {"bmhost_calls_in_progress", MetricKind::Gauge, "", "", "Calls and orders under way.", CallsUnderWay},
    {"bmhost_oldest_call_age_seconds", MetricKind::Gauge, "seconds", "",
     "How long the oldest of the calls and orders under way has taken so far; 0 without any.", OldestCall},
};

} // namespace

std::span<const Metric> HostMetrics() {
    return HostTable;
}

} // namespace bmhost
