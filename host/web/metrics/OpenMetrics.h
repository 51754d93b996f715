// Families of metrics in the format of OpenMetrics 1.0.
#pragma once

#include "host/web/metrics/MetricTable.h"

#include <prometheus/metric_family.h>

#include <string>
#include <utility>
#include <vector>

namespace bmhost {

/// A family, and the metric that it is.
using CollectedMetric = std::pair<const Metric*, prometheus::MetricFamily>;

std::string OpenMetricsText(const std::vector<CollectedMetric>& families);

} // namespace bmhost
