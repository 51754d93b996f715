// Counts and order of the requests.
#include "sim/driver/RequestLog.h"

#include <gtest/gtest.h>

using namespace bladesim;
using nlohmann::json;

TEST(RequestLog, CountsEachCommand) {
    RequestLog log;
    log.Add(1, {0x2C, 0x01, 0x00});
    log.Add(1, {0x06, 0x01});
    log.Add(2, {0x2C, 0x01, 0x00, 0x02});
    EXPECT_EQ(log.Counts(), json::parse(R"([
        {"netfn": 6, "command": 1, "name": "Get Device ID", "count": 1},
        {"netfn": 44, "command": 1, "name": "Get Address Info", "count": 2}])"));
}

TEST(RequestLog, TellsHowEachRequestEnded) {
    RequestLog log;
    log.Answer(log.Add(1, {0x06, 0x01}), 0xC1);
    const uint64_t late = log.Add(2, {0x0A, 0x11, 0x02});
    log.Hit(late, FaultKind::Late);
    log.Drop(late);
    log.Add(1, {0x06, 0x01}, 0x82);
    EXPECT_EQ(log.Entries(), json::parse(R"([
        {"number": 1, "opener": 1, "request": "06 01", "code": 193},
        {"number": 2, "opener": 2, "request": "0a 11 02", "code": null, "fault": "late", "dropped": 1},
        {"number": 3, "opener": 1, "request": "06 01", "code": null, "ipmb": 130}])"));
}

TEST(RequestLog, RemembersTheLastOnesOnlyAndCountsAll) {
    RequestLog log(2);
    const uint64_t first = log.Add(1, {0x06, 0x01});
    log.Add(1, {0x06, 0x02});
    const uint64_t last = log.Add(1, {0x06, 0x03});
    log.Answer(first, 0x00);
    log.Answer(last, 0x00);
    const json entries = log.Entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0]["number"], 2);
    EXPECT_TRUE(entries[0]["code"].is_null());
    EXPECT_EQ(entries[1]["code"], 0);
    EXPECT_EQ(log.Counts().size(), 3U);
}

TEST(RequestLog, ForgetsEverythingButItsNumbers) {
    RequestLog log;
    const uint64_t old = log.Add(1, {0x06, 0x01});
    log.Clear();
    log.Answer(old, 0x00);
    EXPECT_EQ(log.Counts(), json::array());
    EXPECT_EQ(log.Entries(), json::array());
    EXPECT_EQ(log.Add(1, {0x06, 0x01}), old + 1);
}
