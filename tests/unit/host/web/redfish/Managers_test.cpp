// The resident host as Manager.
#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

nlohmann::ordered_json ManagerOf(const Picture& picture) {
    return ShownBlade(picture).At("/redfish/v1/Managers/Bmhost");
}

TEST(RedfishManager, IsTheResidentHost) {
    const auto manager = ManagerOf(SmallBlade());
    EXPECT_EQ("Service", manager["ManagerType"]);
    EXPECT_EQ("1.0", manager["FirmwareVersion"]);
    EXPECT_EQ("2026-11-22T09:30:03.000Z", manager["DateTime"]);
    EXPECT_EQ("+00:00", manager["DateTimeLocalOffset"]);
    EXPECT_EQ(4U, manager["Links"]["ManagerForChassis"].size());
}

TEST(RedfishManager, HasTheHealthThatTheMonitorFinds) {
    EXPECT_EQ(Json(R"({"State": "Enabled", "Health": "OK"})"), ManagerOf(SmallBlade())["Status"]);
    EXPECT_EQ(Json(R"({"State": "Enabled", "Health": "Critical"})"), ManagerOf(HostileBlade())["Status"]);
    EXPECT_EQ(Json(R"({"State": "Enabled"})"), ManagerOf(BareBlade())["Status"]) << "not monitored";
    EXPECT_EQ(Json(R"({"State": "StandbyOffline", "Health": "OK"})"), ManagerOf(LookedAtBlade())["Status"]);
    EXPECT_EQ(Json(R"(["temperature \u00b0"])"), ManagerOf(HostileBlade())["Oem"]["Bmhost"]["MonitorReasons"]);
}

TEST(RedfishManager, SaysThatTheHostDoesNotAnswer) {
    ShownBlade blade(SmallBlade());
    blade.m_view.m_reachable = false;
    blade.m_view.m_reason = "no such socket";
    const auto manager = blade.At("/redfish/v1/Managers/Bmhost");
    EXPECT_EQ(Json(R"({"State": "UnavailableOffline", "Health": "Critical"})"), manager["Status"]);
    EXPECT_EQ(false, manager["Oem"]["Bmhost"]["HostReachable"]);
    EXPECT_EQ("no such socket", manager["Oem"]["Bmhost"]["HostReason"]);
    EXPECT_EQ("2026-11-22T09:30:00.003Z", manager["Oem"]["Bmhost"]["HostSince"]);
}

} // namespace
