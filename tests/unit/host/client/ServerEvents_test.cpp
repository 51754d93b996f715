// The lines of a stream of events, and what becomes of a stream that is none.
#include "host/client/ServerEvents.h"

#include "host/client/ScriptedHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using testing::EndsWith;

std::string EventText(const std::optional<HostClient::ServerEvent>& event) {
    return event ? std::to_string(event->m_id) + "|" + event->m_kind + "|" + event->m_data : "none";
}

TEST(EventLines, AreReadWhereverTheyAreCutAndHoweverTheyEnd) {
    for (const std::string& end : {std::string("\n"), std::string("\r\n"), std::string("\r")}) {
        const std::string all = ": hello" + end + end + "id: 3" + end + "event: health" + end + "data: {\"a\":1}" +
                                end + end + "data:x" + end + "data" + end + "retry: 10" + end + end + "id: 4" + end;
        for (std::size_t cut = 0; cut <= all.size(); ++cut) {
            EventLines lines;
            lines.Take(all.substr(0, cut));
            lines.Take(all.substr(cut));
            EXPECT_EQ("3|health|{\"a\":1}", EventText(lines.Next())) << cut;
            EXPECT_EQ("3||x\n", EventText(lines.Next())) << cut;
            EXPECT_EQ("none", EventText(lines.Next())) << cut;
        }
    }
}

TEST(EventLines, AnIdThatIsNoNumberAndALineWithoutAnEndAreRefused) {
    EventLines lines;
    EXPECT_THROW(lines.Take("id: x\n"), std::runtime_error);
    EventLines endless;
    EXPECT_NO_THROW(endless.Take(std::string(LongestAnswer, 'x')));
    EXPECT_THROW(endless.Take("x"), std::runtime_error);
}

std::string ErrorOfNext(EventStream& stream) {
    try {
        stream.Next(60s);
    } catch (const HostGoneError& error) {
        return std::string("gone: ") + error.what();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(EventStream, NothingComesWithinTheTime) {
    const ScriptedHost host({[](Peer& peer) { peer.AwaitEnd(); }});
    EventStream stream(host.Place(), 0);
    EXPECT_EQ("none", EventText(stream.Next(0ms)));
    EXPECT_EQ("none", EventText(stream.Next(5ms)));
}

TEST(EventStream, AHostThatHasGoneIsToldOf) {
    ScriptedHost host({[](Peer& peer) {
        peer.Request();
        peer.Send("HTTP/1.1 200 OK\r\n\r\nid: 1\ndata: x\n\n");
        peer.AwaitEnd();
    }});
    EventStream stream(host.Place(), 0);
    EXPECT_EQ("1||x", EventText(stream.Next(60s)));
    host.Die();
    EXPECT_THAT(ErrorOfNext(stream), EndsWith("/bmhost.sock has gone"));
}

TEST(EventStream, ARefusalIsToldWithItsReason) {
    const ScriptedHost host(
        {Always(JsonAnswer(503, R"({"error":{"operation":"events","reason":"too many readers"}})"))});
    EventStream stream(host.Place(), 0);
    EXPECT_THAT(ErrorOfNext(stream), EndsWith(" refused `GET /v1/events`: too many readers"));
}

TEST(EventStream, WhatIsNoHttpIsRefused) {
    const ScriptedHost host({Always("garbage\r\n\r\n")});
    EventStream stream(host.Place(), 0);
    EXPECT_THAT(ErrorOfNext(stream), testing::HasSubstr(" sent what is no HTTP answer: "));
}

} // namespace
