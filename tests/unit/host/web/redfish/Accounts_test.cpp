// Sessions, accounts and roles.
#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

TEST(RedfishSession, ShowsNoSecret) {
    EXPECT_EQ(Json(R"({"@odata.id": "/redfish/v1/SessionService/Sessions/7f",
        "@odata.type": "#Session.v1_8_0.Session", "Id": "7f", "Name": "Session of root", "UserName": "root",
        "CreatedTime": "2026-11-22T09:30:00.010Z", "SessionType": "Redfish", "ClientOriginIPAddress": "192.0.2.1",
        "Password": null})"),
              ShownBlade(SmallBlade()).At("/redfish/v1/SessionService/Sessions/7f"));
}

TEST(RedfishSession, EndsAfterATime) {
    EXPECT_EQ(1800, ShownBlade(SmallBlade()).At("/redfish/v1/SessionService")["SessionTimeout"]);
}

TEST(RedfishAccount, HasItsRole) {
    const ShownBlade blade(SmallBlade());
    EXPECT_EQ(Json(R"({"@odata.id": "/redfish/v1/AccountService/Accounts/guest",
        "@odata.type": "#ManagerAccount.v1_14_1.ManagerAccount", "Id": "guest", "Name": "Account guest",
        "UserName": "guest", "RoleId": "ReadOnly", "AccountTypes": ["Redfish"], "Enabled": true, "Locked": true,
        "Password": null, "Links": {"Role": {"@odata.id": "/redfish/v1/AccountService/Roles/ReadOnly"}}})"),
              blade.At("/redfish/v1/AccountService/Accounts/guest"));
    EXPECT_NE("", blade.Get("/redfish/v1/AccountService/Accounts/guest").Header("ETag")) << "the protocol demands it";
}

TEST(RedfishRole, HasItsPrivileges) {
    const auto role = ShownBlade(SmallBlade()).At("/redfish/v1/AccountService/Roles/Operator");
    EXPECT_EQ("Operator", role["RoleId"]);
    EXPECT_EQ(true, role["IsPredefined"]);
    EXPECT_EQ(Json(R"(["Login", "ConfigureSelf", "ConfigureComponents"])"), role["AssignedPrivileges"]);
}

} // namespace
