// The metrics of a blade as Prometheus reads them.
#include "host/web/metrics/MetricsText.h"

#include "host/picture/PictureParts.h"
#include "host/web/metrics/MetricTable.h"

#include "bm_dev/ByteText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::Not;

BladeView ViewOf(Picture picture) {
    BladeView view;
    view.m_picture = std::make_shared<const Picture>(std::move(picture));
    view.m_reachable = true;
    view.m_since = TimeAt(100);
    return view;
}

Statistics FullCounts() {
    Statistics counts;
    counts.m_requestsUnderWay = 1;
    counts.m_reads.m_good = 41;
    counts.m_reads.m_latencies.Add(700);
    counts.m_reads.m_latencies.Add(1'500'000);
    counts.m_reads.m_latencies.Add(12'000'000);
    counts.m_writes.m_refused = 2;
    counts.m_completionCodes[0xC1] = 2;
    counts.m_calls = {{"start", 0, 0x30011, 1}, {"read", 0x100, 1, 41}};
    counts.m_orders = {{"led-set", 0xC1, false, 2}, {"led-set", 1, true, 3}};
    counts.m_events = {{0x70402, 4}, {0x99, 5}};
    counts.m_upgradesBegun = 6;
    counts.m_upgradesDone = 7;
    counts.m_restarts = 8;
    return counts;
}

WebFacts FullWeb() {
    return {"0.1.0", TimeAt(86'400'000), 3, 2, 1, 9};
}

std::string FullText(MetricsFormat format = MetricsFormat::Text) {
    const Statistics counts = FullCounts();
    const WebFacts web = FullWeb();
    Picture picture = FullPicture();
    picture.m_upgrades.back().m_ended = TimeAt(12);
    return MetricsText(ViewOf(std::move(picture)), &counts, &web, TimeAt(2500), format);
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

bool IsUtf8(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const int length = bm_dev::Utf8Length(std::string_view(text).substr(at));
        if (length <= 0) return false;
        at += static_cast<std::size_t>(length);
    }
    return true;
}

TEST(MetricsText, EveryMetricOfTheTableComesOutWithItsLabels) {
    std::map<std::string, std::string> types;
    std::map<std::string, std::string> labels;
    for (const std::string& line : LinesOf(FullText())) {
        std::smatch match;
        if (std::regex_match(line, match, std::regex("# TYPE (\\S+) (\\S+)"))) {
            types[match[1]] = match[2];
        } else if (std::regex_match(line, match, std::regex("([a-z_]+)(\\{.*\\})? \\S+"))) {
            const std::string text = match[2];
            std::string names;
            const std::regex label("([a-z_]+)=\"(?:[^\"\\\\]|\\\\.)*\"");
            for (std::sregex_iterator each(text.begin(), text.end(), label), end; each != end; ++each) {
                if ((*each)[1] != "le") names += (names.empty() ? "" : ", ") + (*each)[1].str();
            }
            labels[std::regex_replace(match[1].str(), std::regex("_(bucket|sum|count)$"), "")] = names;
        }
    }
    for (const Metric& metric : AllMetrics()) {
        const auto kind = metric.m_kind == MetricKind::Info ? MetricKind::Gauge : metric.m_kind;
        EXPECT_EQ(MetricKindName(kind), types[metric.m_name]) << metric.m_name;
        ASSERT_TRUE(labels.contains(metric.m_name)) << metric.m_name;
        EXPECT_EQ(metric.m_labels, labels[metric.m_name]) << metric.m_name;
    }
    EXPECT_EQ(AllMetrics().size(), types.size());
}

TEST(MetricsText, ValuesAreThePictures) {
    const std::string text = FullText();
    for (const char* line : {
             "bmhost_up 1",
             "bmhost_up_changed_timestamp_seconds 1795339800.1",
             "bmhost_time_seconds 1795339802.5",
             "bmhost_lifecycle_result{operation=\"start\"} 196626",
             "bmhost_inventory_simulated 1",
             "bmhost_blade_good 0",
             "bmhost_health{state=\"fault\"} 1",
             "bmhost_health{state=\"monitored\"} 0",
             "bmhost_faults 1",
             "bmhost_fault{place=\"AMC bay 3\",what=\"run status failed\"} 1",
             "bmhost_controller_up 0",
             "bmhost_calls_in_progress 2",
             "bmhost_oldest_call_age_seconds 2.49",
             "bmhost_modules 2",
             "bmhost_module_run_status{bay=\"3\",place=\"AMC bay 3\",state=\"failed\"} 1",
             "bmhost_module_run_status{bay=\"3\",place=\"AMC bay 3\",state=\"running\"} 0",
             "bmhost_module_dsps{bay=\"3\",place=\"AMC bay 3\"} 4",
             "bmhost_module_dsps{bay=\"4\",place=\"AMC bay 4\"} 4",
             "bmhost_rtm_framers 2",
             "bmhost_rtm_trunks_per_framer 4",
             "bmhost_dsp_has_address{bay=\"3\",dsp=\"1\"} 1",
             "bmhost_dsp_has_address{bay=\"3\",dsp=\"2\"} 0",
             "bmhost_led_state{bay=\"3\",led=\"3\",name=\"health\",place=\"AMC bay 3\",state=\"blink\"} 1",
             "bmhost_led_reading_age_seconds{bay=\"0\",led=\"1\",name=\"hot swap\",place=\"baseboard\"} 2",
             "bmhost_led_readable{bay=\"0\",led=\"1\",name=\"hot swap\",place=\"baseboard\"} 1",
             "bmhost_led_readable{bay=\"3\",led=\"3\",name=\"health\",place=\"AMC bay 3\"} 0",
             "bmhost_port_enabled{port=\"2\"} 0",
             "bmhost_port_link_up{port=\"1\"} 1",
             "bmhost_upgrade_history{state=\"done\"} 1",
             "bmhost_upgrade_ended_timestamp_seconds{place=\"baseboard\"} 1795339800.012",
             "bmhost_controller_requests_total{operation=\"read\",outcome=\"good\"} 41",
             "bmhost_controller_requests_total{operation=\"write\",outcome=\"refused\"} 2",
             "bmhost_controller_requests_in_progress 1",
             "bmhost_controller_errors_total{code=\"0xc1\",meaning=\"0xc1 (invalid command)\"} 2",
             "bmhost_adaptor_calls_total{group=\"0x100\",operation=\"read\",result=\"1\"} 41",
             "bmhost_adaptor_calls_total{group=\"\",operation=\"start\",result=\"196625\"} 1",
             "bmhost_orders_total{order=\"led-set\",outcome=\"failed\",result=\"193\"} 2",
             "bmhost_events_total{event=\"0x600\"} 0",
             "bmhost_events_total{event=\"0x99\"} 5",
             "bmhost_upgrades_ended_total{state=\"done\"} 7",
             "bmhost_fault_restarts_total 8",
             "bmhost_web_certificate_expiry_timestamp_seconds 1795426200",
             "bmhost_web_failed_logins_total 9",
         })
        EXPECT_THAT(text, HasSubstr(std::string("\n") + line + "\n"));
    // A port of which nothing is known, and a LED that has never been read, have no such sample.
    EXPECT_THAT(text, Not(HasSubstr("bmhost_port_link_up{port=\"3\"}")));
    EXPECT_THAT(text, Not(HasSubstr("bmhost_led_state{bay=\"3\",led=\"4\"")));
}

TEST(MetricsText, ARequestIsInEveryBucketThatIsLongEnough) {
    const std::string text = FullText();
    const auto bucket = [](const char* bound, int count) {
        return "\nbmhost_controller_request_duration_seconds_bucket{operation=\"read\",le=\"" + std::string(bound) +
               "\"} " + std::to_string(count) + "\n";
    };
    for (const auto& [bound, count] :
         std::map<const char*, int>{{"0.0005", 0}, {"0.001", 1}, {"1", 1}, {"2.5", 2}, {"10", 2}, {"+Inf", 3}})
        EXPECT_THAT(text, HasSubstr(bucket(bound, count)));
    EXPECT_THAT(text, HasSubstr("\nbmhost_controller_request_duration_seconds_count{operation=\"read\"} 3\n"));
    EXPECT_THAT(text, HasSubstr("\nbmhost_controller_request_duration_seconds_sum{operation=\"read\"} 13.5007\n"));
}

TEST(MetricsText, OfAHostThatDoesNotAnswerNothingElseIsClaimed) {
    BladeView view = ViewOf(FullPicture());
    view.m_reachable = false;
    const Statistics counts = FullCounts();
    std::string samples;
    for (const std::string& line : LinesOf(MetricsText(view, &counts, nullptr, TimeAt(0), MetricsFormat::Text))) {
        if (!line.starts_with("#")) samples += line + "\n";
    }
    EXPECT_EQ("bmhost_up 0\nbmhost_up_changed_timestamp_seconds 1795339800.1\n", samples);
}

TEST(MetricsText, AnEmptyBladeHasNoEmptyFamilies) {
    const std::string text = MetricsText(ViewOf({}), nullptr, nullptr, TimeAt(0), MetricsFormat::Text);
    EXPECT_THAT(text, HasSubstr("bmhost_modules 0\n"));
    for (const char* name : {"bmhost_board_info", "bmhost_led_state", "bmhost_controller_up", "bmhost_rtm_framers",
                             "bmhost_upgrade_state", "bmhost_events_total", "bmhost_web_info", "start_time"})
        EXPECT_THAT(text, Not(HasSubstr(name)));
}

TEST(MetricsText, BytesOfTheHardwareAreValidAndStayOnTheirLine) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    Picture picture;
    picture.m_inventory.m_board.push_back(Row(Text(0x30001, bytes)));
    for (const auto format : {MetricsFormat::Text, MetricsFormat::OpenMetrics}) {
        const std::string text = MetricsText(ViewOf(picture), nullptr, nullptr, TimeAt(0), format);
        EXPECT_TRUE(IsUtf8(text));
        EXPECT_THAT(text, HasSubstr("\\n\x0B"));
        EXPECT_THAT(text, HasSubstr("!\\\"#"));
        EXPECT_THAT(text, HasSubstr("[\\\\]"));
        EXPECT_THAT(text, HasSubstr("\xC3\xBF\""));
        EXPECT_THAT(text, HasSubstr(std::string("\0\x01", 2)));
        for (const std::string& line : LinesOf(text))
            EXPECT_TRUE(line.starts_with("# ") || line.starts_with("bmhost_")) << line;
    }
}

TEST(MetricsText, TwoScrapesOfTheSameAreTheSame) {
    EXPECT_EQ(FullText(), FullText());
    EXPECT_EQ(FullText(MetricsFormat::OpenMetrics), FullText(MetricsFormat::OpenMetrics));
}

TEST(MetricsText, OpenMetricsHasItsOwnFrame) {
    const std::string text = FullText(MetricsFormat::OpenMetrics);
    for (const char* lines :
         {"# TYPE bmhost_up gauge\n# HELP bmhost_up Whether",
          "# TYPE bmhost_led_sweeps counter\n# HELP bmhost_led_sweeps How often every LED has been tried.\n"
          "bmhost_led_sweeps_total 0\n",
          "# TYPE bmhost_board info\n", "\nbmhost_board_info{",
          "# TYPE bmhost_start_time_seconds gauge\n# UNIT bmhost_start_time_seconds seconds\n",
          "bmhost_controller_request_duration_seconds_bucket{operation=\"read\",le=\"1.0\"} 1\n",
          "bmhost_controller_request_duration_seconds_bucket{operation=\"read\",le=\"+Inf\"} 3\n",
          "bmhost_controller_request_duration_seconds_count{operation=\"read\"} 3\n"
          "bmhost_controller_request_duration_seconds_sum{operation=\"read\"} 13.5007\n"})
        EXPECT_THAT(text, HasSubstr(lines));
    EXPECT_TRUE(text.ends_with("\n# EOF\n"));
    // Every sample is also in the other format, with the same value.
    const std::string plain = FullText();
    for (const std::string& line : LinesOf(text)) {
        if (line.starts_with("#") || line.find(".0\"}") != std::string::npos) continue;
        EXPECT_THAT(plain, HasSubstr("\n" + line + "\n"));
    }
}

TEST(MetricsText, TheAcceptHeaderChoosesTheFormat) {
    const std::map<std::string, MetricsFormat> cases = {
        {"", MetricsFormat::Text},
        {"*/*", MetricsFormat::Text},
        {"text/plain;version=0.0.4", MetricsFormat::Text},
        {"application/openmetrics-text", MetricsFormat::OpenMetrics},
        {"Application/OpenMetrics-Text; version=1.0.0; charset=utf-8", MetricsFormat::OpenMetrics},
        {"application/openmetrics-text;version=1.0.0,application/openmetrics-text;version=0.0.1;q=0.75,text/plain;"
         "version=0.0.4;q=0.5,*/*;q=0.1",
         MetricsFormat::OpenMetrics},
        {"application/openmetrics-text;q=0", MetricsFormat::Text},
        {"application/openmetrics-text;q=much", MetricsFormat::Text},
        {"application/openmetrics-text;version=2.0.0", MetricsFormat::Text},
        {"application/openmetrics-text;q=0.3, text/plain;q=0.9", MetricsFormat::Text},
        {"application/openmetrics-textual", MetricsFormat::Text},
        {";;,,=;q=,", MetricsFormat::Text},
    };
    for (const auto& [accept, format] : cases)
        EXPECT_EQ(format, MetricsFormatFor(accept)) << accept;
    EXPECT_THAT(std::string(MetricsContentType(MetricsFormat::Text)), HasSubstr("version=0.0.4"));
    EXPECT_THAT(std::string(MetricsContentType(MetricsFormat::OpenMetrics)), HasSubstr("openmetrics-text"));
}

} // namespace
