// The table of all metrics: its names follow Prometheus' rules, and docs/metrics.md says the same.
#include "host/web/metrics/MetricTable.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace bmhost;

TEST(MetricTable, NamesFollowTheRules) {
    const std::regex shape("bmhost(_[a-z]+)+");
    std::set<std::string> names;
    for (const Metric& metric : AllMetrics()) {
        const std::string name = metric.m_name;
        const bool counter = metric.m_kind == MetricKind::Counter;
        EXPECT_TRUE(std::regex_match(name, shape)) << name;
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_EQ(counter, name.ends_with("_total")) << name;
        EXPECT_EQ(metric.m_kind == MetricKind::Info, name.ends_with("_info")) << name;
        const std::string stem = counter ? name.substr(0, name.size() - 6) : name;
        EXPECT_EQ(stem.ends_with("_seconds"), metric.m_unit == std::string("seconds")) << name;
        EXPECT_TRUE(std::string(metric.m_help).ends_with(".")) << name;
        for (const char* ending : {"_count", "_sum", "_bucket", "_created"})
            EXPECT_FALSE(name.ends_with(ending)) << name;
    }
    EXPECT_GE(names.size(), 50U);
}

TEST(MetricTable, ThePageOfMetricsSaysTheSame) {
    std::vector<std::string> expected;
    for (const Metric& metric : AllMetrics()) {
        expected.push_back("| `" + std::string(metric.m_name) + "` | " + std::string(MetricKindName(metric.m_kind)) +
                           " | " + metric.m_unit + " | " + metric.m_labels + " | " + metric.m_help + " |");
    }
    std::vector<std::string> found;
    std::ifstream page(SOURCE_FOLDER "/docs/metrics.md");
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("| `bmhost_")) found.push_back(line);
    }
    EXPECT_EQ(expected, found);
}

TEST(MetricTable, TextsAreMadeUtf8WhereTheyAreNot) {
    EXPECT_EQ("image \xC3\xA9", LabelText("image \xC3\xA9"));
    EXPECT_EQ("Board \xC3\xA9\xC2\x9F", LabelText("Board \xE9\x9F"));
    EXPECT_EQ("cut \xC3\x83", LabelText("cut \xC3"));
}

TEST(MetricTable, AnAgeIsNeverNegative) {
    const WallTime now(std::chrono::milliseconds(5000));
    EXPECT_DOUBLE_EQ(1.5, AgeOf(now - std::chrono::milliseconds(1500), now));
    EXPECT_DOUBLE_EQ(0, AgeOf(now + std::chrono::seconds(1), now));
}

} // namespace
