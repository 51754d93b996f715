// What a service and its clients see of the server, whatever the socket.
#include "ServedService.h"

#include <gtest/gtest.h>

#include <unistd.h>

using namespace bmhost;

namespace {

Settled TextAnswer(const std::string& text) {
    Reply reply;
    reply.m_body = std::make_shared<const std::string>(text);
    return reply;
}

std::string LateRequest() {
    return "GET /late HTTP/1.1\r\nHost: h\r\n\r\n";
}

} // namespace

TEST(HttpServer, EachListenersClientsAreKnownToTheService) {
    ServedService served;
    const nlohmann::json local = Client(served.Socket()).Get("/peer").Json();
    EXPECT_EQ(local.at("process"), getpid());
    EXPECT_EQ(local.at("user"), getuid());
    EXPECT_EQ(local.at("address"), "");
    EXPECT_EQ(local.at("listener"), ServedService::Unix);
    EXPECT_EQ(local.at("secure"), false);
    const nlohmann::json remote = Client(served.Port(ServedService::Tcp), "127.0.0.3").Get("/peer").Json();
    EXPECT_EQ(remote.at("address"), "127.0.0.3");
    EXPECT_EQ(remote.at("text"), "127.0.0.3:" + std::to_string(remote.at("port").get<int>()));
    EXPECT_NE(remote.at("port"), 0);
    EXPECT_NE(remote.at("user"), getuid()) << "nobody is known by his account from another machine";
    EXPECT_EQ(remote.at("listener"), ServedService::Tcp);
    EXPECT_EQ(remote.at("secure"), false);
}

TEST(HttpServer, AnyHeaderCanBeLookedUp) {
    ServedService served;
    const Client client(served.Socket());
    EXPECT_EQ(client.Get("/header", "X-Other: no\r\nX-Test: one\r\nX-Test: two\r\n").m_body, "one");
    EXPECT_EQ(client.Get("/header").m_body, "");
}

TEST(HttpServer, AReplyHasItsOwnTypeOrNoBody) {
    ServedService served;
    const Client client(served.Socket());
    EXPECT_EQ(client.Get("/header").m_headers.at("content-type"), "text/plain");
    EXPECT_EQ(client.Get("/peer").m_headers.at("content-type"), "application/json");
    const HttpAnswer empty = client.Get("/empty");
    EXPECT_EQ(empty.m_status, 204);
    EXPECT_FALSE(empty.m_headers.contains("content-type"));
    EXPECT_EQ(client.Get("/empty").m_status, 204);
}

TEST(HttpServer, TheServiceFinishesWhateverIsSent) {
    ServedService served;
    const Client client(served.Socket());
    EXPECT_EQ(client.Get("/peer").m_headers.at("x-served"), "GET");
    EXPECT_EQ(client.Get("/nothing").m_headers.at("x-served"), "GET");
    EXPECT_EQ(client.Post("/echo", std::string(1001, 'x')).m_headers.at("x-served"), "POST");
    EXPECT_EQ(client.Get("/stream").m_headers.at("x-served"), "GET");
}

TEST(HttpServer, ErrorsAreInTheServicesLanguage) {
    ServedService served;
    const Client client(served.Socket());
    const HttpAnswer answer = client.Get("/nothing");
    EXPECT_EQ(answer.m_status, 404);
    EXPECT_EQ(answer.m_body, "/nothing: no such path");
    EXPECT_EQ(client.Post("/peer", "x").m_body, "/peer: this request takes no body");
    EXPECT_EQ(client.Post("/echo", std::string(1001, 'x')).m_body, "/echo: a body may have 1000 bytes");
    EXPECT_EQ(client.Get("/peer?a=1&a=2").m_body, "/peer: the parameter stands twice");
    EXPECT_EQ(client.Get("/nobody").m_body, "/nobody: nobody has a ticket to answer this");
}

TEST(HttpServer, ABodyComesWholeOrInPieces) {
    ServedService served;
    const Client client(served.Port(ServedService::Tcp));
    EXPECT_EQ(client.Post("/echo", std::string(1000, 'x')).m_body, std::string(1000, 'x'));
    const std::string large(100'000, 'y');
    EXPECT_EQ(client.Post("/pieces", large).m_body, large);
    EXPECT_EQ(client.Post("/pieces", "").m_body, "");
    const HttpAnswer full = client.Post("/pieces", "it is full" + large.substr(1000));
    EXPECT_EQ(full.m_status, 507);
    EXPECT_EQ(full.m_body, "/pieces: no room");
    EXPECT_EQ(Client(served.Socket()).Post("/pieces", large + "y").m_status, 413);
}

TEST(HttpServer, ATicketAnswersOrRefusesLater) {
    ServedService served;
    const Client first(served.Socket());
    first.Send(LateRequest());
    ASSERT_EQ(served.Service().Tickets(1).size(), 1U);
    const Client second(served.Port(ServedService::Tcp));
    second.Send(LateRequest());
    ASSERT_EQ(served.Service().Tickets(2).size(), 2U);
    const Client third(served.Socket());
    third.Send(LateRequest());
    const auto tickets = served.Service().Tickets(3);
    ASSERT_EQ(tickets.size(), 3U);
    tickets[1](TextAnswer("late"));
    tickets[0](Refusal(409, "", "not now"));
    EXPECT_EQ(second.Read().m_body, "late");
    const HttpAnswer refused = first.Read();
    EXPECT_EQ(refused.m_status, 409);
    EXPECT_EQ(refused.m_body, "/late: not now");
    served.Service().ForgetTickets();
    EXPECT_EQ(first.Get("/nothing").m_status, 404);
}

TEST(HttpServer, ATicketMayHaveTheRequestHandledAgain) {
    ServedService served;
    served.Service().Say("one.");
    const Client client(served.Socket());
    client.Send("GET /stream-later HTTP/1.1\r\nHost: h\r\n\r\n");
    const auto tickets = served.Service().Tickets(1);
    ASSERT_EQ(tickets.size(), 1U);
    tickets[0](Again{});
    EXPECT_EQ(client.Read().m_headers.at("content-type"), "text/plain");
    client.ReadUntil("one.");
    served.Service().Say("two.");
    served.Server().WakeStreams();
    EXPECT_TRUE(client.ReadUntil("two.").ends_with("two."));
}

TEST(HttpServer, ADroppedTicketIsAnError) {
    ServedService served;
    const Client client(served.Socket());
    client.Send(LateRequest());
    ASSERT_EQ(served.Service().Tickets(1).size(), 1U);
    served.Service().ForgetTickets();
    const HttpAnswer answer = client.Read();
    EXPECT_EQ(answer.m_status, 503);
    EXPECT_EQ(answer.m_body, "/late: the host has dropped this without an answer");
}

TEST(HttpServer, StreamsGoOnWhenTheyAreWoken) {
    ServedService served;
    served.Service().Say("one.");
    const Client client(served.Port(ServedService::Tcp));
    const HttpAnswer begin = client.Get("/stream");
    EXPECT_EQ(begin.m_status, 200);
    EXPECT_EQ(begin.m_headers.at("content-type"), "text/plain");
    client.ReadUntil("one.");
    served.Service().Say("two.");
    served.Server().WakeStreams();
    EXPECT_TRUE(client.ReadUntil("two.").ends_with("two."));
    served.Stop();
    EXPECT_TRUE(client.ReadToEnd().ends_with("\r\n0\r\n\r\n"));
}

TEST(HttpServer, TheLimitOfConnectionsIsThatOfAllListeners) {
    HttpLimits limits;
    limits.m_connections = 2;
    ServedService served(limits);
    const Client first(served.Socket());
    EXPECT_EQ(first.Get("/peer").m_status, 200);
    const Client second(served.Port(ServedService::Tcp));
    EXPECT_EQ(second.Get("/peer").m_status, 200);
    const Client third(served.Port(ServedService::Tcp));
    EXPECT_EQ(third.Get("/peer").m_body, "/peer: too many connections");
}

TEST(HttpServer, FarTooManyOfSeveralListenersAreClosed) {
    HttpLimits limits;
    limits.m_connections = 1;
    ServedService served(limits);
    const Client first(served.Socket());
    EXPECT_EQ(first.Get("/peer").m_status, 200);
    std::vector<std::unique_ptr<Client>> others;
    for (int i = 0; i < 20; ++i) {
        others.push_back(std::make_unique<Client>(served.Port(ServedService::Tcp)));
        others.push_back(std::make_unique<Client>(served.Socket()));
    }
    // In some turns of the server all of them are accepted or closed.
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(first.Get("/peer").m_status, 200);
    int told = 0;
    for (const auto& other : others) {
        other->Send("GET /peer HTTP/1.1\r\nHost: h\r\n\r\n");
        if (other->Read().m_status == 503) ++told;
    }
    EXPECT_GT(told, 0);
    EXPECT_LE(told, 16);
}

TEST(HttpServer, OneAddressCannotTakeAllConnections) {
    HttpLimits limits;
    limits.m_connectionsOfAddress = 2;
    ServedService served(limits);
    const uint16_t port = served.Port(ServedService::Tcp);
    Client first(port, "127.0.0.2");
    EXPECT_EQ(first.Get("/peer").m_status, 200);
    const Client second(port, "127.0.0.2");
    EXPECT_EQ(second.Get("/peer").m_status, 200);
    const Client third(port, "127.0.0.2");
    EXPECT_EQ(third.ReadToEnd(), "");
    EXPECT_EQ(Client(port, "127.0.0.4").Get("/peer").m_status, 200);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(Client(served.Socket()).Get("/peer").m_status, 200);
    first.Close();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    int status = 0;
    while (status != 200 && std::chrono::steady_clock::now() < end)
        status = Client(port, "127.0.0.2").Get("/peer").m_status;
    EXPECT_EQ(status, 200);
}

TEST(HttpServer, ATcpClientThatGoesWhileItWaitsLeavesRoom) {
    HttpLimits limits;
    limits.m_connectionsOfAddress = 1;
    ServedService served(limits);
    const uint16_t port = served.Port(ServedService::Tcp);
    {
        const Client client(port);
        client.Send(LateRequest());
        ASSERT_EQ(served.Service().Tickets(1).size(), 1U);
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    int status = 0;
    while (status != 200 && std::chrono::steady_clock::now() < end)
        status = Client(port).Get("/peer").m_status;
    EXPECT_EQ(status, 200);
}

TEST(HttpServer, WhatDoesNotListenIsToldAtOnce) {
    SmallService service;
    const bm_dev::UniqueFd good = ListenAtPort();
    EXPECT_THROW(HttpServer({{good.Get(), {}}, {-1, {}}}, service), std::runtime_error);
}
