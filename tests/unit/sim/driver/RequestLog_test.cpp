// Counts and order of what was asked.
#include "sim/driver/RequestLog.h"

#include <gtest/gtest.h>

using namespace BLADESIM;
using nlohmann::json;

TEST(RequestLog, CountsEachCommand) {
    REQUEST_LOG l_Log;
    l_Log.Add(1, {0x2C, 0x01, 0x00});
    l_Log.Add(1, {0x06, 0x01});
    l_Log.Add(2, {0x2C, 0x01, 0x00, 0x02});
    EXPECT_EQ(l_Log.Counts(), json::parse(R"([
        {"netfn": 6, "command": 1, "name": "Get Device ID", "count": 1},
        {"netfn": 44, "command": 1, "name": "Get Address Info", "count": 2}])"));
}

TEST(RequestLog, TellsHowEachRequestEnded) {
    REQUEST_LOG l_Log;
    l_Log.Answer(l_Log.Add(1, {0x06, 0x01}), 0xC1);
    const uint64_t l_Late = l_Log.Add(2, {0x0A, 0x11, 0x02});
    l_Log.Hit(l_Late, FAULT_KIND::LATE);
    l_Log.Drop(l_Late);
    l_Log.Add(1, {0x06, 0x01}, 0x82);
    EXPECT_EQ(l_Log.Entries(), json::parse(R"([
        {"number": 1, "opener": 1, "request": "06 01", "code": 193},
        {"number": 2, "opener": 2, "request": "0a 11 02", "code": null, "fault": "late", "dropped": 1},
        {"number": 3, "opener": 1, "request": "06 01", "code": null, "ipmb": 130}])"));
}

TEST(RequestLog, RemembersTheLastOnesOnlyAndCountsAll) {
    REQUEST_LOG l_Log(2);
    const uint64_t l_First = l_Log.Add(1, {0x06, 0x01});
    l_Log.Add(1, {0x06, 0x02});
    const uint64_t l_Last = l_Log.Add(1, {0x06, 0x03});
    l_Log.Answer(l_First, 0x00);
    l_Log.Answer(l_Last, 0x00);
    const json l_Entries = l_Log.Entries();
    ASSERT_EQ(l_Entries.size(), 2U);
    EXPECT_EQ(l_Entries[0]["number"], 2);
    EXPECT_TRUE(l_Entries[0]["code"].is_null());
    EXPECT_EQ(l_Entries[1]["code"], 0);
    EXPECT_EQ(l_Log.Counts().size(), 3U);
}

TEST(RequestLog, ForgetsEverythingButItsNumbers) {
    REQUEST_LOG l_Log;
    const uint64_t l_Old = l_Log.Add(1, {0x06, 0x01});
    l_Log.Clear();
    l_Log.Answer(l_Old, 0x00);
    EXPECT_EQ(l_Log.Counts(), json::array());
    EXPECT_EQ(l_Log.Entries(), json::array());
    EXPECT_EQ(l_Log.Add(1, {0x06, 0x01}), l_Old + 1);
}
