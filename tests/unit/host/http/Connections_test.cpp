// How many clients there may be, and how long each may take.
#include "ServedHost.h"

#include <gtest/gtest.h>

#include <list>

using namespace bmhost;

namespace {

std::vector<nlohmann::ordered_json> LargeLog() {
    return {{{"text", std::string(4'000'000, 'x')}}};
}

} // namespace

TEST(Connections, OneTooManyIsTold) {
    ApiLimits limits;
    limits.m_connections = 2;
    const ServedHost served(limits);
    Client first = served.Connect();
    const Client second = served.Connect();
    EXPECT_EQ(first.Get("/v1").m_status, 200);
    EXPECT_EQ(second.Get("/v1").m_status, 200);
    const Client third = served.Connect();
    const HttpAnswer answer = third.Get("/v1");
    EXPECT_EQ(answer.m_status, 503);
    EXPECT_EQ(answer.Reason(), "too many connections");
    EXPECT_EQ(answer.m_headers.at("connection"), "close");
    EXPECT_EQ(third.ReadToEnd(), "");
    EXPECT_EQ(second.Get("/v1").m_status, 200);
    first.Close();
    EXPECT_TRUE(served.ComesTo("/v1", 200));
}

TEST(Connections, FarTooManyWaitUntilThereIsRoom) {
    ApiLimits limits;
    limits.m_connections = 1;
    limits.m_idleTime = std::chrono::milliseconds(200);
    const ServedHost served(limits);
    std::list<Client> silent;
    for (int i = 0; i < 40; ++i)
        silent.emplace_back(served.Socket());
    EXPECT_TRUE(served.ComesTo("/v1", 200));
}

TEST(Connections, AClientThatSaysNothingIsDropped) {
    ApiLimits limits;
    limits.m_idleTime = std::chrono::milliseconds(50);
    const ServedHost served(limits);
    EXPECT_EQ(served.Connect().ReadToEnd(), "");
}

TEST(Connections, AnIdleConnectionIsDroppedAfterItsAnswer) {
    ApiLimits limits;
    limits.m_idleTime = std::chrono::milliseconds(50);
    const ServedHost served(limits);
    const Client client = served.Connect();
    EXPECT_EQ(client.Get("/v1").m_status, 200);
    EXPECT_EQ(client.ReadToEnd(), "");
}

TEST(Connections, HalfARequestIsDropped) {
    ApiLimits limits;
    limits.m_idleTime = std::chrono::milliseconds(50);
    const ServedHost served(limits);
    for (const char* half : {"GET /v1", "GET /v1 HTTP/1.1\r\nHost: h\r\n",
                             "POST /v1/calls HTTP/1.1\r\nHost: h\r\nContent-Type: application/json\r\n"
                             "Content-Length: 100\r\n\r\n{\"op\":"}) {
        const Client client = served.Connect();
        client.Send(half);
        EXPECT_EQ(client.ReadToEnd(), "") << half;
    }
}

TEST(Connections, ATrickleOfHeadersDoesNotKeepAConnection) {
    ApiLimits limits;
    limits.m_idleTime = std::chrono::milliseconds(100);
    limits.m_headerMemory = 512 * 1024;
    const ServedHost served(limits);
    const Client client = served.Connect();
    client.Send("GET /v1 HTTP/1.1\r\nX: ");
    int bytes = 0;
    while (bytes < 500'000 && client.Send("x"))
        ++bytes;
    EXPECT_LT(bytes, 500'000);
}

TEST(Connections, AClientThatDoesNotReadItsAnswerIsDropped) {
    ApiLimits limits;
    limits.m_answerTime = std::chrono::milliseconds(100);
    ServedHost served(limits);
    served.Host().SetLog(LargeLog());
    const Client slow = served.Connect();
    slow.Send("GET /v1/log HTTP/1.1\r\nHost: h\r\n\r\n");
    const std::string begin = slow.ReadUntil("xxx");
    EXPECT_EQ(served.Connect().Get("/v1").m_status, 200);
    // It reads on only when another one that does not read has been dropped after it.
    const Client later = served.Connect();
    later.Send("GET /v1/log HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_TRUE(later.IsDropped());
    EXPECT_LT(begin.size() + slow.ReadToEnd().size(), 4'000'000U);
}

TEST(Connections, AWaitingClientHasNoDeadline) {
    ApiLimits limits;
    limits.m_idleTime = std::chrono::milliseconds(20);
    limits.m_answerTime = std::chrono::milliseconds(20);
    ServedHost served(limits);
    served.Host().Be(FakeHost::Manner::Keep);
    const Client client = served.Connect();
    client.Send(StopRequest);
    const auto kept = served.Host().Kept(1);
    ASSERT_EQ(kept.size(), 1U);
    // A connection that says nothing is dropped in this time, several times over.
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(served.Connect().ReadToEnd(), "");
    kept[0]({200, {{"result", 1}}});
    EXPECT_EQ(client.Read().m_status, 200);
}

TEST(Connections, LargeHeadersAreRefused) {
    ApiLimits limits;
    limits.m_headerMemory = 4096;
    const ServedHost served(limits);
    const Client client = served.Connect();
    EXPECT_EQ(client.Get("/v1", "X: " + std::string(8192, 'x') + "\r\n").m_status, 431);
    EXPECT_EQ(served.Connect().Get("/v1", "X: " + std::string(1024, 'x') + "\r\n").m_status, 200);
}

TEST(Connections, ALargeBodyIsRefusedBeforeItComes) {
    ApiLimits limits;
    limits.m_bodySize = 100;
    ServedHost served(limits);
    const Client client = served.Connect();
    client.Send("POST /v1/calls HTTP/1.1\r\nHost: h\r\nContent-Type: application/json\r\nContent-Length: 101\r\n\r\n");
    const HttpAnswer answer = client.Read();
    EXPECT_EQ(answer.m_status, 413);
    EXPECT_EQ(answer.Json().at("error").at("value"), "101 bytes");
    EXPECT_EQ(answer.Reason(), "a body may have 100 bytes");
    EXPECT_EQ(client.ReadToEnd(), "");
    const std::string body = R"({"op":"stop"})";
    EXPECT_EQ(served.Connect().Post("/v1/calls", body + std::string(100 - body.size(), ' ')).m_status, 200);
}

TEST(Connections, ManyClientsWaitWhileOthersAreServed) {
    ApiLimits limits;
    limits.m_connections = 110;
    limits.m_asked = 100;
    ServedHost served(limits);
    served.Host().Be(FakeHost::Manner::Keep);
    {
        std::list<Client> waiting;
        for (int i = 0; i < 100; ++i) {
            waiting.emplace_back(served.Socket());
            waiting.back().Send(StopRequest);
        }
        ASSERT_EQ(served.Host().Kept(100).size(), 100U);
        EXPECT_EQ(served.Connect().Get("/v1/blade").m_status, 200);
        const HttpAnswer answer = served.Connect().Post("/v1/orders/start", "");
        EXPECT_EQ(answer.m_status, 503);
        EXPECT_EQ(answer.Reason(), "too many calls wait for their answers");
    }
    // Those clients have gone: there is room for as many connections, though the host still has their calls.
    std::list<Client> looking;
    for (int i = 0; i < 100; ++i) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        do {
            looking.emplace_back(served.Socket());
            if (looking.back().Get("/v1").m_status == 200) break;
            looking.pop_back();
        } while (std::chrono::steady_clock::now() < end);
    }
    EXPECT_EQ(looking.size(), 100U);
    EXPECT_EQ(looking.back().Post("/v1/orders/start", "").m_status, 503);
    served.Host().Be(FakeHost::Manner::Answer);
    served.Host().Forget();
    EXPECT_EQ(looking.back().Post("/v1/orders/start", "").m_status, 200);
}

TEST(Connections, AClientThatEndsItsSendingHasGone) {
    ServedHost served;
    served.Host().Be(FakeHost::Manner::Keep);
    const Client client = served.Connect();
    client.Send(StopRequest);
    ASSERT_EQ(served.Host().Kept(1).size(), 1U);
    client.FinishSending();
    EXPECT_EQ(client.ReadToEnd(), "");
}
