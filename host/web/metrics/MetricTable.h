// Every metric in one table: name, kind, unit, labels, meaning, and where its samples come from.
#pragma once

#include "host/picture/Statistics.h"
#include "host/web/BladeView.h"
#include "host/web/metrics/WebFacts.h"

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// What the samples of one scrape are taken from.
struct Scrape {
    const Picture* m_picture;   ///< null: the host has not been heard, or does not answer now
    const Statistics* m_counts; ///< null likewise, or of a host that does not count
    const WebFacts* m_web;      ///< null outside the web door
    bool m_reachable;           ///< whether the host answers
    WallTime m_since;           ///< since when it does, or does not
    WallTime m_now;
};

struct Sample {
    std::map<std::string, std::string> m_labels{}; ///< values in UTF-8
    double m_value = 1;
    const Latencies* m_latencies = nullptr; ///< of a histogram, instead of the value
};
using Samples = std::vector<Sample>;

/// An Info is a gauge that is always 1: its labels are what it tells.
enum class MetricKind { Gauge, Counter, Histogram, Info };
/// "gauge", "counter", "histogram", "info".
std::string_view MetricKindName(MetricKind kind);

struct Metric {
    const char* m_name;
    MetricKind m_kind;
    const char* m_unit;   ///< "seconds"; empty for what is only counted
    const char* m_labels; ///< their names, separated by ", "
    const char* m_help;
    /// None: nothing is known, or there is no such thing; the metric is left out.
    Samples (*m_samples)(const Scrape& scrape);
};

/// The tables by subject, each in a file of its own.
std::span<const Metric> HostMetrics();
std::span<const Metric> InventoryMetrics();
std::span<const Metric> LedMetrics();
std::span<const Metric> PortMetrics();
std::span<const Metric> CountMetrics();
std::span<const Metric> WebMetrics();
/// All of them, in the order in which they are told.
std::vector<Metric> AllMetrics();

/// A text of this system's own, or a user's: made UTF-8 where it is not.
std::string LabelText(const std::string& text);
/// One sample without labels; none without the value's source.
Samples OneSample(double value);
Samples OneTime(WallTime time);
/// Seconds since 1970.
double SecondsOf(WallTime time);
/// Seconds from then until now; not negative.
double AgeOf(WallTime then, WallTime now);
/// A sample for each word: 1 for the one that holds, 0 for the others.
void AddStates(Samples& samples, const std::map<std::string, std::string>& labels,
               std::span<const std::string_view> words, std::string_view holds);

} // namespace bmhost
