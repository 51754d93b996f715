// Every metric in one table: name, kind, unit, labels, meaning, and where its samples come from.
#include "host/web/metrics/MetricTable.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace bmhost {

std::string_view MetricKindName(MetricKind kind) {
    switch (kind) {
    case MetricKind::Counter:
        return "counter";
    case MetricKind::Histogram:
        return "histogram";
    case MetricKind::Info:
        return "info";
    case MetricKind::Gauge:
        break;
    }
    return "gauge";
}

std::vector<Metric> AllMetrics() {
    std::vector<Metric> all;
    for (const auto table :
         {HostMetrics(), InventoryMetrics(), LedMetrics(), PortMetrics(), CountMetrics(), WebMetrics()})
        all.insert(all.end(), table.begin(), table.end());
    return all;
}

std::string LabelText(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const int length = bm_dev::Utf8Length(std::string_view(text).substr(at));
        if (length <= 0) return bm_dev::Utf8OfBytes(text);
        at += static_cast<std::size_t>(length);
    }
    return text;
}

Samples OneSample(double value) {
    return {{.m_value = value}};
}

Samples OneTime(WallTime time) {
    return time == WallTime{} ? Samples{} : OneSample(SecondsOf(time));
}

double SecondsOf(WallTime time) {
    return static_cast<double>(time.time_since_epoch().count()) / 1000;
}

double AgeOf(WallTime then, WallTime now) {
    return static_cast<double>(std::max<int64_t>(0, (now - then).count())) / 1000;
}

void AddStates(Samples& samples, const std::map<std::string, std::string>& labels,
               std::span<const std::string_view> words, std::string_view holds) {
    for (const std::string_view word : words) {
        auto all = labels;
        all["state"] = word;
        samples.push_back({.m_labels = std::move(all), .m_value = word == holds ? 1.0 : 0.0});
    }
}

} // namespace bmhost
