// Who gets what at the web door, over TCP and TLS.
#include "ServedDoor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::Not;
using Answer = ::HttpAnswer;

Answer Ask(const Client& client, const std::string& method, const std::string& path, const std::string& headers = "",
           const std::string& body = "", const std::string& type = "application/json") {
    std::string text = method + " " + path + " HTTP/1.1\r\nHost: h\r\n" + headers;
    if (method != "GET")
        text += "Content-Type: " + type + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    client.Send(text + "\r\n" + body);
    return client.Read(method == "HEAD");
}

Answer AskPlain(const ServedDoor& door, const std::string& method, const std::string& path,
                const std::string& headers = "", const std::string& body = "",
                const std::string& type = "application/json") {
    return Ask(Client(door.Plain()), method, path, headers, body, type);
}

Answer AskSecure(const ServedDoor& door, const std::string& method, const std::string& path,
                 const std::string& headers = "", const std::string& body = "") {
    return Ask(TlsClient(door.Secure()), method, path, headers, body);
}

/// Until the mirror has heard the host.
bool IsThere(const ServedDoor& door) {
    for (int i = 0; i < 3000; ++i) {
        if (AskPlain(door, "GET", "/v1/blade").m_status == 200) return true;
        std::this_thread::yield();
    }
    return false;
}

TEST(Door, PlainLoopbackShowsEverythingToEverybody) {
    ServedDoor door;
    ASSERT_TRUE(IsThere(door));
    for (const char* const path : {"/v1", "/v1/blade", "/v1/blade/leds", "/v1/openapi.json", "/redfish/v1/Chassis"})
        EXPECT_EQ(AskPlain(door, "GET", path).m_status, 200) << path;
}

TEST(Door, ElsewhereNothingIsShownWithoutAnAccountButTheBeginningOfRedfish) {
    ServedDoor door;
    ASSERT_TRUE(IsThere(door));
    for (const char* const path :
         {"/v1", "/v1/blade", "/v1/log", "/v1/events", "/metrics", "/", "/redfish/v1/Chassis", "/nowhere"}) {
        const Answer answer = AskSecure(door, "GET", path);
        EXPECT_EQ(answer.m_status, 401) << path;
        EXPECT_EQ(answer.m_headers.at("www-authenticate"), "Basic realm=\"bmhost\"");
    }
    EXPECT_EQ(AskSecure(door, "GET", "/redfish/v1").m_body, "nobody");
    EXPECT_EQ(AskSecure(door, "GET", "/v1/blade", Basic("reader", "readerword")).m_status, 200);
    EXPECT_EQ(AskSecure(door, "GET", "/v1/blade", Basic("reader", "wrong")).m_status, 401);
    EXPECT_EQ(AskSecure(door, "GET", "/v1/blade", "Authorization: Bearer x\r\n").m_status, 401);
    EXPECT_EQ(AskSecure(door, "GET", "/v1/blade", "X-Auth-Token: x\r\n").m_status, 401);
}

TEST(Door, AnOrderNeedsAnAccountThatMayGiveIt) {
    ServedDoor door;
    door.Blade().AnswerWith([](const std::string&) { return JsonAnswer(200, R"({"good":true})"); });
    const std::string order = "/v1/orders/led-set";
    EXPECT_EQ(AskPlain(door, "POST", order, "", "{}").m_status, 401);
    EXPECT_EQ(AskPlain(door, "POST", order, Basic("operator", "wrong"), "{}").m_status, 401);
    const Answer refused = AskPlain(door, "POST", order, Basic("reader", "readerword"), "{}");
    EXPECT_EQ(refused.m_status, 403);
    EXPECT_THAT(refused.Reason(), testing::StartsWith("this needs the privilege ConfigureComponents, and the role "
                                                      "ReadOnly has Login, "));
    for (const Privilege privilege : AllPrivileges) {
        if (privilege == Privilege::ConfigureComponents) continue;
        EXPECT_EQ(refused.Reason().find(PrivilegeName(privilege)) != std::string::npos, Has(Role::ReadOnly, privilege))
            << PrivilegeName(privilege);
    }
    EXPECT_EQ(AskPlain(door, "POST", "/v1/calls", Basic("operator", "operatorword"), "{}").m_status, 403);
    EXPECT_TRUE(door.Blade().Requests("POST ").empty()) << "nothing of all this has reached the host";
    EXPECT_EQ(AskPlain(door, "POST", order, Basic("operator", "operatorword"), R"({"bay":3})").m_body,
              "{\"good\":true}\n");
    const auto requests = door.Blade().Requests("POST ");
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_THAT(requests[0], HasSubstr("\r\nBmhost-Account: operator (127.0.0.1)\r\n"));
    EXPECT_THAT(requests[0], HasSubstr(R"({"bay":3})"));
}

TEST(Door, NobodyIsWhoHeSaysWithoutAPassword) {
    ServedDoor door;
    const std::string lies = "Bmhost-Account: admin (192.0.2.7)\r\nbmhost-role: Administrator\r\n";
    EXPECT_EQ(AskPlain(door, "GET", "/redfish/v1", lies).m_body, "nobody");
    EXPECT_EQ(AskPlain(door, "POST", "/v1/calls", lies, "{}").m_status, 401);
    EXPECT_EQ(AskPlain(door, "GET", "/redfish/v1", lies + Basic("reader", "readerword")).m_body,
              "reader (127.0.0.1) ReadOnly");
}

TEST(Door, ATokenIsAsGoodAsAPassword) {
    ServedDoor door;
    const auto opened = door.Logins().OpenSessions().Open("operator", "127.0.0.1");
    ASSERT_TRUE(opened);
    EXPECT_EQ(AskSecure(door, "GET", "/redfish/v1/Chassis", "X-Auth-Token: " + opened->m_token + "\r\n").m_body,
              "operator (127.0.0.1) Operator");
    EXPECT_EQ(door.Compared(), 0);
    door.Logins().OpenSessions().Close(opened->m_session.m_id);
    EXPECT_EQ(AskSecure(door, "GET", "/redfish/v1/Chassis", "X-Auth-Token: " + opened->m_token + "\r\n").m_status, 401);
}

TEST(Door, NamesAndOriginsFromElsewhereAreRefused) {
    ServedDoor door;
    const Client client(door.Plain());
    client.Send("GET /v1 HTTP/1.1\r\nHost: attacker.example\r\n\r\n");
    EXPECT_EQ(client.Read().m_status, 421);
    EXPECT_EQ(AskPlain(door, "POST", "/v1/orders/start", Basic("admin", "adminword") + "Origin: http://x\r\n").m_status,
              403);
    EXPECT_EQ(door.Compared(), 0);
}

TEST(Door, PathsAndMethodsThatAreNoneAreToldInTheirServicesLanguage) {
    ServedDoor door;
    EXPECT_THAT(AskPlain(door, "GET", "/nowhere").Reason(), HasSubstr("no such path"));
    EXPECT_EQ(AskPlain(door, "GET", "/metrics").m_status, 404);
    const Answer answer = AskPlain(door, "DELETE", "/v1/blade");
    EXPECT_EQ(answer.m_status, 405);
    EXPECT_THAT(answer.m_headers.at("allow"), HasSubstr("GET"));
    EXPECT_THAT(AskPlain(door, "PATCH", "/redfish/v1/Chassis", Basic("admin", "adminword")).m_body,
                testing::StartsWith("asked: "));
}

TEST(Door, AnswersTellBrowsersToBeStrict) {
    ServedDoor door;
    const Answer answer = AskPlain(door, "GET", "/nowhere");
    EXPECT_EQ(answer.m_headers.at("x-content-type-options"), "nosniff");
    EXPECT_EQ(answer.m_headers.at("content-security-policy"), "default-src 'none'; frame-ancestors 'none'");
    EXPECT_EQ(answer.m_headers.at("cache-control"), "no-store");
}

TEST(Door, AnImageIsPassedOnForWhoMayUpgrade) {
    ServedDoor door;
    door.Blade().AnswerWith([](const std::string&) { return JsonAnswer(202, R"({"good":true})"); });
    const std::string path = "/v1/firmware?target=amc&bay=3&name=a%20b%26c.img";
    const std::string type = "application/octet-stream";
    EXPECT_EQ(AskPlain(door, "POST", path, "", "image", type).m_status, 401);
    EXPECT_EQ(AskPlain(door, "POST", path, Basic("operator", "wrong"), "image", type).m_status, 401);
    EXPECT_EQ(AskPlain(door, "POST", path, Basic("reader", "readerword"), "image", type).m_status, 403);
    EXPECT_EQ(AskPlain(door, "POST", path, Basic("operator", "operatorword"), std::string(1001, 'x'), type).m_status,
              413);
    EXPECT_TRUE(door.Blade().Requests("POST ").empty());
    EXPECT_EQ(AskPlain(door, "POST", path, Basic("operator", "operatorword"), "image", type).m_status, 202);
    const auto requests = door.Blade().Requests("POST /v1/firmware?bay=3&name=a%20b%26c.img&target=amc HTTP/1.1\r\n");
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_THAT(requests[0], testing::EndsWith("\r\n\r\nimage"));
    EXPECT_THAT(requests[0], HasSubstr("\r\nBmhost-Account: operator (127.0.0.1)\r\n"));
}

TEST(Door, WhatReadersSeeDoesNotWaitForOrdersThatHang) {
    std::promise<void> end;
    const std::shared_future<void> ended = end.get_future().share();
    ServedDoor door({1, 1, std::chrono::seconds(30)});
    ASSERT_TRUE(IsThere(door));
    door.Blade().AnswerWith([ended](const std::string&) {
        ended.wait();
        return JsonAnswer(200, "{}");
    });
    const std::string order =
        "POST /v1/orders/start HTTP/1.1\r\nHost: h\r\nContent-Length: 0\r\n" + Basic("admin", "adminword") + "\r\n";
    const Client first(door.Plain());
    first.Send(order);
    ASSERT_TRUE(door.Blade().Awaits("POST ", 1));
    EXPECT_EQ(AskPlain(door, "GET", "/v1/blade").m_status, 200);
    const Client second(door.Plain());
    second.Send(order);
    // One may wait: whichever comes later is refused.
    auto third = std::async(std::launch::async, [&] {
        return Ask(Client(door.Plain()), "POST", "/v1/orders/start", Basic("admin", "adminword"));
    });
    auto fourth = std::async(std::launch::async, [&] {
        return Ask(Client(door.Plain()), "POST", "/v1/orders/start", Basic("admin", "adminword"));
    });
    while (third.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready &&
           fourth.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
    }
    const bool isThird = third.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    const Answer refused = isThird ? third.get() : fourth.get();
    EXPECT_EQ(refused.m_status, 503);
    EXPECT_EQ(refused.m_headers.at("retry-after"), "5");
    EXPECT_EQ(AskPlain(door, "GET", "/v1/blade").m_status, 200);
    end.set_value();
    EXPECT_EQ(first.Read().m_status, 200);
}

TEST(Door, EventsAreStreamedFromTheMirror) {
    ServedDoor door;
    ASSERT_TRUE(IsThere(door));
    const Client client(door.Plain());
    client.Send("GET /v1/events?after=0 HTTP/1.1\r\nHost: h\r\n\r\n");
    client.ReadUntil("event: host");
    door.Blade().Tell("health", R"({"a":1})");
    EXPECT_THAT(client.ReadUntil("{\"a\":1}"), HasSubstr("event: health"));
}

TEST(Door, AReaderOfEventsWhosePasswordIsComparedFirstGetsTheStream) {
    ServedDoor door;
    ASSERT_TRUE(IsThere(door));
    const TlsClient client(door.Secure());
    const TlsClient wrong(door.Secure());
    std::unique_lock comparing(door.Comparing());
    client.Send("GET /v1/events?after=0 HTTP/1.1\r\nHost: h\r\n" + Basic("reader", "readerword") + "\r\n");
    wrong.Send("GET /v1/events HTTP/1.1\r\nHost: h\r\n" + Basic("operator", "guessed") + "\r\n");
    // Who needs no password is served meanwhile, after both have been heard.
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(AskPlain(door, "GET", "/v1/blade").m_status, 200);
    comparing.unlock();
    EXPECT_THAT(client.ReadUntil("event: host"), HasSubstr("200 OK"));
    EXPECT_EQ(wrong.Read().m_status, 401);
    door.Blade().Tell("health", R"({"a":1})");
    client.ReadUntil("{\"a\":1}");
    EXPECT_EQ(door.Compared(), 2);
}

/// A stream of the account reader, with its beginning read.
std::unique_ptr<Client> OpenStream(const ServedDoor& door, const std::string& headers) {
    auto client = std::make_unique<Client>(door.Plain());
    client->Send("GET /v1/events?after=0 HTTP/1.1\r\nHost: h\r\n" + headers + "\r\n");
    EXPECT_THAT(client->ReadUntil("event: host"), testing::EndsWith("event: host"));
    return client;
}

/// Whether the stream goes on with what is told now.
bool Hears(ServedDoor& door, const Client& stream) {
    door.Blade().Tell("health", R"({"a":1})");
    return stream.ReadUntil("{\"a\":1}").ends_with("{\"a\":1}");
}

TEST(Door, AStreamEndsWithTheRightOfItsAccount) {
    using Change = void (*)(AccountFile & accounts);
    const std::pair<const char*, Change> changes[] = {
        {"removed", [](AccountFile& accounts) { accounts.Remove("reader"); }},
        {"another password", [](AccountFile& accounts) { accounts.SetPassword("reader", "other"); }},
        {"locked",
         [](AccountFile& accounts) {
             accounts.Remove("reader");
             accounts.Add({"reader", Role::ReadOnly, "readerword", true});
         }},
    };
    for (const auto& [what, change] : changes) {
        SCOPED_TRACE(what);
        ServedDoor door;
        ASSERT_TRUE(IsThere(door));
        const auto session = door.Logins().OpenSessions().Open("reader", "127.0.0.1");
        const auto byPassword = OpenStream(door, Basic("reader", "readerword"));
        const auto byToken = OpenStream(door, "X-Auth-Token: " + session->m_token + "\r\n");
        const auto others = OpenStream(door, Basic("operator", "operatorword"));
        const auto nobodys = OpenStream(door, "");
        AccountFile accounts = ThreeAccounts();
        change(accounts);
        door.SetAccounts(accounts);
        EXPECT_FALSE(Hears(door, *byPassword));
        EXPECT_FALSE(Hears(door, *byToken));
        EXPECT_TRUE(Hears(door, *others));
        EXPECT_TRUE(Hears(door, *nobodys));
    }
}

TEST(Door, AStreamGoesOnWhenItsAccountMayStillReadIt) {
    ServedDoor door;
    ASSERT_TRUE(IsThere(door));
    const auto stream = OpenStream(door, Basic("operator", "operatorword"));
    AccountFile accounts = ThreeAccounts();
    accounts.SetRole("operator", Role::ReadOnly);
    door.SetAccounts(accounts);
    EXPECT_TRUE(Hears(door, *stream));
    accounts.Remove("operator");
    door.SetAccounts(accounts);
    EXPECT_FALSE(Hears(door, *stream));
}

TEST(Door, AnAccountThatGoesWhileItsPasswordIsComparedGetsNoStream) {
    ServedDoor door;
    ASSERT_TRUE(IsThere(door));
    const Client client(door.Plain());
    std::unique_lock comparing(door.Comparing());
    client.Send("GET /v1/events?after=0 HTTP/1.1\r\nHost: h\r\n" + Basic("reader", "readerword") + "\r\n");
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(AskPlain(door, "GET", "/v1/blade").m_status, 200);
    AccountFile accounts = ThreeAccounts();
    accounts.Remove("reader");
    door.SetAccounts(accounts);
    comparing.unlock();
    const std::string told = client.ReadUntil("event: host");
    EXPECT_THAT(told, HasSubstr("200 OK"));
    EXPECT_THAT(told, Not(HasSubstr("event: host")));
}

TEST(Door, WhoGoesWhileAPasswordIsComparedHasOrderedNothing) {
    ServedDoor door;
    ASSERT_TRUE(IsThere(door));
    std::unique_lock comparing(door.Comparing());
    {
        const Client client(door.Plain());
        client.Send(
            "POST /v1/orders/led-set HTTP/1.1\r\nHost: h\r\nContent-Type: application/json\r\nContent-Length: 2\r\n" +
            Basic("operator", "operatorword") + "\r\n{}");
        EXPECT_EQ(AskPlain(door, "GET", "/v1/blade").m_status, 200);
    }
    // The server has found the client gone before it hears of the password.
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(AskPlain(door, "GET", "/v1/blade").m_status, 200);
    comparing.unlock();
    EXPECT_EQ(AskPlain(door, "GET", "/v1/blade", Basic("reader", "readerword")).m_status, 200);
    EXPECT_TRUE(door.Blade().Requests("POST ").empty());
}

TEST(Door, ABladeThatIsNotReachableIsNoState) {
    ServedDoor door;
    ASSERT_TRUE(IsThere(door));
    door.Blade().Die();
    Answer answer;
    do {
        answer = AskPlain(door, "GET", "/v1/blade");
    } while (answer.m_status == 200);
    EXPECT_EQ(answer.m_status, 503);
    EXPECT_EQ(answer.m_headers.at("retry-after"), "1");
    EXPECT_THAT(answer.Reason(), HasSubstr("bmhost.sock"));
    EXPECT_EQ(AskPlain(door, "GET", "/v1/openapi.json").m_status, 200);
}

} // namespace
