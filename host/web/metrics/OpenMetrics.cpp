// Families of metrics in the format of OpenMetrics 1.0.
#include "host/web/metrics/OpenMetrics.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <locale>
#include <sstream>
#include <string_view>

namespace bmhost {

namespace {

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        if (character == '\n') {
            escaped += "\\n";
            continue;
        }
        if (character == '\\' || character == '"') escaped += '\\';
        escaped += character;
    }
    return escaped;
}

std::string NumberText(double number) {
    if (std::isinf(number)) return number > 0 ? "+Inf" : "-Inf";
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(std::numeric_limits<double>::max_digits10 - 1);
    out << number;
    return out.str();
}

// A bound is always written as a fraction, so that every writer writes the same label.
std::string BoundText(double bound) {
    std::string text = NumberText(bound);
    if (text.find_first_of(".eI") == std::string::npos) text += ".0";
    return text;
}

std::string LabelsText(const std::vector<prometheus::ClientMetric::Label>& labels, const std::string& more = "") {
    std::string text;
    for (const auto& label : labels) {
        if (!text.empty()) text += ',';
        text += label.name + "=\"" + Escaped(label.value) + '"';
    }
    if (!more.empty()) text += (text.empty() ? "" : ",") + more;
    return text.empty() ? "" : "{" + text + "}";
}

std::string Without(const std::string& name, std::string_view ending) {
    return name.ends_with(ending) ? name.substr(0, name.size() - ending.size()) : name;
}

// The name of the family, of which a counter's and an info's samples have endings.
std::string FamilyName(const Metric& metric) {
    if (metric.m_kind == MetricKind::Counter) return Without(metric.m_name, "_total");
    if (metric.m_kind == MetricKind::Info) return Without(metric.m_name, "_info");
    return metric.m_name;
}

void AddHistogram(std::string& text, const std::string& name, const prometheus::ClientMetric& sample) {
    for (const auto& bucket : sample.histogram.bucket) {
        text += name + "_bucket" + LabelsText(sample.label, "le=\"" + BoundText(bucket.upper_bound) + '"') + ' ' +
                std::to_string(bucket.cumulative_count) + '\n';
    }
    text += name + "_count" + LabelsText(sample.label) + ' ' + std::to_string(sample.histogram.sample_count) + '\n';
    text += name + "_sum" + LabelsText(sample.label) + ' ' + NumberText(sample.histogram.sample_sum) + '\n';
}

} // namespace

std::string OpenMetricsText(const std::vector<CollectedMetric>& families) {
    std::string text;
    for (const auto& [metric, family] : families) {
        const std::string name = FamilyName(*metric);
        text += "# TYPE " + name + ' ' + std::string(MetricKindName(metric->m_kind)) + '\n';
        if (*metric->m_unit != '\0') text += "# UNIT " + name + ' ' + metric->m_unit + '\n';
        text += "# HELP " + name + ' ' + Escaped(metric->m_help) + '\n';
        for (const auto& sample : family.metric) {
            if (metric->m_kind == MetricKind::Histogram) {
                AddHistogram(text, name, sample);
                continue;
            }
            const double value = metric->m_kind == MetricKind::Counter ? sample.counter.value : sample.gauge.value;
            text += metric->m_name + LabelsText(sample.label) + ' ' + NumberText(value) + '\n';
        }
    }
    return text + "# EOF\n";
}

} // namespace bmhost
