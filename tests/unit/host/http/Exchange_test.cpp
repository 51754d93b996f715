// One connection's requests: in a row, in pieces, in nonsense.
#include "ServedHost.h"

#include <gtest/gtest.h>

#include <list>

using namespace bmhost;

TEST(Exchange, OneConnectionServesManyRequests) {
    const ServedHost served;
    const Client client = served.Connect();
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(client.Get("/v1/blade/health").m_status, 200);
}

TEST(Exchange, RequestsThatComeAtOnceAreAnsweredInTheirOrder) {
    ServedHost served;
    served.Host().Be(FakeHost::Manner::Keep);
    const Client client = served.Connect();
    client.Send(StopRequest + "GET /v1/blade/none HTTP/1.1\r\nHost: h\r\n\r\n" + StopRequest + LookRequest);
    auto kept = served.Host().Kept(1);
    ASSERT_EQ(kept.size(), 1U);
    kept[0]({200, {{"number", 1}}});
    kept = served.Host().Kept(2);
    ASSERT_EQ(kept.size(), 2U);
    kept[1]({200, {{"number", 2}}});
    EXPECT_EQ(client.Read().Json().at("number"), 1);
    EXPECT_EQ(client.Read().m_status, 404);
    EXPECT_EQ(client.Read().Json().at("number"), 2);
    EXPECT_EQ(client.Read().Json().at("api"), "v1");
}

TEST(Exchange, ARequestMayComeByteByByte) {
    ServedHost served;
    const Client client = served.Connect();
    const std::string request = "POST /v1/calls HTTP/1.1\r\nHost: h\r\nContent-Type: application/json\r\n"
                                "Content-Length: 13\r\n\r\n{\"op\":\"stop\"}";
    for (const char byte : request)
        ASSERT_TRUE(client.Send({&byte, 1}));
    EXPECT_EQ(client.Read().m_status, 200);
}

TEST(Exchange, ConnectionCloseIsHeldAndSaid) {
    const ServedHost served;
    for (const std::string& request : {std::string("GET /v1 HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n"),
                                       std::string("GET /v1 HTTP/1.0\r\n\r\n")}) {
        const Client client = served.Connect();
        client.Send(request);
        const HttpAnswer answer = client.Read();
        EXPECT_EQ(answer.m_status, 200);
        EXPECT_EQ(answer.m_headers.at("connection"), "close");
        EXPECT_EQ(client.ReadToEnd(), "");
    }
}

TEST(Exchange, AfterAnErrorTheConnectionServesOn) {
    const ServedHost served;
    const Client client = served.Connect();
    EXPECT_EQ(client.Post("/v1/calls", "nonsense").m_status, 400);
    EXPECT_EQ(client.Post("/v1/calls", "nonsense", "text/plain").m_status, 415);
    EXPECT_EQ(client.Post("/v1/blade", "nonsense").m_status, 405);
    EXPECT_EQ(client.Post("/v3", "nonsense").m_status, 404);
    client.Send("GET /v1 HTTP/1.1\r\nHost: h\r\nContent-Length: 3\r\n\r\nabc");
    const HttpAnswer answer = client.Read();
    EXPECT_EQ(answer.m_status, 400);
    EXPECT_EQ(answer.Reason(), "this request takes no body");
    EXPECT_EQ(client.Get("/v1").m_status, 200);
}

TEST(Exchange, AWrongMethodIsToldWhichAreServed) {
    const ServedHost served;
    const Client client = served.Connect();
    client.Send("DELETE /v1/blade HTTP/1.1\r\nHost: h\r\n\r\n");
    const HttpAnswer answer = client.Read();
    EXPECT_EQ(answer.m_status, 405);
    EXPECT_EQ(answer.m_headers.at("allow"), "GET, HEAD");
    EXPECT_EQ(answer.Json().at("error").at("operation"), "DELETE /v1/blade");
}

TEST(Exchange, NonsenseEndsItsOwnConnectionOnly) {
    ApiLimits limits;
    limits.m_idleTime = std::chrono::milliseconds(200); // some of it looks as if more could come
    const ServedHost served(limits);
    for (const std::string& nonsense :
         {std::string("\0\1\2\3\r\n\r\n", 8), std::string("HELO\r\n\r\n"), std::string("GET\r\n\r\n"),
          std::string("GET / HTTP/9.9\r\n\r\n"), std::string("\x16\x03\x01\x02\x00\x01", 6),
          std::string("GET /v1 HTTP/1.1\r\nContent-Length: -1\r\n\r\n"), std::string(100'000, 'x')}) {
        const Client client = served.Connect();
        client.SendWhatFits(nonsense);
        client.FinishSending();
        const std::string answer = client.ReadToEnd();
        EXPECT_EQ(answer.find(" 200 "), std::string::npos) << nonsense.substr(0, 40);
        EXPECT_EQ(served.Connect().Get("/v1").m_status, 200);
    }
}

TEST(Exchange, ASmallWindowOfTheHostsBytesIsValidJson) {
    const ServedHost served;
    const HttpAnswer answer = served.Connect().Get("/v1/blade/%FF%C2%85");
    EXPECT_EQ(answer.m_status, 404);
    // Neither bytes that are no UTF-8 nor what a terminal takes for a line's end.
    EXPECT_EQ(answer.m_body.find('\xFF'), std::string::npos);
    EXPECT_EQ(answer.m_body.find("\xC2\x85"), std::string::npos);
    EXPECT_EQ(answer.Json().at("error").at("value"), "\xEF\xBF\xBD\xC2\x85");
}

TEST(Exchange, APathIsTakenWholeAndAsItIs) {
    const ServedHost served;
    for (const char* path :
         {"/v1%00", "/v1/blade%00/leds", "/v1/blade/status%00x", "/v1/blade/../log", "/v1/%2e%2e/v1"})
        EXPECT_EQ(served.Connect().Get(path).m_status, 404) << path;
    EXPECT_EQ(served.Connect().Get("/v1/log?lines=1%000").m_status, 400);
    EXPECT_EQ(served.Connect().Get("/v1/log?lines%00=1").m_status, 400);
}

TEST(Exchange, EventsAreStreamedAsTheyHappen) {
    ServedHost served;
    const Client client = served.Connect();
    client.Send(EventsRequest);
    const HttpAnswer head = client.Read();
    EXPECT_EQ(head.m_status, 200);
    EXPECT_EQ(head.m_headers.at("content-type"), "text/event-stream");
    client.ReadUntil(": events after 0\n\n");
    served.Host().Tell("event", "{\"a\":1}");
    EXPECT_TRUE(client.ReadUntil("id: 1\nevent: event\ndata: {\"a\":1}\n\n").ends_with("\n\n"));
    served.Host().Tell("health", "{}");
    EXPECT_TRUE(client.ReadUntil("id: 2\nevent: health\ndata: {}\n\n").ends_with("\n\n"));
}

TEST(Exchange, AReaderThatReconnectsGetsWhatItMissed) {
    ServedHost served;
    for (int i = 0; i < 5; ++i)
        served.Host().Tell("event", "{}");
    for (const std::string& request :
         {std::string("GET /v1/events?after=3 HTTP/1.1\r\nHost: h\r\n\r\n"),
          std::string("GET /v1/events?after=1 HTTP/1.1\r\nHost: h\r\nLast-Event-ID: 3\r\n\r\n")}) {
        const Client client = served.Connect();
        client.Send(request);
        client.Read();
        const std::string all = client.ReadUntil("id: 5\nevent: event\ndata: {}\n\n");
        EXPECT_NE(all.find("id: 4\n"), std::string::npos);
        EXPECT_EQ(all.find("id: 3\n"), std::string::npos);
    }
}

TEST(Exchange, AQuietStreamShowsThatItLives) {
    ApiLimits limits;
    limits.m_commentTime = std::chrono::milliseconds(20);
    const ServedHost served(limits);
    const Client client = served.Connect();
    client.Send(EventsRequest);
    client.ReadUntil("\n:\n\n");
    EXPECT_TRUE(client.ReadUntil("\n:\n\n").ends_with("\n:\n\n"));
}

TEST(Exchange, AReaderThatFallsBehindTheRingIsDropped) {
    ApiLimits limits;
    limits.m_answerTime = std::chrono::hours(1);
    ServedHost served(limits, {}, 3);
    const Client client = served.Connect();
    client.Send(EventsRequest);
    client.ReadUntil(": events after 0\n\n");
    // Far more than the socket holds.
    const std::string large(100'000, 'x');
    for (int i = 0; i < 100; ++i) {
        served.Host().Tell("event", large);
        ASSERT_EQ(served.Connect().Get("/v1").m_status, 200);
    }
    const std::string all = client.ReadToEnd();
    EXPECT_LT(all.size(), 20 * large.size());
    EXPECT_NE(all.find("event: lost\n"), std::string::npos);
    EXPECT_TRUE(all.ends_with("\r\n0\r\n\r\n")) << "the stream ends in good order";
}

TEST(Exchange, AReaderThatReadsNoFurtherIsDropped) {
    ApiLimits limits;
    limits.m_answerTime = std::chrono::milliseconds(50);
    ServedHost served(limits, {}, 1000);
    const Client client = served.Connect();
    client.Send(EventsRequest);
    client.ReadUntil(": events after 0\n\n");
    for (int i = 0; i < 100; ++i)
        served.Host().Tell("event", std::string(100'000, 'x'));
    EXPECT_TRUE(client.IsDropped());
}

TEST(Exchange, ThereIsALimitForReadersOfEvents) {
    ApiLimits limits;
    limits.m_eventReaders = 2;
    const ServedHost served(limits);
    std::list<Client> readers;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back(served.Socket());
        readers.back().Send(EventsRequest);
        EXPECT_EQ(readers.back().Read().m_status, 200);
    }
    const HttpAnswer third = served.Connect().Get("/v1/events");
    EXPECT_EQ(third.m_status, 503);
    EXPECT_EQ(third.Reason(), "too many readers of events");
    readers.clear();
    EXPECT_TRUE(served.ComesTo("/v1/events", 200));
}

TEST(Exchange, AClientMayDieInEveryPhase) {
    ServedHost served;
    served.Host().Be(FakeHost::Manner::Keep);
    served.Host().SetLog({{{"text", std::string(4'000'000, 'x')}}});
    for (const std::string& begin :
         {std::string(), std::string("GE"), std::string("POST /v1/calls HTTP/1.1\r\nContent-"),
          std::string(
              "POST /v1/calls HTTP/1.1\r\nHost: h\r\nContent-Type: application/json\r\nContent-Length: 9\r\n\r\n{"),
          LookRequest, EventsRequest, std::string("GET /v1/log HTTP/1.1\r\nHost: h\r\n\r\n")}) {
        for (int i = 0; i < 20; ++i) {
            Client client = served.Connect();
            client.Send(begin);
            if (i % 2 == 0) client.SendWhatFits("GET");
            client.Close();
        }
    }
    for (std::size_t i = 1; i <= 20; ++i) {
        const Client client = served.Connect();
        client.Send(StopRequest + LookRequest);
        ASSERT_EQ(served.Host().Kept(i).size(), i);
    }
    for (const auto& answered : served.Host().Kept(20))
        answered({200, {{"result", 1}}});
    EXPECT_EQ(served.Connect().Get("/v1").m_status, 200);
}

TEST(Exchange, AnAnswerOnAnotherThreadReachesItsClient) {
    ServedHost served;
    served.Host().Be(FakeHost::Manner::Keep);
    const Client first = served.Connect();
    first.Send(StopRequest);
    ASSERT_EQ(served.Host().Kept(1).size(), 1U);
    const Client second = served.Connect();
    second.Send(StopRequest);
    const auto kept = served.Host().Kept(2);
    ASSERT_EQ(kept.size(), 2U);
    std::thread([&] { kept[1]({200, {{"number", 2}}}); }).join();
    EXPECT_EQ(second.Read().Json().at("number"), 2);
    std::thread([&] { kept[0]({200, {{"number", 1}}}); }).join();
    EXPECT_EQ(first.Read().Json().at("number"), 1);
}
