// What clients read at the socket.
#include "ServedHost.h"

#include "host/api/Routes.h"

#include <gtest/gtest.h>

using nlohmann::json;

TEST(Looks, TheRootListsEveryRoute) {
    const ServedHost served;
    const HttpAnswer answer = served.Connect().Get("/v1");
    EXPECT_EQ(answer.m_status, 200);
    EXPECT_EQ(answer.m_headers.at("content-type"), "application/json");
    EXPECT_EQ(answer.Json().at("version"), "0.1.0");
    EXPECT_EQ(answer.Json().at("links").size(), bmhost::Routes().size());
}

TEST(Looks, ThePictureHasATagAndIsNotSentTwice) {
    ServedHost served;
    const Client client = served.Connect();
    const HttpAnswer first = client.Get("/v1/blade");
    EXPECT_EQ(first.m_status, 200);
    EXPECT_EQ(first.Json().at("revision"), 7);
    EXPECT_EQ(first.m_body.back(), '\n');
    const std::string tag = first.m_headers.at("etag");
    for (const std::string& known : {tag, "W/" + tag, "\"x\", " + tag + " ", std::string("*")}) {
        const HttpAnswer again = client.Get("/v1/blade", "If-None-Match: " + known + "\r\n");
        EXPECT_EQ(again.m_status, 304) << known;
        EXPECT_EQ(again.m_body, "");
        EXPECT_EQ(again.m_headers.at("etag"), tag);
    }
    bmhost::Picture next = SmallBlade();
    next.m_revision = 8;
    served.Host().Show(next);
    const HttpAnswer changed = client.Get("/v1/blade", "If-None-Match: " + tag + "\r\n");
    EXPECT_EQ(changed.m_status, 200);
    EXPECT_EQ(changed.Json().at("revision"), 8);
}

TEST(Looks, AnotherHostsRevisionHasAnotherTag) {
    ServedHost served;
    const Client client = served.Connect();
    const std::string tag = client.Get("/v1/blade").m_headers.at("etag");
    bmhost::Picture next = SmallBlade();
    next.m_host.m_started += std::chrono::seconds(1);
    served.Host().Show(next);
    EXPECT_NE(client.Get("/v1/blade").m_headers.at("etag"), tag);
}

TEST(Looks, EachPartIsServedByItself) {
    const ServedHost served;
    const Client client = served.Connect();
    const json whole = client.Get("/v1/blade").Json();
    for (const char* part : {"source", "host", "inventory", "leds", "dsps", "ports", "health", "controller", "upgrades",
                             "calls", "faults", "status"}) {
        const HttpAnswer answer = client.Get(std::string("/v1/blade/") + part);
        EXPECT_EQ(answer.m_status, 200) << part;
        EXPECT_EQ(answer.Json(), whole.at(part)) << part;
    }
    const HttpAnswer other = client.Get("/v1/blade/revision");
    EXPECT_EQ(other.m_status, 404);
    EXPECT_EQ(other.Json().at("error").at("operation"), "GET /v1/blade/revision");
    EXPECT_EQ(other.Json().at("error").at("value"), "revision");
}

TEST(Looks, ARowIsServedByItsNumbers) {
    const ServedHost served;
    const Client client = served.Connect();
    const json whole = client.Get("/v1/blade").Json();
    EXPECT_EQ(client.Get("/v1/blade/leds/0/2").Json(), whole.at("leds").at(0));
    EXPECT_EQ(client.Get("/v1/blade/leds/3/3").Json(), whole.at("leds").at(1));
    EXPECT_EQ(client.Get("/v1/blade/modules/3").Json(), whole.at("inventory").at("modules").at(0));
    EXPECT_EQ(client.Get("/v1/blade/dsps/1").Json(), whole.at("dsps").at(0));
    EXPECT_EQ(client.Get("/v1/blade/ports/1").Json(), whole.at("ports").at(0));
}

TEST(Looks, ARowThatThereIsNotIsNotFound) {
    const ServedHost served;
    const Client client = served.Connect();
    for (const char* path : {"/v1/blade/leds/3/9", "/v1/blade/leds/-1/2", "/v1/blade/leds/x/2", "/v1/blade/leds//2",
                             "/v1/blade/modules/4", "/v1/blade/dsps/99999999999", "/v1/blade/ports/0x1"}) {
        EXPECT_EQ(client.Get(path).m_status, 404) << path;
    }
}

TEST(Looks, TheLogGivesAsManyLinesAsAreAskedFor) {
    ServedHost served;
    std::vector<nlohmann::ordered_json> lines;
    for (int i = 0; i < 200; ++i)
        lines.push_back({{"text", std::to_string(i)}});
    served.Host().SetLog(lines);
    const Client client = served.Connect();
    EXPECT_EQ(client.Get("/v1/log").Json().at("lines").size(), 100U);
    const HttpAnswer two = client.Get("/v1/log?lines=2");
    EXPECT_EQ(two.m_body, "{\"lines\":[{\"text\":\"198\"},{\"text\":\"199\"}]}\n");
    for (const char* wrong : {"0", "10001", "-1", "2x", ""})
        EXPECT_EQ(client.Get(std::string("/v1/log?lines=") + wrong).m_status, 400) << wrong;
    EXPECT_EQ(client.Get("/v1/log?lines=2&lines=3").Reason(), "the parameter stands twice");
    EXPECT_EQ(client.Get("/v1/log?line=2").Reason(), "no such parameter: expected lines");
}

TEST(Looks, TheDocumentIsServedAsItIs) {
    const ServedHost served;
    const HttpAnswer answer = served.Connect().Get("/v1/openapi.json");
    EXPECT_EQ(answer.m_status, 200);
    EXPECT_EQ(answer.m_body, bmhost::OpenApiDocument());
    EXPECT_EQ(answer.Json().at("openapi"), "3.1.0");
}

TEST(Looks, HeadHasTheHeadersAndNoBody) {
    const ServedHost served;
    const Client client = served.Connect();
    client.Send("HEAD /v1/blade HTTP/1.1\r\nHost: h\r\n\r\n");
    const HttpAnswer head = client.Read(true);
    EXPECT_EQ(head.m_status, 200);
    EXPECT_EQ(head.m_headers.count("etag"), 1U);
    // The next answer begins where no body was.
    EXPECT_EQ(client.Get("/v1/blade").m_body.size(), std::stoul(head.m_headers.at("content-length")));
}

TEST(Looks, WhereEventsBeginHasToBeANumber) {
    const ServedHost served;
    const Client client = served.Connect();
    EXPECT_EQ(client.Get("/v1/events?after=x").m_status, 400);
    EXPECT_EQ(client.Get("/v1/events?after=-1").m_status, 400);
    EXPECT_EQ(client.Get("/v1/events?after=1", "Last-Event-ID: y\r\n").Json().at("error").at("value"),
              "Last-Event-ID=y");
}
