// What requests to change something come to.
#include "host/web/redfish/writes/Writing.h"

#include "TestWishes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

std::string Asked(const std::string& method, const std::string& path, const std::string& body = "") {
    return TextOfWish(WishAt(SmallBlade(), method, path, body));
}

TEST(RedfishWrite, IsTakenWhereTheTreeAllowsIt) {
    const std::map<std::string, std::string> ids = {{"/redfish/v1/Chassis/{}/Actions/Chassis.Reset", "Blade"},
                                                    {"/redfish/v1/Chassis/{}/Actions/Oem/Bmhost.SetLed", "AMC3"},
                                                    {"/redfish/v1/Systems/Media/EthernetInterfaces/{}", "AMC3-DSP1"},
                                                    {"/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/{}", "1"},
                                                    {"/redfish/v1/EventService/Subscriptions/{}", "1"},
                                                    {"/redfish/v1/SessionService/Sessions/{}", "7f"}};
    int taken = 0;
    for (const TreeNode& node : Nodes()) {
        if (node.m_writes.empty()) continue;
        std::string path(node.m_pattern);
        if (const auto at = path.find("{}"); at != std::string::npos) path.replace(at, 2, ids.at(path));
        const std::string asked = Asked(std::string(node.m_writes), path, "{}");
        EXPECT_FALSE(asked.starts_with("404") || asked.starts_with("405")) << path << ": " << asked;
        ++taken;
    }
    EXPECT_EQ(10, taken);
}

TEST(RedfishWrite, IsRefusedElsewhere) {
    EXPECT_EQ("404 ResourceMissingAtURI(/redfish/v1/Chassis/AMC1)", Asked("PATCH", "/redfish/v1/Chassis/AMC1"));
    for (const char* const method : {"POST", "PUT", "PATCH", "DELETE", "x", ""})
        EXPECT_EQ("405 OperationNotAllowed", Asked(method, "/redfish/v1/Chassis/Blade", "{}")) << method;
    EXPECT_EQ("405 OperationNotAllowed", Asked("POST", "/redfish/v1/Chassis", "{}"));
    EXPECT_EQ("405 OperationNotAllowed", Asked("POST", "/redfish/v1/EventService/Subscriptions", "{}"));
    EXPECT_EQ("405 OperationNotAllowed", Asked("PATCH", "/redfish/v1/AccountService/Accounts/root", "{}"));
    EXPECT_EQ("405 OperationNotAllowed", Asked("PATCH", "/redfish/v1/UpdateService/upload", "{}"));
    const Wish refused = WishAt(SmallBlade(), "DELETE", "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1");
    EXPECT_EQ("GET, HEAD, PATCH", std::get<RedfishAnswer>(refused).Header("Allow"));
}

TEST(RedfishWrite, IsNotOfferedOfWhatTheAdaptorCannotDo) {
    const auto simulated = [](const char* path) { return TextOfWish(WishAt(HostileBlade(), "POST", path, "{}")); };
    EXPECT_EQ("404 ResourceMissingAtURI(/redfish/v1/Chassis/Blade/Actions/Chassis.Reset)",
              simulated("/redfish/v1/Chassis/Blade/Actions/Chassis.Reset"));
    EXPECT_EQ("405 OperationNotAllowed",
              TextOfWish(WishAt(LookedAtBlade(), "PATCH", "/redfish/v1/Systems/Media/EthernetInterfaces/AMC3-DSP1")));
}

TEST(RedfishWrite, WaitsForTheHost) {
    const Wish wish = WishAt(Picture{}, "POST", "/redfish/v1/Chassis/Blade/Actions/Chassis.Reset");
    EXPECT_EQ("503 ServiceTemporarilyUnavailable(5)", TextOfWish(wish));
    EXPECT_EQ("5", std::get<RedfishAnswer>(wish).Header("Retry-After"));
}

TEST(RedfishWrite, RefusesQueriesAndOtherVersions) {
    const ShownBlade blade(SmallBlade());
    RedfishRequest request{"DELETE", "/redfish/v1/SessionService/Sessions/7f", {{"$select", "Id"}}};
    EXPECT_EQ("501 QueryNotSupported", TextOfWish(WishOf(blade.m_facts, request)));
    request.m_query.clear();
    request.m_odataVersion = "3.0";
    EXPECT_EQ("412 PreconditionFailed", TextOfWish(WishOf(blade.m_facts, request)));
}

TEST(RedfishLogin, NeedsNameAndPassword) {
    const std::string sessions = "/redfish/v1/SessionService/Sessions";
    EXPECT_EQ("login root secret", Asked("POST", sessions, R"({"UserName": "root", "Password": "secret"})"));
    EXPECT_EQ("login a b", Asked("POST", sessions + "/Members", R"({"UserName": "a", "Password": "b", "@x": 1})"));
    EXPECT_EQ("400 PropertyMissing(UserName) PropertyMissing(Password)", Asked("POST", sessions, "{}"));
    EXPECT_EQ("400 PropertyValueTypeError(7, Password)",
              Asked("POST", sessions, R"({"UserName": "root", "Password": 7})"));
    EXPECT_EQ("400 PropertyUnknown(Token)",
              Asked("POST", sessions, R"({"UserName": "a", "Password": "b", "Token": "c"})"));
    EXPECT_EQ("400 MalformedJSON", Asked("POST", sessions, "{\"UserName\":"));
    EXPECT_EQ("400 MalformedJSON", Asked("POST", sessions, ""));
    EXPECT_EQ("400 UnrecognizedRequestBody", Asked("POST", sessions, "[]"));
}

// Who has no account can send one, too.
TEST(RedfishLogin, TakesNoDeepJson) {
    const std::string sessions = "/redfish/v1/SessionService/Sessions";
    const auto nested = [](std::size_t levels) {
        return R"({"UserName": )" + std::string(levels, '[') + std::string(levels, ']') + R"(, "Password": "x"})";
    };
    EXPECT_EQ("400 PropertyValueTypeError([[[]]], UserName)", Asked("POST", sessions, nested(3)));
    EXPECT_EQ("400 MalformedJSON", Asked("POST", sessions, nested(17)));
    EXPECT_EQ("400 MalformedJSON", Asked("POST", sessions, nested(30'000)));
}

TEST(RedfishDelete, EndsSessionsAndStreams) {
    EXPECT_EQ("logout 7f", Asked("DELETE", "/redfish/v1/SessionService/Sessions/7f"));
    EXPECT_EQ("404 ResourceMissingAtURI(/redfish/v1/SessionService/Sessions/99)",
              Asked("DELETE", "/redfish/v1/SessionService/Sessions/99"));
    EXPECT_EQ("end 2", Asked("DELETE", "/redfish/v1/EventService/Subscriptions/2"));
}

TEST(RedfishDelete, OfWhatHasChangedDoesNothing) {
    const ShownBlade blade(SmallBlade());
    for (const std::string path :
         {"/redfish/v1/SessionService/Sessions/7f", "/redfish/v1/EventService/Subscriptions/2"}) {
        RedfishRequest request{"DELETE", path};
        request.m_ifMatch = "\"0000000000000000\"";
        EXPECT_EQ("412 PreconditionFailed", TextOfWish(WishOf(blade.m_facts, request)));
        request.m_ifMatch = blade.Get(path).Header("ETag");
        EXPECT_FALSE(std::holds_alternative<RedfishAnswer>(WishOf(blade.m_facts, request))) << path;
    }
}

TEST(RedfishMessages, CutLongValues) {
    EXPECT_EQ("text", ValueInMessage("text"));
    EXPECT_EQ("null", ValueInMessage(nullptr));
    EXPECT_EQ("{\"a\":1}", ValueInMessage(Json(R"({"a": 1})")));
    EXPECT_EQ(203U, ValueInMessage(std::string(5000, 'x')).size());
}

} // namespace
