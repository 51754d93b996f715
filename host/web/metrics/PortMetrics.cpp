// Metrics of the switch's ports and of firmware upgrades, as the picture has them.
#include "host/picture/Led.h"
#include "host/picture/StatusNames.h"
#include "host/web/metrics/MetricTable.h"

namespace bmhost {

namespace {

Samples PortInfo(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    for (const PortFacts& port : scrape.m_picture->m_ports) {
        samples.push_back({.m_labels = {{"port", std::to_string(port.m_port)},
                                        {"name", LabelText(port.m_name)},
                                        {"leads_to", LabelText(port.m_leadsTo)}}});
    }
    return samples;
}

Samples OfPorts(const Scrape& scrape, std::optional<bool> PortFacts::*member) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    for (const PortFacts& port : scrape.m_picture->m_ports) {
        if (const auto value = port.*member)
            samples.push_back({.m_labels = {{"port", std::to_string(port.m_port)}}, .m_value = *value ? 1.0 : 0.0});
    }
    return samples;
}

Samples PortEnabled(const Scrape& scrape) {
    return OfPorts(scrape, &PortFacts::m_enabled);
}

Samples PortLink(const Scrape& scrape) {
    return OfPorts(scrape, &PortFacts::m_linkUp);
}

const UpgradeFacts* LastUpgrade(const Scrape& scrape) {
    if (scrape.m_picture == nullptr || scrape.m_picture->m_upgrades.empty()) return nullptr;
    return &scrape.m_picture->m_upgrades.back();
}

std::string PlaceOf(const UpgradeFacts& upgrade) {
    return UpgradeTargetText({upgrade.m_target, upgrade.m_bay, upgrade.m_state});
}

std::vector<std::string_view> UpgradeStates() {
    return {UpgradeStateName(UpgradeIsRunning), UpgradeStateName(UpgradeIsDone), UpgradeStateName(UpgradeHasFailed)};
}

Samples UpgradeState(const Scrape& scrape) {
    const UpgradeFacts* const last = LastUpgrade(scrape);
    if (last == nullptr) return {};
    Samples samples;
    AddStates(samples, {{"place", PlaceOf(*last)}}, UpgradeStates(), UpgradeStateName(last->m_state));
    return samples;
}

Samples UpgradeBegun(const Scrape& scrape) {
    const UpgradeFacts* const last = LastUpgrade(scrape);
    if (last == nullptr) return {};
    return {{.m_labels = {{"place", PlaceOf(*last)}}, .m_value = SecondsOf(last->m_begun)}};
}

Samples UpgradeEnded(const Scrape& scrape) {
    const UpgradeFacts* const last = LastUpgrade(scrape);
    if (last == nullptr || !last->m_ended) return {};
    return {{.m_labels = {{"place", PlaceOf(*last)}}, .m_value = SecondsOf(*last->m_ended)}};
}

Samples UpgradeHistory(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    for (const std::string_view state : UpgradeStates()) {
        double count = 0;
        for (const UpgradeFacts& upgrade : scrape.m_picture->m_upgrades)
            count += UpgradeStateName(upgrade.m_state) == state ? 1 : 0;
        samples.push_back({.m_labels = {{"state", std::string(state)}}, .m_value = count});
    }
    return samples;
}

constexpr Metric PortTable[] = {
    {"bmhost_port_info", MetricKind::Info, "", "leads_to, name, port", "A port of the Ethernet switch.", PortInfo},
    {"bmhost_port_enabled", MetricKind::Gauge, "", "port",
     "Whether a port is enabled: 1 yes, 0 no. Left out where it is not known.", PortEnabled},
    {"bmhost_port_link_up", MetricKind::Gauge, "", "port",
     "Whether a port has its link: 1 yes, 0 no. Left out where it is not known.", PortLink},
    {"bmhost_upgrade_state", MetricKind::Gauge, "", "place, state",
     "The state of the last firmware upgrade: 1 for its state, 0 for the others. Left out before the first one.",
     UpgradeState},
    {"bmhost_upgrade_begun_timestamp_seconds", MetricKind::Gauge, "seconds", "place",
     "When the last firmware upgrade began.", UpgradeBegun},
    {"bmhost_upgrade_ended_timestamp_seconds", MetricKind::Gauge, "seconds", "place",
     "When the last firmware upgrade ended; left out while it is under way.", UpgradeEnded},
    {"bmhost_upgrade_history", MetricKind::Gauge, "", "state",
     "The firmware upgrades in the history, which keeps the last 100, by state.", UpgradeHistory},
};

} // namespace

std::span<const Metric> PortMetrics() {
    return PortTable;
}

} // namespace bmhost
