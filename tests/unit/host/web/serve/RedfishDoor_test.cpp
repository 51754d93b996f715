// Redfish over HTTP: what is read, and the rules of the protocol that need a connection.
#include "ServedRedfish.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::Not;

const std::string Chassis = "/redfish/v1/Chassis/Blade";
const std::string EventStreamPath = "/redfish/v1/EventService/SSE";

TEST(RedfishDoor, ShowsTheTree) {
    ServedRedfish door;
    EXPECT_EQ(door.Ask("GET", "/redfish").Json(), nlohmann::json({{"v1", "/redfish/v1/"}}));
    const HttpAnswer answer = door.Ask("GET", Chassis);
    EXPECT_EQ(answer.m_status, 200);
    EXPECT_EQ(answer.Json().at("Model"), "FB-7200 Carrier");
    EXPECT_EQ(answer.m_headers.at("content-type"), "application/json; charset=utf-8");
    EXPECT_EQ(answer.m_headers.at("odata-version"), "4.0");
    EXPECT_EQ(answer.m_headers.at("allow"), "GET, HEAD");
    EXPECT_THAT(answer.m_headers.at("link"), HasSubstr("rel=describedby"));
    EXPECT_EQ(door.Ask("GET", Chassis + "/").m_headers.at("etag"), answer.m_headers.at("etag"));
    EXPECT_EQ(door.Ask("GET", "/redfish/v1/$metadata").m_headers.at("content-type"), "application/xml");
    EXPECT_EQ(door.Ask("GET", "/redfish/v1").Json().at("UUID"), "92384634-2938-2342-8820-489239905423");
}

TEST(RedfishDoor, HeadHasNoBody) {
    ServedRedfish door;
    const Client client(door.Plain());
    client.Send("HEAD " + Chassis + " HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n");
    const std::string text = client.ReadToEnd();
    EXPECT_THAT(text, testing::StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(text, testing::EndsWith("\r\n\r\n"));
    EXPECT_THAT(text, HasSubstr("ETag: "));
    EXPECT_EQ(door.Ask("HEAD", EventStreamPath).m_status, 200);
}

TEST(RedfishDoor, SaysThatItClosesAConnection) {
    ServedRedfish door;
    for (const char* const words : {"close", "Keep-Alive, Close"}) {
        const Client client(door.Plain());
        client.Send("GET " + Chassis + " HTTP/1.1\r\nHost: h\r\nConnection: " + words + "\r\n\r\n");
        EXPECT_EQ(client.Read().m_headers.at("connection"), "close");
        EXPECT_EQ(client.ReadToEnd(), "") << "nothing comes after it, but its end";
    }
    const Client client(door.Plain());
    EXPECT_EQ(client.Get(Chassis).m_headers.count("connection"), 0U);
    EXPECT_EQ(client.Get(Chassis).m_status, 200);
}

TEST(RedfishDoor, WhatHasNotChangedIsNotSentAgain) {
    ServedRedfish door;
    const std::string etag = door.Ask("GET", Chassis).m_headers.at("etag");
    const HttpAnswer same = door.Ask("GET", Chassis, "if-none-match: " + etag + "\r\n");
    EXPECT_EQ(same.m_status, 304);
    EXPECT_EQ(same.m_body, "");
    EXPECT_EQ(door.Ask("GET", Chassis, "If-Match: \"x\"\r\n").m_status, 412);
    EXPECT_EQ(door.Ask("GET", Chassis, "OData-Version: 3.0\r\n").m_status, 412);
    EXPECT_EQ(door.Ask("GET", Chassis + "?$select=Id").m_status, 501);
    EXPECT_EQ(door.Ask("GET", Chassis + "?select=Id").m_status, 200);
    EXPECT_EQ(door.Ask("GET", Chassis, "", "a body is nobody's").m_status, 200);
}

TEST(RedfishDoor, ErrorsAreRedfishs) {
    ServedRedfish door;
    const HttpAnswer unknown = door.AskSecure("GET", "/redfish/v1/Nowhere");
    EXPECT_EQ(unknown.m_status, 401) << "nobody learns what there is";
    EXPECT_EQ(MessagesIn(unknown), "NoValidSession");
    EXPECT_THAT(unknown.m_headers.at("www-authenticate"), testing::StartsWith("Basic "));
    EXPECT_EQ(unknown.m_headers.at("odata-version"), "4.0");
    EXPECT_EQ(MessagesIn(door.Ask("GET", "/redfish/v1/Nowhere")), "ResourceMissingAtURI");
    const HttpAnswer forbidden =
        door.Ask("PATCH", "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1", door.TokenOf("reader"), "{}");
    EXPECT_EQ(forbidden.m_status, 403);
    EXPECT_EQ(MessagesIn(forbidden), "InsufficientPrivilege Refused");
    const HttpAnswer large =
        door.Order("PATCH", "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1", std::string(100'000, ' '));
    EXPECT_EQ(large.m_status, 413);
    EXPECT_EQ(MessagesIn(large), "PayloadTooLarge");
}

TEST(RedfishDoor, AMethodThatIsNoneSaysWhichThereAre) {
    ServedRedfish door;
    const std::string token = door.TokenOf("admin");
    const HttpAnswer answer = door.Ask("PATCH", Chassis, token, "{}");
    EXPECT_EQ(answer.m_status, 405);
    EXPECT_EQ(MessagesIn(answer), "OperationNotAllowed");
    EXPECT_EQ(answer.m_headers.at("allow"), "GET, HEAD");
    EXPECT_EQ(door.Ask("DELETE", "/redfish/v1/Chassis/AMC1", token).m_status, 404) << "there is no such module";
    EXPECT_EQ(door.Ask("GET", "/redfish/v1/UpdateService/upload", token).m_status, 405);
    EXPECT_EQ(door.Ask("PUT", Chassis, token, "{}").m_status, 405);
}

TEST(RedfishDoor, OfABladeThatIsNotHeardNoStatusIsSaid) {
    ServedRedfish door;
    door.Blade().BeIll(true);
    door.Blade().Tell("picture", "{}");
    ASSERT_TRUE(Comes([&] { return !door.Mirror().Now().m_reachable; }));
    EXPECT_EQ(door.Ask("GET", "/redfish/v1/Managers/Bmhost").Json().at("Status").at("State"), "UnavailableOffline");
    EXPECT_FALSE(door.Ask("GET", "/redfish/v1/Chassis/AMC3").Json().contains("Status"));
}

TEST(RedfishDoor, AccountsAreSeenByThemselvesAndByWhoManagesThem) {
    ServedRedfish door;
    const std::string own = "/redfish/v1/AccountService/Accounts/reader";
    EXPECT_EQ(door.AskSecure("GET", own, door.TokenOf("reader")).m_status, 200);
    EXPECT_EQ(door.AskSecure("GET", own, door.TokenOf("operator")).m_status, 403);
    EXPECT_EQ(door.AskSecure("GET", own, door.TokenOf("admin")).m_status, 200);
}

TEST(RedfishDoor, AStreamTellsOfEventsUntilItsSubscriptionIsDeleted) {
    ServedRedfish door;
    const std::string token = door.TokenOf("reader");
    const Client reader(door.Plain());
    reader.Send("GET " + EventStreamPath + " HTTP/1.1\r\nHost: h\r\n" + token + "\r\n");
    const std::string begin = reader.ReadUntil(": here\n\n");
    EXPECT_THAT(begin, HasSubstr("Content-Type: text/event-stream\r\n"));
    EXPECT_THAT(begin, HasSubstr("OData-Version: 4.0\r\n"));
    const std::string test = "/redfish/v1/EventService/Actions/EventService.SubmitTestEvent";
    EXPECT_EQ(door.Ask("POST", test, door.TokenOf("admin"), R"({"MessageId": "Base.1.22.Success"})").m_status, 204);
    EXPECT_THAT(reader.ReadUntil("Base.1.22.Success"), HasSubstr("id: "));

    const auto subscriptions = door.Ask("GET", "/redfish/v1/EventService/Subscriptions").Json();
    ASSERT_EQ(subscriptions.at("Members@odata.count"), 1);
    const std::string subscription = subscriptions.at("Members").at(0).at("@odata.id");
    EXPECT_EQ(door.Ask("DELETE", subscription, door.TokenOf("operator")).m_status, 403) << "it is somebody else's";
    ASSERT_EQ(door.Ask("DELETE", subscription, token).m_status, 204);
    reader.ReadToEnd();
    EXPECT_TRUE(Comes([&] {
        return door.Ask("GET", "/redfish/v1/EventService/Subscriptions").Json().at("Members@odata.count") == 0;
    }));
    EXPECT_EQ(door.Ask("DELETE", subscription, door.TokenOf("admin")).m_status, 404);
}

TEST(RedfishDoor, AStreamOffersNoFilters) {
    ServedRedfish door;
    EXPECT_EQ(door.Ask("GET", EventStreamPath + "?$filter=x").m_status, 501);
}

} // namespace
