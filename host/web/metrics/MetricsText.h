// The metrics of a blade as Prometheus reads them.
#pragma once

#include "host/picture/Statistics.h"
#include "host/web/BladeView.h"
#include "host/web/metrics/WebFacts.h"

#include <string>
#include <string_view>

namespace bmhost {

/// Prometheus' text format 0.0.4, or OpenMetrics 1.0.
enum class MetricsFormat { Text, OpenMetrics };

/// OpenMetrics where the Accept header prefers it, Text for any other, an empty one too.
MetricsFormat MetricsFormatFor(std::string_view accept);
/// The Content-Type header.
std::string_view MetricsContentType(MetricsFormat format);

/// Nothing is asked of anybody: all samples come from what is given.
/// @param counts  null: not known
/// @param web  null outside the web door
std::string MetricsText(const BladeView& blade, const Statistics* counts, const WebFacts* web, WallTime now,
                        MetricsFormat format);

} // namespace bmhost
