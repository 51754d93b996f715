// Who may do what: the table, and the page that shows it.
#include "host/accounts/Grants.h"

#include "host/accounts/AccountParts.h"
#include "host/api/Routes.h"
#include "host/orders/Order.h"
#include "host/web/page/PageFiles.h"
#include "host/web/redfish/Places.h"
#include "host/web/redfish/Resources.h"

#include "host/UsageError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

using namespace bmhost;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

Without WithoutFor(const char* method, const char* path) {
    const Grant* grant = GrantFor(method, path);
    EXPECT_NE(nullptr, grant) << method << " " << path;
    return grant == nullptr ? Without::Everywhere : grant->m_without;
}

Role LeastRole(const std::string& method, const std::string& path, bool own = false) {
    const Grant* grant = GrantFor(method, path);
    EXPECT_NE(nullptr, grant) << method << " " << path;
    for (const Role role : AllRoles) {
        if (grant != nullptr && MayDo(role, *grant, own)) return role;
    }
    ADD_FAILURE() << "nobody may " << method << " " << path;
    return Role::Administrator;
}

std::ptrdiff_t Parts(std::string_view path) {
    return std::ranges::count(path, '/');
}

std::vector<std::string> OrderNames() {
    const std::string known = UsageErrorOf([] { CheckOrder({"none", nlohmann::json::object()}); });
    constexpr std::string_view before = "expected one of ";
    EXPECT_THAT(known, HasSubstr(before));
    std::istringstream words(known.substr(known.find(before) + before.size()));
    std::vector<std::string> names;
    for (std::string name; words >> name; names.push_back(name)) {
        if (name.ends_with(',')) name.pop_back();
    }
    EXPECT_EQ(7U, names.size());
    return names;
}

struct ServedRoute {
    std::string m_method;
    std::string m_path;
};

/// Whatever the door serves: the page, the metrics, the socket's API with each of its orders, and Redfish.
std::vector<ServedRoute> ServedRoutes() {
    std::vector<ServedRoute> routes = {{"GET", "/metrics"}, {"GET", EventStreamUri}};
    for (const PageFile& file : PageFiles())
        routes.push_back({"GET", file.m_name == "index.html" ? "/" : "/page/" + std::string(file.m_name)});
    for (const Route& route : Routes()) {
        if (route.m_path != "/v1/orders/{order}")
            routes.push_back({std::string(route.m_method), std::string(route.m_path)});
    }
    for (const std::string& order : OrderNames())
        routes.push_back({"POST", "/v1/orders/" + order});
    for (const TreeNode& node : Nodes()) {
        const std::string path(node.m_pattern);
        if (node.m_make != nullptr || node.m_answer != nullptr) routes.push_back({"GET", path});
        if (!node.m_writes.empty()) routes.push_back({std::string(node.m_writes), path});
    }
    return routes;
}

TEST(Grants, EveryRouteHasOneAndEveryOneHasARoute) {
    std::set<const Grant*> used;
    for (const ServedRoute& route : ServedRoutes()) {
        const Grant* const grant = GrantFor(route.m_method, route.m_path);
        ASSERT_NE(nullptr, grant) << route.m_method << " " << route.m_path;
        used.insert(grant);
        // Only what is read may be granted by a pattern for many: something new to be written is for nobody at first.
        if (route.m_method == "GET") continue;
        EXPECT_THAT(grant->m_path, Not(HasSubstr("{…}")));
        EXPECT_EQ(Parts(grant->m_path), Parts(route.m_path)) << route.m_path;
    }
    for (const Grant& grant : Grants())
        EXPECT_TRUE(used.contains(&grant)) << grant.m_method << " " << grant.m_path << " is nowhere";
}

TEST(Grants, WithoutAnAccountOnlyPlainLoopbackReadsAndOnlyRedfishLetsInElsewhere) {
    std::set<std::string> everywhere;
    for (const Grant& grant : Grants()) {
        if (grant.m_without == Without::Everywhere) {
            everywhere.insert(std::string(grant.m_method) + " " + std::string(grant.m_path));
        } else {
            EXPECT_EQ(grant.m_method == "GET" ? Without::PlainLoopback : Without::Nowhere, grant.m_without)
                << grant.m_path;
        }
    }
    EXPECT_THAT(everywhere, ElementsAre("GET /redfish", "GET /redfish/v1", "GET /redfish/v1/$metadata",
                                        "GET /redfish/v1/odata", "POST /redfish/v1/SessionService/Sessions",
                                        "POST /redfish/v1/SessionService/Sessions/Members"));
}

TEST(Grants, ReadOnlyLooksOperatorsGiveOrdersAdministratorsDoTheRest) {
    for (const char* path :
         {"/", "/metrics", "/v1", "/v1/blade", "/v1/blade/leds/3/1", "/v1/events", "/v1/log",
          "/redfish/v1/Chassis/Blade", "/redfish/v1/SessionService/Sessions/1", "/redfish/v1/AccountService/Accounts"})
        EXPECT_EQ(Role::ReadOnly, LeastRole("GET", path)) << path;
    for (const char* path :
         {"/v1/orders/led-set", "/v1/orders/stop", "/v1/firmware", "/redfish/v1/Chassis/Blade/Actions/Chassis.Reset",
          "/redfish/v1/Chassis/AMC3/Actions/Oem/Bmhost.SetLed", "/redfish/v1/UpdateService/upload"})
        EXPECT_EQ(Role::Operator, LeastRole("POST", path)) << path;
    for (const char* path : {"/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP1",
                             "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1"})
        EXPECT_EQ(Role::Operator, LeastRole("PATCH", path)) << path;
    for (const char* path :
         {"/v1/calls", "/v1/orders/firmware-update", "/redfish/v1/EventService/Actions/EventService.SubmitTestEvent"})
        EXPECT_EQ(Role::Administrator, LeastRole("POST", path)) << path;
}

TEST(Grants, OnesOwnSessionAndAccountNeedLess) {
    EXPECT_EQ(Role::Administrator, LeastRole("DELETE", "/redfish/v1/SessionService/Sessions/1"));
    EXPECT_EQ(Role::ReadOnly, LeastRole("DELETE", "/redfish/v1/SessionService/Sessions/1", true));
    EXPECT_EQ(Role::Administrator, LeastRole("GET", "/redfish/v1/AccountService/Accounts/anna"));
    EXPECT_EQ(Role::ReadOnly, LeastRole("GET", "/redfish/v1/AccountService/Accounts/anna", true));
    // Nothing of the blade is anybody's own.
    EXPECT_EQ(Role::Administrator, LeastRole("POST", "/v1/calls", true));
}

TEST(Grants, EachPrivilegeAloneDoesWhereSeveralDo) {
    const Grant grant{"GET",        "/", Without::Nowhere, Privilege::ConfigureManager, Privilege::ConfigureComponents,
                      std::nullopt, ""};
    EXPECT_TRUE(MayDo(Role::Operator, grant, false));
    EXPECT_FALSE(MayDo(Role::ReadOnly, grant, true));
}

TEST(Grants, HeadIsAGet) {
    EXPECT_EQ(GrantFor("GET", "/v1/blade"), GrantFor("HEAD", "/v1/blade"));
    EXPECT_EQ(Without::Everywhere, WithoutFor("HEAD", "/redfish/v1"));
    EXPECT_EQ(nullptr, GrantFor("HEAD", "/v1/calls"));
}

TEST(Grants, RedfishPathMayEndInASlash) {
    EXPECT_EQ(Without::Everywhere, WithoutFor("GET", "/redfish/v1/"));
    EXPECT_EQ(Without::Everywhere, WithoutFor("GET", "/redfish/"));
    EXPECT_EQ(GrantFor("POST", "/redfish/v1/SessionService/Sessions"),
              GrantFor("POST", "/redfish/v1/SessionService/Sessions/"));
    EXPECT_EQ(nullptr, GrantFor("GET", "/v1/"));
}

TEST(Grants, WhatIsNotInTheTableIsNobodys) {
    for (const char* path :
         {"", "metrics", "/metrics/", "//", "//metrics", "/redfish//v1", "/redfish/v1//", "/redfish/v2", "/redfish/v1x",
          "/v1/blade/", "/v2", "/page", "/page/", "/page/a/b", "/METRICS", "*"})
        EXPECT_EQ(nullptr, GrantFor("GET", path)) << path;
    for (const char* path :
         {"/redfish/v1/Chassis", "/redfish/v1/Chassis/Blade", "/redfish/v1/AccountService/Accounts", "/v1/orders",
          "/v1/orders/other", "/v1/orders/led-set/x", "/redfish/v1/EventService/Subscriptions"})
        EXPECT_EQ(nullptr, GrantFor("POST", path)) << path;
    for (const char* method : {"PUT", "TRACE", "OPTIONS", "CONNECT", "get", ""})
        EXPECT_EQ(nullptr, GrantFor(method, "/redfish/v1")) << method;
}

TEST(Grants, MethodsOfAPathAreThoseThatHaveOne) {
    EXPECT_THAT(MethodsOf("/metrics"), ElementsAre("GET", "HEAD"));
    EXPECT_THAT(MethodsOf("/v1/calls"), ElementsAre("POST"));
    EXPECT_THAT(MethodsOf("/redfish/v1/SessionService/Sessions"), ElementsAre("GET", "HEAD", "POST"));
    EXPECT_THAT(MethodsOf("/redfish/v1/SessionService/Sessions/7"), ElementsAre("GET", "HEAD", "DELETE"));
    EXPECT_THAT(MethodsOf("/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP1"),
                ElementsAre("GET", "HEAD", "PATCH"));
    EXPECT_THAT(MethodsOf("/nowhere"), IsEmpty());
}

TEST(Grants, NoRowHidesAnother) {
    for (const Grant& grant : Grants())
        EXPECT_EQ(&grant, GrantFor(grant.m_method, grant.m_path)) << grant.m_method << " " << grant.m_path;
}

TEST(Grants, PageOfSecurityHasTheTable) {
    const bool isThere =
        TextIn(SOURCE_FOLDER "/docs/security.md").find("\n\n" + GrantsTable() + "\n") != std::string::npos;
    EXPECT_TRUE(isThere) << "docs/security.md needs this table:\n" << GrantsTable();
}

} // namespace
