// The resident host's counts as JSON, and back.
#include "host/picture/StatisticsJson.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <stdexcept>

namespace {

using namespace bmhost;
using nlohmann::ordered_json;

Statistics Full() {
    Statistics full;
    full.m_since = WallTime(std::chrono::milliseconds(1'795'339'800'125));
    full.m_time = full.m_since + std::chrono::seconds(3);
    full.m_requestsUnderWay = 1;
    full.m_reads.m_good = 2;
    full.m_reads.m_refused = 3;
    full.m_reads.m_failed = 4;
    full.m_reads.m_latencies.Add(700);
    full.m_writes.m_good = 5;
    full.m_writes.m_latencies.Add(11'000'000);
    full.m_completionCodes = {{0xC1, 6}, {0xFF, 7}};
    full.m_calls = {{"start", 0, 0x30011, 8}, {"read", 0x100, -1, 9}};
    full.m_orders = {{"led-set", 1, true, 10}, {"led-set", 0xC1, false, 11}};
    full.m_events = {{0x600, 12}, {0x70402, 18446744073709551615U}};
    full.m_upgradesBegun = 13;
    full.m_upgradesRefused = 14;
    full.m_upgradesDone = 15;
    full.m_upgradesFailed = 16;
    full.m_restarts = 17;
    return full;
}

TEST(StatisticsJson, EveryCountComesBack) {
    const ordered_json first = StatisticsJson(Full());
    const Statistics back = StatisticsOf(ordered_json::parse(first.dump()));
    EXPECT_EQ(first, StatisticsJson(back));
    EXPECT_EQ(Full().m_since, back.m_since);
    EXPECT_EQ(Full().m_reads.m_latencies.m_counts, back.m_reads.m_latencies.m_counts);
    EXPECT_EQ(11'000'000U, back.m_writes.m_latencies.m_microseconds);
    EXPECT_EQ(16U, back.m_upgradesFailed);
    EXPECT_EQ(-1, back.m_calls.at(1).m_result);
    EXPECT_EQ(18446744073709551615U, back.m_events.at(0x70402));
}

TEST(StatisticsJson, WhatNobodyHasNotedIsNull) {
    const ordered_json empty = StatisticsJson({});
    EXPECT_TRUE(empty.at("since").is_null());
    EXPECT_EQ(ordered_json::array(), empty.at("calls"));
    EXPECT_EQ(WallTime{}, StatisticsOf(empty).m_since);
    EXPECT_TRUE(StatisticsJson(Full()).at("calls").at(0).at("group").is_null());
}

TEST(StatisticsJson, AnythingElseIsRefused) {
    const auto refused = [](const char* pointer, const ordered_json& value) {
        ordered_json changed = StatisticsJson(Full());
        changed[ordered_json::json_pointer(pointer)] = value;
        EXPECT_THROW(StatisticsOf(changed), std::runtime_error) << pointer;
    };
    refused("/since", "yesterday");
    refused("/requests/under_way", -1);
    refused("/requests/read", ordered_json::array());
    refused("/requests/read/latencies/bounds_s/0", 0.25);
    refused("/requests/read/latencies/counts", ordered_json::array({1}));
    refused("/completion_codes/0/code", "193");
    refused("/completion_codes/0/code", "0x");
    refused("/calls/0/result", "x");
    refused("/orders/0/good", 1);
    refused("/restarts", 1.5);
    ordered_json short_ = StatisticsJson(Full());
    short_.erase("events");
    EXPECT_THROW(StatisticsOf(short_), std::runtime_error);
}

TEST(StatisticsJson, ALatencyIsInTheBucketOfTheNextBound) {
    Latencies latencies;
    for (const uint64_t microseconds : {0U, 500U, 501U, 1'000U, 10'000'000U, 10'000'001U})
        latencies.Add(microseconds);
    EXPECT_EQ(2U, latencies.m_counts.front());
    EXPECT_EQ(2U, latencies.m_counts.at(1));
    EXPECT_EQ(1U, latencies.m_counts.at(Latencies::Bounds.size() - 1));
    EXPECT_EQ(1U, latencies.m_counts.back());
    EXPECT_EQ(20'002'002U, latencies.m_microseconds);
}

} // namespace
