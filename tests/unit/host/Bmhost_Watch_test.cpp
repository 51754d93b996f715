// What follows the resident host: `watch`, `events` and `log`.
#include "host/HostProcess.h"
#include "host/client/ScriptedHost.h"
#include "host/picture/PictureJson.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string PictureAnswer(uint64_t revision, bmhost::HealthState health) {
    bmhost::Picture picture;
    picture.m_revision = revision;
    picture.m_health.m_state = health;
    return JsonAnswer(200, PictureJson(picture).dump());
}

const std::string StreamHead = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n";

/// Answers the first two requests for the picture, with news before the second and the third, and ends at the third.
void ServeTwoPictures(Peer& peer, std::atomic<int>& sent) {
    const std::string news = "id: 1\nevent: health\ndata: {}\n\n";
    for (std::string request; !(request = peer.Request()).empty();) {
        if (request.starts_with("GET /v1/events ")) {
            peer.Send(StreamHead + news);
            while (sent < 2)
                std::this_thread::yield();
            peer.Send(news);
            peer.AwaitEnd();
            return;
        }
        if (sent == 2) return;
        peer.Send(sent == 0 ? PictureAnswer(7, bmhost::HealthState::Monitored)
                            : PictureAnswer(8, bmhost::HealthState::Fault));
        ++sent;
    }
}

Ended Watch(const std::vector<std::string>& words) {
    std::atomic<int> sent = 0;
    const ScriptedHost host({[&](Peer& peer) { ServeTwoPictures(peer, sent); }});
    HostProcess watch(words);
    EXPECT_TRUE(watch.ErrorHas("; waiting for one\n"));
    watch.Signal(SIGINT);
    return watch.End();
}

TEST(BmhostWatch, ShowsWhatChangesAndWaitsForTheNextHost) {
    const Ended ended = Watch({"watch"});
    EXPECT_EQ(0, ended.m_status);
    EXPECT_THAT(ended.m_out, AllOf(StartsWith("  place "), HasSubstr("health: monitored\n"),
                                   EndsWith("health: fault; no longer monitored, until the next start\n")));
    EXPECT_THAT(ended.m_out, Not(HasSubstr("\033")));
    EXPECT_EQ(ended.m_out.find("controller:"), ended.m_out.rfind("controller:")) << "an unchanged line is shown once";
    EXPECT_THAT(ended.m_err, StartsWith("bmhost: the resident host"));
}

TEST(BmhostWatch, JsonIsAPictureALine) {
    const Ended ended = Watch({"--json", "watch"});
    EXPECT_EQ(0, ended.m_status);
    std::istringstream stream(ended.m_out);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    ASSERT_EQ(2U, lines.size());
    EXPECT_THAT(lines[0], StartsWith(R"({"op":"watch",)"));
    EXPECT_EQ(7U, bmhost::PictureOf(nlohmann::json::parse(lines[0])).m_revision);
    EXPECT_EQ(8U, bmhost::PictureOf(nlohmann::json::parse(lines[1])).m_revision);
}

TEST(BmhostWatch, WithoutAHostWaitsForOneAndSaysSo) {
    const HostRunFolder folder;
    HostProcess watch({"watch"});
    EXPECT_TRUE(watch.ErrorHas("bmhost: no resident host has the blade; waiting for one\n"));
    watch.Signal(SIGTERM);
    EXPECT_EQ(0, watch.End().m_status);
}

// Nothing is written: only the pipe tells that it has no reader.
TEST(BmhostWatch, EndsWithItsReaderWhereThereIsNoHost) {
    const HostRunFolder folder;
    const Ended ended = RunHost({"--quiet", "watch"}, "", Out::BrokenPipe);
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("bmhost: standard output: Broken pipe\n", ended.m_err);
}

TEST(BmhostEvents, EndWithTheirReaderThoughNoneCome) {
    const ScriptedHost host({[](Peer& peer) {
        if (peer.Request().starts_with("GET /v1/events ")) peer.Send(StreamHead);
        peer.AwaitEnd();
    }});
    const Ended ended = RunHost({"events"}, "", Out::BrokenPipe);
    EXPECT_EQ(1, ended.m_status);
    EXPECT_EQ("bmhost: standard output: Broken pipe\n", ended.m_err);
}

const std::string News =
    StreamHead + "id: 3\nevent: health\ndata: {\"op\":\"health\",\"state\":\"fault\",\"reasons\":[\"AMC failed\","
                 "\"media\"],\"time\":\"2026-11-22T09:30:00.125Z\"}\n\n"
                 "id: 4\nevent: picture\ndata: {\"revision\":9,\"parts\":[\"leds\"]}\n\n"
                 "id: 5\nevent: call\ndata: {\"op\":\"start\",\"result\":1,\"asker\":\"\\u0085\"}\n\n";

Ended Events(const std::vector<std::string>& words, std::string& asked) {
    std::atomic<bool> read = false;
    ScriptedHost host({[](Peer& peer) { peer.AwaitEnd(); },
                       [&](Peer& peer) {
                           asked = peer.Request();
                           peer.Send(News);
                           read = true;
                       }});
    HostProcess events(words);
    while (!read)
        std::this_thread::yield();
    host.Die();
    return events.End();
}

TEST(BmhostEvents, AreALineEachForPeople) {
    std::string asked;
    const Ended ended = Events({"events", "--after", "2"}, asked);
    EXPECT_THAT(asked, HasSubstr("Last-Event-ID: 2\r\n"));
    EXPECT_EQ("2026-11-22T09:30:00.125Z  health: fault: AMC failed; media; no longer monitored, until the next start\n"
              "-  start: 1 (success); asked by ??\n",
              ended.m_out);
    EXPECT_EQ(1, ended.m_status);
    EXPECT_THAT(ended.m_err, EndsWith("/bmhost.sock has gone\n"));
}

TEST(BmhostEvents, AreALineEachAsJson) {
    std::string asked;
    const Ended ended = Events({"events", "--json"}, asked);
    EXPECT_THAT(
        ended.m_out,
        StartsWith("{\"op\":\"events\",\"id\":3,\"kind\":\"health\",\"data\":{\"op\":\"health\",\"state\":\"fault\","));
    EXPECT_THAT(ended.m_out, HasSubstr("{\"op\":\"events\",\"id\":4,\"kind\":\"picture\",\"data\":{\"revision\":9,"
                                       "\"parts\":[\"leds\"]}}\n"));
    EXPECT_THAT(ended.m_out, EndsWith("\"asker\":\"\\u0085\"}}\n"));
}

TEST(BmhostEvents, WithoutAHostThereAreNone) {
    const HostRunFolder folder;
    for (const char* const command : {"events", "log"}) {
        const Ended ended = RunHost({command});
        EXPECT_EQ(1, ended.m_status);
        EXPECT_EQ("bmhost: no resident host has the blade: `bmhost run` is one\n", ended.m_err);
    }
}

TEST(BmhostLog, ShowsSoManyLines) {
    std::string asked;
    std::string text;
    std::string json;
    {
        const ScriptedHost host({[&](Peer& peer) {
            asked = peer.Request();
            peer.Send(JsonAnswer(200, R"({"lines":[{"time":"2026-11-22T09:30:00.125Z","level":3,"component":"IPMI",)"
                                      R"("text":"a\u009bb"}]})"));
        }});
        text = RunHost({"log", "-n", "7"}).m_out;
        json = RunHost({"log", "--json"}).m_out;
    }
    EXPECT_EQ("2026-11-22T09:30:00.125Z <3> [IPMI] a??b\n", text);
    EXPECT_EQ("{\"op\":\"log\",\"lines\":[{\"time\":\"2026-11-22T09:30:00.125Z\",\"level\":3,\"component\":\"IPMI\","
              "\"text\":\"a\\u009bb\"}]}\n",
              json);
    EXPECT_THAT(asked, StartsWith("GET /v1/log?lines=50 "));
}

TEST(BmhostLog, WhatAreNoLinesIsRefused) {
    const ScriptedHost host({Always(JsonAnswer(200, "[]"))});
    EXPECT_EQ("bmhost: the resident host sent what are no log lines\n", RunHost({"log"}).m_err);
}

} // namespace
