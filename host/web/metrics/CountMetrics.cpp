// Metrics of what the resident host counts: requests to the controller, calls, orders, events, upgrades.
#include "common/veldo_common_protocol.h"
#include "host/picture/StatusNames.h"
#include "host/web/metrics/MetricTable.h"
#include "host/words/CompletionCode.h"
#include "host/words/Names.h"

#include <utility>

namespace bmhost {

namespace {

double Number(uint64_t count) {
    return static_cast<double>(count);
}

Samples OneCount(const Scrape& scrape, uint64_t Statistics::*count) {
    return scrape.m_counts == nullptr ? Samples{} : OneSample(Number(scrape.m_counts->*count));
}

// With 0 for what has not happened yet, so that its first time is an increase.
Samples Requests(const Scrape& scrape) {
    if (scrape.m_counts == nullptr) return {};
    Samples samples;
    for (const auto& [operation, counts] :
         {std::pair("read", &scrape.m_counts->m_reads), std::pair("write", &scrape.m_counts->m_writes)}) {
        for (const auto& [outcome, count] : {std::pair("good", counts->m_good), std::pair("refused", counts->m_refused),
                                             std::pair("failed", counts->m_failed)})
            samples.push_back({.m_labels = {{"operation", operation}, {"outcome", outcome}}, .m_value = Number(count)});
    }
    return samples;
}

Samples RequestTimes(const Scrape& scrape) {
    if (scrape.m_counts == nullptr) return {};
    return {{.m_labels = {{"operation", "read"}}, .m_latencies = &scrape.m_counts->m_reads.m_latencies},
            {.m_labels = {{"operation", "write"}}, .m_latencies = &scrape.m_counts->m_writes.m_latencies}};
}

Samples RequestsUnderWay(const Scrape& scrape) {
    return OneCount(scrape, &Statistics::m_requestsUnderWay);
}

Samples CompletionCodes(const Scrape& scrape) {
    if (scrape.m_counts == nullptr) return {};
    Samples samples;
    for (const auto& [code, count] : scrape.m_counts->m_completionCodes) {
        samples.push_back(
            {.m_labels = {{"code", Hex(static_cast<unsigned>(code))}, {"meaning", CompletionCodeText(code)}},
             .m_value = Number(count)});
    }
    return samples;
}

Samples Calls(const Scrape& scrape) {
    if (scrape.m_counts == nullptr) return {};
    Samples samples;
    for (const CallCount& call : scrape.m_counts->m_calls) {
        samples.push_back({.m_labels = {{"operation", call.m_operation},
                                        {"group", call.m_group == 0 ? "" : Hex(call.m_group)},
                                        {"result", std::to_string(call.m_result)}},
                           .m_value = Number(call.m_count)});
    }
    return samples;
}

Samples Orders(const Scrape& scrape) {
    if (scrape.m_counts == nullptr) return {};
    Samples samples;
    for (const OrderCount& order : scrape.m_counts->m_orders) {
        samples.push_back({.m_labels = {{"order", LabelText(order.m_order)},
                                        {"outcome", order.m_good ? "good" : "failed"},
                                        {"result", std::to_string(order.m_result)}},
                           .m_value = Number(order.m_count)});
    }
    return samples;
}

// Those that the adaptor sends, seen or not, and any other that has come.
Samples Events(const Scrape& scrape) {
    if (scrape.m_counts == nullptr) return {};
    std::map<uint32_t, uint64_t> counts = scrape.m_counts->m_events;
    for (const auto& event : BM_ADAPTOR::g_EventNames)
        counts.try_emplace(event.m_Event);
    Samples samples;
    for (const auto& [event, count] : counts)
        samples.push_back({.m_labels = {{"event", Hex(event)}}, .m_value = Number(count)});
    return samples;
}

Samples UpgradesBegun(const Scrape& scrape) {
    return OneCount(scrape, &Statistics::m_upgradesBegun);
}

Samples UpgradesRefused(const Scrape& scrape) {
    return OneCount(scrape, &Statistics::m_upgradesRefused);
}

Samples UpgradesEnded(const Scrape& scrape) {
    if (scrape.m_counts == nullptr) return {};
    return {{.m_labels = {{"state", std::string(UpgradeStateName(UpgradeIsDone))}},
             .m_value = Number(scrape.m_counts->m_upgradesDone)},
            {.m_labels = {{"state", std::string(UpgradeStateName(UpgradeHasFailed))}},
             .m_value = Number(scrape.m_counts->m_upgradesFailed)}};
}

Samples Restarts(const Scrape& scrape) {
    return OneCount(scrape, &Statistics::m_restarts);
}

constexpr Metric CountTable[] = {
    {"bmhost_controller_requests_total", MetricKind::Counter, "", "operation, outcome",
     "Reads and writes of LEDs that asked the controller, the sweep included: good, refused with a completion code, or failed.",
     Requests},
    {"bmhost_controller_request_duration_seconds", MetricKind::Histogram, "seconds", "operation",
     "How long the reads and writes of LEDs took that asked the controller.", RequestTimes},
    {"bmhost_controller_requests_in_progress", MetricKind::Gauge, "", "",
     "Reads and writes of LEDs that wait for the controller now.", RequestsUnderWay},
    {"bmhost_controller_errors_total", MetricKind::Counter, "", "code, meaning",
     "Answers of the controller that were a completion code.", CompletionCodes},
    {"bmhost_adaptor_calls_total", MetricKind::Counter, "", "group, operation, result",
     "Calls of the adaptor that have returned, the host's own included; group is empty where there is none or it has no name.",
     Calls},
    {"bmhost_orders_total", MetricKind::Counter, "", "order, outcome, result", "Orders that were carried out.", Orders},
    {"bmhost_events_total", MetricKind::Counter, "", "event",
     "Events that the adaptor has sent: 0x70402 a run status, 0x600 the end of an upgrade.", Events},
    {"bmhost_upgrades_begun_total", MetricKind::Counter, "", "", "Firmware upgrades that the adaptor has accepted.",
     UpgradesBegun},
    {"bmhost_upgrades_refused_total", MetricKind::Counter, "", "", "Firmware upgrades that the adaptor has refused.",
     UpgradesRefused},
    {"bmhost_upgrades_ended_total", MetricKind::Counter, "", "state", "Firmware upgrades that have ended.",
     UpgradesEnded},
    {"bmhost_fault_restarts_total", MetricKind::Counter, "", "",
     "How often the blade was stopped and started after a fault, by --restart-on-fault.", Restarts},
};

} // namespace

std::span<const Metric> CountMetrics() {
    return CountTable;
}

} // namespace bmhost
