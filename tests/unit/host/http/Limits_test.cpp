// Each limit while clients run into it: they are ended or refused, and meanwhile another client is served.
#include "ServedService.h"

#include <gtest/gtest.h>

#include <chrono>
#include <list>
#include <memory>

using namespace bmhost;

namespace {

constexpr int Many = 40;
constexpr std::chrono::milliseconds ShortTime(300);

std::string RequestOf(const std::string& path) {
    return "GET " + path + " HTTP/1.1\r\nHost: h\r\n\r\n";
}

/// Asks on one connection, and on a new one.
void ExpectOthersAreServed(const ServedService& served, const Client& other) {
    EXPECT_EQ(other.Get("/peer").m_status, 200);
    EXPECT_EQ(Client(served.Port(ServedService::Tcp)).Get("/peer").m_status, 200);
}

/// Clients that have all sent the same beginning.
std::list<Client> Beginnings(const ServedService& served, const std::string& beginning) {
    std::list<Client> clients;
    for (int i = 0; i < Many; ++i) {
        clients.emplace_back(served.Port(ServedService::Tcp));
        clients.back().Send(beginning);
    }
    return clients;
}

/// Has each of them send byte after byte until the server has ended them all, while another one is served.
void ExpectTricklesEnd(const ServedService& served, const Client& other, std::list<Client>& slow) {
    int rounds = 0;
    while (!slow.empty() && rounds++ < 100'000) {
        slow.remove_if([](const Client& client) { return !client.Send("x"); });
        ASSERT_EQ(other.Get("/peer").m_status, 200);
    }
    EXPECT_TRUE(slow.empty());
    ExpectOthersAreServed(served, other);
}

} // namespace

TEST(Limits, HeadersThatTrickleHoldUpNobody) {
    HttpLimits limits;
    limits.m_idleTime = ShortTime;
    limits.m_headerMemory = 512 * 1024;
    const ServedService served(limits);
    const Client other(served.Port(ServedService::Tcp));
    auto slow = Beginnings(served, "GET /peer HTTP/1.1\r\nHost: h\r\nX-Slow: ");
    ExpectTricklesEnd(served, other, slow);
}

TEST(Limits, BodiesThatTrickleHoldUpNobody) {
    HttpLimits limits;
    limits.m_idleTime = ShortTime;
    const ServedService served(limits);
    const Client other(served.Port(ServedService::Tcp));
    auto slow = Beginnings(served, "POST /echo HTTP/1.1\r\nHost: h\r\nContent-Length: 1000\r\n\r\n");
    slow.remove_if([](const Client& client) { return !client.Send("x"); });
    EXPECT_EQ(slow.size(), static_cast<std::size_t>(Many));
    // Each sends less than its whole body, so that only the time can end it.
    for (int i = 0; i < 500 && !slow.empty(); ++i) {
        slow.remove_if([](const Client& client) { return !client.Send("x"); });
        ASSERT_EQ(other.Get("/peer").m_status, 200);
    }
    for (const Client& client : slow)
        EXPECT_EQ(client.ReadToEnd(), "");
    ExpectOthersAreServed(served, other);
}

TEST(Limits, AnswersThatNobodyReadsHoldUpNobody) {
    HttpLimits limits;
    limits.m_answerTime = ShortTime;
    // For a client whose kernel takes all of the answer, as it may. The others have time to ask on a busy machine.
    limits.m_idleTime = 10 * ShortTime;
    const ServedService served(limits);
    auto slow = Beginnings(served, RequestOf("/large"));
    ExpectOthersAreServed(served, Client(served.Port(ServedService::Tcp)));
    for (const Client& client : slow)
        EXPECT_TRUE(client.IsDropped());
    ExpectOthersAreServed(served, Client(served.Port(ServedService::Tcp)));
}

TEST(Limits, OfAStreamThatNobodyReadsLittleIsMade) {
    HttpLimits limits;
    limits.m_answerTime = ShortTime;
    ServedService served(limits);
    const Client other(served.Port(ServedService::Tcp));
    const Client slow(served.Port(ServedService::Tcp));
    slow.Send(RequestOf("/endless"));
    ExpectOthersAreServed(served, other);
    EXPECT_TRUE(slow.IsDropped());
    // What the sockets of both ends hold, and one block.
    EXPECT_GT(served.Service().MadeOfEndless(), 0U);
    EXPECT_LT(served.Service().MadeOfEndless(), 16'000'000U);
    ExpectOthersAreServed(served, other);
}

TEST(Limits, ReadersOfEventsBeyondTheLimitAreToldWhileOthersAreServed) {
    HttpLimits limits;
    limits.m_eventReaders = Many;
    const ServedService served(limits);
    const Client other(served.Port(ServedService::Tcp));
    auto readers = Beginnings(served, RequestOf("/stream"));
    for (const Client& reader : readers)
        EXPECT_EQ(reader.Read().m_status, 200);
    for (int i = 0; i < Many; ++i) {
        const HttpAnswer more = Client(served.Port(ServedService::Tcp)).Get("/stream");
        EXPECT_EQ(more.m_status, 503);
        EXPECT_EQ(more.m_headers.at("retry-after"), "1");
    }
    ExpectOthersAreServed(served, other);
}

TEST(Limits, LargeHeadersAreRefusedWhileOthersAreServed) {
    HttpLimits limits;
    limits.m_headerMemory = 4096;
    const ServedService served(limits);
    const Client other(served.Port(ServedService::Tcp));
    for (int i = 0; i < Many; ++i) {
        const Client large(served.Port(ServedService::Tcp));
        EXPECT_EQ(large.Get("/peer", "X: " + std::string(8192, 'x') + "\r\n").m_status, 431);
        ASSERT_EQ(other.Get("/peer").m_status, 200);
    }
    ExpectOthersAreServed(served, other);
}

TEST(Limits, LargeBodiesAreRefusedBeforeTheyComeWhileOthersAreServed) {
    const ServedService served;
    const Client other(served.Port(ServedService::Tcp));
    // None of it comes, and the server does not wait for it.
    for (const char* path : {"/echo", "/pieces"}) {
        auto large =
            Beginnings(served, "POST " + std::string(path) + " HTTP/1.1\r\nHost: h\r\nContent-Length: 100001\r\n\r\n");
        ExpectOthersAreServed(served, other);
        for (const Client& client : large) {
            EXPECT_EQ(client.Read().m_status, 413) << path;
            EXPECT_EQ(client.ReadToEnd(), "");
        }
    }
    ExpectOthersAreServed(served, other);
}

TEST(Limits, WhoAsksALotAtOnceAndReadsNothingHoldsUpNobody) {
    HttpLimits limits;
    limits.m_answerTime = ShortTime;
    const ServedService served(limits);
    const Client other(served.Port(ServedService::Tcp));
    std::string requests;
    for (int i = 0; i < 100; ++i)
        requests += RequestOf("/large");
    std::list<Client> greedy;
    for (int i = 0; i < Many; ++i) {
        greedy.emplace_back(served.Port(ServedService::Tcp));
        greedy.back().SendWhatFits(requests);
    }
    ExpectOthersAreServed(served, other);
    for (const Client& client : greedy)
        EXPECT_TRUE(client.IsDropped());
    ExpectOthersAreServed(served, other);
}

TEST(Limits, RequestsThatCameAtOnceAllGetTheirAnswersInTheirOrder) {
    const ServedService served;
    const Client client(served.Port(ServedService::Tcp));
    std::string requests;
    for (int i = 0; i < 300; ++i)
        requests += "GET /header HTTP/1.1\r\nHost: h\r\nX-Test: " + std::to_string(i) + "\r\n\r\n";
    ASSERT_TRUE(client.Send(requests));
    for (int i = 0; i < 300; ++i)
        ASSERT_EQ(client.Read().m_body, std::to_string(i));
}

TEST(Limits, WhoWaitsForAnswersLeavesRoomForThoseWhoDoNot) {
    HttpLimits limits;
    limits.m_asked = Many;
    ServedService served(limits);
    const Client other(served.Port(ServedService::Tcp));
    auto waiting = Beginnings(served, RequestOf("/late"));
    ASSERT_EQ(served.Service().Tickets(Many).size(), static_cast<std::size_t>(Many));
    const HttpAnswer more = other.Get("/late");
    EXPECT_EQ(more.m_status, 503);
    EXPECT_EQ(more.m_headers.at("retry-after"), "1");
    ExpectOthersAreServed(served, other);
}
