// Redfish over HTTP: what is changed.
#include "ServedRedfish.h"

#include "host/picture/StatusNames.h"
#include "host/web/redfish/TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::Not;

const std::string PortPath = "/redfish/v1/Fabrics/Ethernet/Switches/Switch/Ports/1";
const std::string SetLed = "/redfish/v1/Chassis/Blade/Actions/Oem/Bmhost.SetLed";
const std::string Reset = "/redfish/v1/Chassis/Blade/Actions/Chassis.Reset";
const std::string Push = "/redfish/v1/UpdateService/upload";
const std::string SessionsPath = "/redfish/v1/SessionService/Sessions";
const std::string MultipartType = "multipart/form-data; boundary=b";

std::string Form(const std::string& parameters, const std::string& image) {
    return "--b\r\nContent-Disposition: form-data; name=\"UpdateParameters\"\r\n\r\n" + parameters +
           "\r\n--b\r\nContent-Disposition: form-data; name=\"UpdateFile\"; filename=\"a b.bin\"\r\n\r\n" + image +
           "\r\n--b--\r\n";
}

const std::string ForBay3 = R"({"Targets": ["/redfish/v1/UpdateService/FirmwareInventory/AMC3"]})";

TEST(RedfishWrites, APatchIsAnOrderForTheAccount) {
    ServedRedfish door;
    Picture written = SmallBlade();
    written.m_ports.at(0).m_enabled = false;
    door.Blade().AnswerWith([&](const std::string&) {
        door.Blade().Show(written);
        return GoodOutcome("switch-set", 1);
    });
    const HttpAnswer answer = door.Order("PATCH", PortPath, R"({"InterfaceEnabled": false})");
    EXPECT_EQ(answer.m_status, 204);
    EXPECT_EQ(answer.m_body, "");
    const auto requests = door.Blade().Requests("POST /v1/orders/switch-set ");
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_THAT(requests[0], HasSubstr("\r\nBmhost-Account: operator (127.0.0.1)\r\n"));
    EXPECT_THAT(requests[0], HasSubstr(R"("enabled":false)"));
    // Who has written it, reads it.
    EXPECT_EQ(door.Ask("GET", PortPath).Json().at("InterfaceEnabled"), false);
}

TEST(RedfishWrites, NothingIsWrittenWithoutAnAccount) {
    ServedRedfish door;
    EXPECT_EQ(door.Ask("PATCH", PortPath, "", R"({"InterfaceEnabled": false})").m_status, 401);
    EXPECT_EQ(door.Ask("POST", Push, "", Form(ForBay3, "image"), MultipartType).m_status, 401);
    EXPECT_EQ(door.Ask("POST", Reset, "", "{}").m_status, 401);
    EXPECT_EQ(door.Order("PATCH", PortPath, "{}", "text/plain").m_status, 415);
    EXPECT_TRUE(door.Blade().Requests("POST ").empty());
}

TEST(RedfishWrites, WhatTheHostRefusesIsTold) {
    ServedRedfish door;
    const std::string led = R"({"Led": 2, "State": "On", "Color": "Red"})";
    const auto answered = [&](unsigned status, const std::string& body) {
        door.Blade().AnswerWith([=](const std::string&) { return ::JsonAnswer(status, body); });
        const HttpAnswer answer = door.Order("POST", SetLed, led);
        return std::to_string(answer.m_status) + " " + (answer.m_body.empty() ? "" : MessagesIn(answer));
    };
    const std::string reason = R"({"error":{"operation":"","value":"","reason":"no such color"}})";
    EXPECT_EQ(answered(400, reason), "400 ActionParameterValueError Refused");
    EXPECT_EQ(answered(503, reason), "503 ServiceTemporarilyUnavailable");
    EXPECT_EQ(answered(500, reason), "500 InternalError Refused");
    EXPECT_EQ(answered(500, R"({"error":7})"), "500 InternalError Refused");
    EXPECT_EQ(answered(200, R"({"good":"perhaps"})"), "500 InternalError Refused");
}

TEST(RedfishWrites, OnSimulatedDataNothingIsSet) {
    ServedRedfish door;
    OrderOutcome refused; // its result is that of a good LED order
    refused.m_values = {{"source", {{"kind", "simulated"}}}};
    const std::string body = OrderOutcomeJson("led-set", refused).dump();
    door.Blade().AnswerWith([=](const std::string&) { return ::JsonAnswer(200, body); });
    const HttpAnswer answer = door.Order("POST", SetLed, R"({"Led": 2, "State": "Off"})");
    EXPECT_EQ(answer.m_status, 500);
    EXPECT_EQ(MessagesIn(answer), "OperationFailed NothingSet");
}

TEST(RedfishWrites, AResetIsAnsweredBeforeItIsGiven) {
    ServedRedfish door;
    EXPECT_EQ(door.Order("POST", Reset, R"({"ResetType": "ForceRestart"})").m_status, 204);
    ASSERT_TRUE(door.Blade().Awaits("POST /v1/orders/board-reset ", 1));
    EXPECT_THAT(door.Blade().Requests("POST ").at(0), HasSubstr("\r\nBmhost-Account: operator (127.0.0.1)\r\n"));
    EXPECT_EQ(door.Order("POST", Reset, R"({"ResetType": "On"})").m_status, 400);
    EXPECT_EQ(door.Blade().Requests("POST ").size(), 1U);
}

TEST(RedfishWrites, AnUploadIsATaskThatCanBeAskedForAtOnce) {
    ServedRedfish door;
    Picture upgrading = SmallBlade();
    upgrading.m_upgrades.push_back(
        {1, 3, UpgradeIsRunning, TimeAt(5000), std::nullopt, "a b.bin", "00ff", "1.2", "", "operator"});
    door.Blade().AnswerWith([&](const std::string&) {
        door.Blade().Show(upgrading);
        return GoodOutcome("firmware-update", 1);
    });
    const HttpAnswer answer = door.Order("POST", Push, Form(ForBay3, "image"), MultipartType);
    EXPECT_EQ(answer.m_status, 202) << answer.m_body;
    EXPECT_EQ(answer.m_body, "") << "a client takes it for the task";
    const auto requests = door.Blade().Requests("POST /v1/firmware?target=amc&bay=3&name=a%20b.bin ");
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_THAT(requests[0], testing::EndsWith("\r\n\r\nimage"));
    const std::string monitor = answer.m_headers.at("location");
    EXPECT_EQ(door.Ask("GET", monitor).m_status, 202);
    EXPECT_EQ(door.Ask("GET", monitor).m_headers.count("retry-after"), 0U);
    // One at a time.
    const HttpAnswer second = door.Order("POST", Push, Form(ForBay3, "image"), MultipartType);
    EXPECT_EQ(second.m_status, 503);
    EXPECT_EQ(MessagesIn(second), "ResourceInUse");
}

TEST(RedfishWrites, AnUploadThatIsNoneGoesNowhere) {
    ServedRedfish door;
    EXPECT_EQ(MessagesIn(door.Order("POST", Push, Form("{}", "image"), MultipartType)), "PropertyMissing");
    EXPECT_EQ(MessagesIn(door.Order("POST", Push, Form(ForBay3, ""), MultipartType)), "MissingOrMalformedPart");
    EXPECT_EQ(MessagesIn(door.Order("POST", Push, Form(ForBay3, "image") + "x", "multipart/form-data; boundary=c")),
              "MissingOrMalformedPart");
    EXPECT_EQ(door.Order("POST", Push, "{}").m_status, 415);
    const HttpAnswer large = door.Order("POST", Push, Form(ForBay3, std::string(100'001, 'x')), MultipartType);
    EXPECT_EQ(large.m_status, 413);
    EXPECT_EQ(MessagesIn(large), "PayloadTooLarge");
    EXPECT_TRUE(door.Blade().Requests("POST ").empty());
}

TEST(RedfishWrites, AnUploadThatTheHostRefusesSaysWhy) {
    ServedRedfish door;
    const auto answered = [&](unsigned status) {
        door.Blade().AnswerWith([=](const std::string&) {
            return ::JsonAnswer(status, R"({"error":{"operation":"","value":"","reason":"no room"}})");
        });
        const HttpAnswer answer = door.Order("POST", Push, Form(ForBay3, "image"), MultipartType);
        return std::to_string(answer.m_status) + " " + MessagesIn(answer);
    };
    EXPECT_EQ(answered(400), "400 MissingOrMalformedPart Refused");
    EXPECT_EQ(answered(413), "413 PayloadTooLarge");
    EXPECT_EQ(answered(503), "503 ServiceTemporarilyUnavailable");
    EXPECT_EQ(answered(507), "507 InsufficientStorage");
    EXPECT_EQ(answered(409), "500 InternalError Refused");
}

TEST(RedfishWrites, ASessionBeginsAndEnds) {
    ServedRedfish door;
    const HttpAnswer login =
        door.AskSecure("POST", SessionsPath, "", R"({"UserName": "reader", "Password": "readerword"})");
    ASSERT_EQ(login.m_status, 201) << login.m_body;
    const std::string token = "X-Auth-Token: " + login.m_headers.at("x-auth-token") + "\r\n";
    const std::string session = login.m_headers.at("location");
    EXPECT_EQ(login.Json().at("@odata.id"), session);
    EXPECT_EQ(login.Json().at("UserName"), "reader");
    EXPECT_THAT(login.m_body, Not(HasSubstr("readerword")));
    EXPECT_EQ(door.AskSecure("GET", "/redfish/v1/Chassis", token).m_status, 200);
    EXPECT_EQ(door.AskSecure("DELETE", session, door.TokenOf("operator")).m_status, 403) << "it is somebody else's";
    EXPECT_EQ(door.AskSecure("DELETE", session, token).m_status, 204);
    EXPECT_EQ(door.AskSecure("GET", "/redfish/v1/Chassis", token).m_status, 401);
    EXPECT_EQ(door.AskSecure("DELETE", session, door.TokenOf("admin")).m_status, 404);
}

TEST(RedfishWrites, AWrongLoginIsNone) {
    ServedRedfish door;
    for (const char* const path : {"", "/Members"}) {
        const HttpAnswer answer =
            door.AskSecure("POST", SessionsPath + path, "", R"({"UserName": "reader", "Password": "wrong"})");
        EXPECT_EQ(answer.m_status, 401);
        EXPECT_EQ(MessagesIn(answer), "NoValidSession");
        EXPECT_EQ(answer.m_headers.count("x-auth-token"), 0U);
    }
    EXPECT_EQ(door.AskSecure("POST", SessionsPath, "", R"({"UserName": "reader"})").m_status, 400);
    EXPECT_EQ(door.AskSecure("POST", SessionsPath, "", "{").m_status, 400);
}

TEST(RedfishWrites, OneAccountHasOnlySoManySessions) {
    ServedRedfish door;
    for (std::size_t i = 0; i < SessionLimits().m_mostOfAccount; ++i)
        door.TokenOf("reader");
    const HttpAnswer answer =
        door.AskSecure("POST", SessionsPath, "", R"({"UserName": "reader", "Password": "readerword"})");
    EXPECT_EQ(answer.m_status, 503);
    EXPECT_EQ(MessagesIn(answer), "SessionLimitExceeded");
}

} // namespace
