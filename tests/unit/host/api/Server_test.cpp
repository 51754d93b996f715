// The server's own life.
#include "ServedHost.h"

#include <gtest/gtest.h>

#include <atomic>
#include <list>
#include <unistd.h>

using namespace bmhost;

TEST(Server, ItsTurnsGoOnWithoutClients) {
    const ServedHost served;
    const int turns = served.Turns();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (served.Turns() < turns + 3 && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    EXPECT_GE(served.Turns(), turns + 3);
}

TEST(Server, AtItsEndWhoWaitsIsTold) {
    ServedHost served;
    served.Host().Be(FakeHost::Manner::Keep);
    const Client caller = served.Connect();
    caller.Send(StopRequest);
    ASSERT_EQ(served.Host().Kept(1).size(), 1U);
    const Client reader = served.Connect();
    reader.Send("GET /v1/events HTTP/1.1\r\nHost: h\r\n\r\n");
    reader.ReadUntil(": events after 0\n\n");
    const Client idle = served.Connect();
    EXPECT_EQ(idle.Get("/v1").m_status, 200);
    served.Stop();
    const HttpAnswer answer = caller.Read();
    EXPECT_EQ(answer.m_status, 503);
    EXPECT_EQ(answer.Reason(), "the host ends; what was asked may still be carried out");
    EXPECT_EQ(answer.m_headers.at("connection"), "close");
    EXPECT_EQ(caller.ReadToEnd(), "");
    EXPECT_EQ(reader.ReadToEnd(), "\r\n0\r\n\r\n");
    EXPECT_EQ(idle.ReadToEnd(), "");
}

TEST(Server, AnswersAfterItsEndDoNoHarm) {
    ServedHost served;
    served.Host().Be(FakeHost::Manner::Keep);
    const Client client = served.Connect();
    client.Send(StopRequest);
    const auto kept = served.Host().Kept(1);
    ASSERT_EQ(kept.size(), 1U);
    served.Stop();
    EXPECT_FALSE(served.Host().HasListener());
    kept[0]({200, {{"result", 1}}});
    EXPECT_EQ(client.Read().m_status, 503);
}

TEST(Server, ItStopsWhileItIsBusy) {
    ServedHost served;
    served.Host().SetLog({{{"text", std::string(1'000'000, 'x')}}});
    std::atomic<bool> ends{false};
    std::vector<std::thread> clients;
    std::atomic<int> answers{0};
    for (int i = 0; i < 8; ++i) {
        clients.emplace_back([&, i] {
            try {
                while (!ends) {
                    const Client client = served.Connect();
                    const HttpAnswer answer = i % 2 == 0 ? client.Get("/v1/log") : client.Post("/v1/orders/stop", "");
                    if (answer.m_status == 200) ++answers;
                    served.Host().Tell("event", "{}");
                }
            } catch (const std::runtime_error&) {
                // The server has ended in the middle of an answer.
            }
        });
    }
    std::list<Client> readers;
    for (int i = 0; i < 8; ++i) {
        readers.emplace_back(served.Socket());
        readers.back().Send("GET /v1/events?after=0 HTTP/1.1\r\nHost: h\r\n\r\n");
    }
    while (answers < 50)
        std::this_thread::yield();
    served.Stop();
    ends = true;
    // Who waits in the queue of the listening socket would wait for ever.
    served.CloseSocket();
    for (auto& client : clients)
        client.join();
    EXPECT_GE(answers, 50);
}

TEST(Server, AClientThatReadsNothingDoesNotHoldUpTheEnd) {
    ServedHost served;
    served.Host().SetLog({{{"text", std::string(4'000'000, 'x')}}});
    const Client slow = served.Connect();
    slow.Send("GET /v1/log HTTP/1.1\r\nHost: h\r\n\r\n");
    slow.ReadUntil("\r\n\r\n");
    served.Stop();
    EXPECT_LT(slow.ReadToEnd().size(), 4'000'000U);
}

TEST(Server, StoppedBeforeItRunsItReturnsAtOnce) {
    const ServedHost socketOfAnother;
    FakeHost host;
    const int socket = ListenAt(socketOfAnother.Folder() + "/second");
    ApiServer server(socket, host);
    server.Stop();
    int turns = 0;
    server.Run([&] { ++turns; });
    EXPECT_EQ(turns, 1);
    close(socket);
}

TEST(Server, ASocketThatIsNoneIsToldAtOnce) {
    FakeHost host;
    EXPECT_THROW(ApiServer(-1, host), std::runtime_error);
    EXPECT_FALSE(host.HasListener());
}
