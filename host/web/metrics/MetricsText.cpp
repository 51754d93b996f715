// The metrics of a blade as Prometheus reads them.
#include "host/web/metrics/MetricsText.h"

#include "host/web/metrics/MetricTable.h"
#include "host/web/metrics/OpenMetrics.h"

#include <prometheus/counter.h>
#include <prometheus/gauge.h>
#include <prometheus/histogram.h>
#include <prometheus/registry.h>
#include <prometheus/text_serializer.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <sstream>
#include <utility>

namespace bmhost {

namespace {

prometheus::Histogram::BucketBoundaries Buckets() {
    return {Latencies::Bounds.begin(), Latencies::Bounds.end()};
}

void Register(prometheus::Registry& registry, const Metric& metric, const Samples& samples) {
    if (metric.m_kind == MetricKind::Counter) {
        auto& family = prometheus::BuildCounter().Name(metric.m_name).Help(metric.m_help).Register(registry);
        for (const Sample& sample : samples)
            family.Add(sample.m_labels).Increment(sample.m_value);
    } else if (metric.m_kind == MetricKind::Histogram) {
        auto& family = prometheus::BuildHistogram().Name(metric.m_name).Help(metric.m_help).Register(registry);
        for (const Sample& sample : samples) {
            const auto& counts = sample.m_latencies->m_counts;
            family.Add(sample.m_labels, Buckets())
                .ObserveMultiple({counts.begin(), counts.end()},
                                 static_cast<double>(sample.m_latencies->m_microseconds) / 1e6);
        }
    } else {
        auto& family = prometheus::BuildGauge().Name(metric.m_name).Help(metric.m_help).Register(registry);
        for (const Sample& sample : samples)
            family.Add(sample.m_labels).Set(sample.m_value);
    }
}

// In the order of the table, and the samples in that of their labels: two scrapes can be compared.
std::vector<CollectedMetric> Collect(const std::vector<Metric>& table, const Scrape& scrape) {
    std::vector<CollectedMetric> collected;
    for (const Metric& metric : table) {
        const Samples samples = metric.m_samples(scrape);
        if (samples.empty()) continue;
        prometheus::Registry registry;
        Register(registry, metric, samples);
        for (prometheus::MetricFamily& family : registry.Collect()) {
            std::sort(family.metric.begin(), family.metric.end(),
                      [](const auto& left, const auto& right) { return left.label < right.label; });
            collected.emplace_back(&metric, std::move(family));
        }
    }
    return collected;
}

std::string_view WithoutPadding(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// The part before the separator, which is taken off the text.
std::string_view TakePart(std::string_view& text, char separator) {
    const auto end = text.find(separator);
    const std::string_view part = WithoutPadding(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return part;
}

bool SameWord(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char one, char other) { return (one | 0x20) == (other | 0x20); });
}

/// How much a media type is wanted, and in which version.
struct Preference {
    double m_quality = 1;
    std::string_view m_version;
};

Preference PreferenceOf(std::string_view parameters) {
    Preference preference;
    while (!parameters.empty()) {
        std::string_view value = TakePart(parameters, ';');
        const std::string_view name = TakePart(value, '=');
        value = WithoutPadding(value);
        if (SameWord(name, "q")) {
            preference.m_quality = 0; // of a number that is none
            std::from_chars(value.data(), value.data() + value.size(), preference.m_quality);
        }
        if (SameWord(name, "version")) preference.m_version = value;
    }
    return preference;
}

} // namespace

MetricsFormat MetricsFormatFor(std::string_view accept) {
    double openMetrics = 0;
    double text = 0;
    while (!accept.empty()) {
        std::string_view range = TakePart(accept, ',');
        const std::string_view type = TakePart(range, ';');
        const Preference preference = PreferenceOf(range);
        const bool served =
            preference.m_version.empty() || preference.m_version == "1.0.0" || preference.m_version == "0.0.1";
        if (SameWord(type, "application/openmetrics-text") && served)
            openMetrics = std::max(openMetrics, preference.m_quality);
        if (SameWord(type, "text/plain")) text = std::max(text, preference.m_quality);
    }
    return openMetrics > 0 && openMetrics >= text ? MetricsFormat::OpenMetrics : MetricsFormat::Text;
}

std::string_view MetricsContentType(MetricsFormat format) {
    return format == MetricsFormat::Text ? "text/plain; version=0.0.4; charset=utf-8"
                                         : "application/openmetrics-text; version=1.0.0; charset=utf-8";
}

std::string MetricsText(const BladeView& blade, const Statistics* counts, const WebFacts* web, WallTime now,
                        MetricsFormat format) {
    // A picture of a host that does not answer says nothing of now.
    const Scrape scrape = {blade.m_reachable ? blade.m_picture.get() : nullptr,
                           blade.m_reachable ? counts : nullptr,
                           web,
                           blade.m_reachable,
                           blade.m_since,
                           now};
    const std::vector<Metric> table = AllMetrics();
    std::vector<CollectedMetric> collected = Collect(table, scrape);
    if (format == MetricsFormat::OpenMetrics) return OpenMetricsText(collected);
    std::vector<prometheus::MetricFamily> families;
    families.reserve(collected.size());
    for (CollectedMetric& each : collected)
        families.push_back(std::move(each.second));
    std::ostringstream out;
    prometheus::TextSerializer().Serialize(out, families);
    return out.str();
}

} // namespace bmhost
