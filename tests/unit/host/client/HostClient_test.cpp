// What a client makes of a resident host's answers, and of having none.
#include "host/client/HostClient.h"

#include "host/client/ScriptedHost.h"
#include "host/words/Error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <latch>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace bmhost;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr auto Patient = 60s;

template <typename Error = std::runtime_error, typename Work>
std::string ClientErrorOf(const Work& work) {
    try {
        work();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

std::string ErrorOfGet(ScriptedHost::Script script) {
    const ScriptedHost host({std::move(script)});
    const auto client = HostClient::Connect(Patient);
    return ClientErrorOf([&] { client->Get("/v1/blade"); });
}

const std::string ThisHost = "the resident host (process " + std::to_string(getpid()) + ")";

TEST(HostClient, AnswersHaveTheirStatusAndBody) {
    std::vector<std::string> requests;
    {
        const ScriptedHost host({[&](Peer& peer) {
            requests.push_back(peer.Request());
            peer.Send(JsonAnswer(200, "{\"a\":1}"));
            requests.push_back(peer.Request());
            peer.Send(JsonAnswer(404, "{\"error\":{}}"));
            peer.AwaitEnd();
        }});
        const auto client = HostClient::Connect(Patient);
        const HostAnswer good = client->Get("/v1/blade");
        EXPECT_EQ(200U, good.m_status);
        EXPECT_EQ(1, good.m_body.at("a"));
        const HostAnswer bad = client->Post("/v1/calls", {{"op", "start"}});
        EXPECT_EQ(404U, bad.m_status);
        EXPECT_EQ(getpid(), client->End().m_process);
    }
    ASSERT_EQ(2U, requests.size());
    EXPECT_THAT(requests[0], StartsWith("GET /v1/blade HTTP/1.1\r\n"));
    EXPECT_THAT(requests[1], AllOf(StartsWith("POST /v1/calls HTTP/1.1\r\n"), EndsWith("\r\n\r\n{\"op\":\"start\"}")));
}

TEST(HostClient, AConnectionThatTheHostClosedWhileItWasIdleIsMadeAgain) {
    std::latch closed(1);
    const ScriptedHost host({[&](Peer& peer) {
                                 peer.Request();
                                 peer.Send(JsonAnswer(200, "1"));
                                 peer.Cut();
                                 closed.count_down();
                             },
                             Always(JsonAnswer(200, "2"))});
    const auto client = HostClient::Connect(Patient);
    EXPECT_EQ(1, client->Get("/").m_body);
    closed.wait();
    EXPECT_EQ(2, client->Post("/", {}).m_body);
    EXPECT_EQ(2, client->Get("/").m_body);
}

TEST(HostClient, ConnectionIsNotUsedAgainWhereTheHostWillCloseIt) {
    const ScriptedHost host({[](Peer& peer) {
                                 peer.Request();
                                 peer.Send("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 1\r\n\r\n1");
                                 peer.AwaitEnd();
                             },
                             Always(JsonAnswer(200, "2"))});
    const auto client = HostClient::Connect(Patient);
    EXPECT_EQ(1, client->Get("/").m_body);
    EXPECT_EQ(2, client->Get("/").m_body);
}

TEST(HostClient, AHostThatGoesAwayIsNamed) {
    const std::string where = ThisHost + " at ";
    const std::string none = ErrorOfGet([](Peer& peer) { peer.Request(); });
    EXPECT_THAT(none, AllOf(StartsWith(where), EndsWith("/bmhost.sock went away before it answered `GET /v1/blade`")));
    const std::string answer = JsonAnswer(200, "{\"a\":1}");
    for (std::size_t end = 1; end < answer.size(); end += 7) {
        const std::string half = ErrorOfGet([&](Peer& peer) {
            peer.Request();
            peer.Send(answer.substr(0, end));
        });
        EXPECT_THAT(half, AllOf(StartsWith(where), EndsWith(" went away while it answered `GET /v1/blade`"))) << end;
    }
}

TEST(HostClient, WhatIsNoAnswerIsAnErrorWithItsReason) {
    EXPECT_THAT(ErrorOfGet(Always("220 mail ready\r\n\r\n")), HasSubstr(" sent what is no HTTP answer: "));
    EXPECT_THAT(ErrorOfGet(Always(JsonAnswer(200, "{\"a\":"))), HasSubstr(" sent what is no JSON for `GET /v1/blade`"));
    EXPECT_THAT(ErrorOfGet(Always(JsonAnswer(200, "\xff\xfe"))), HasSubstr(" sent what is no JSON for"));
    EXPECT_THAT(ErrorOfGet(Always(JsonAnswer(200, std::string(1000, '[') + std::string(1000, ']')))),
                HasSubstr(" sent what is no JSON for"));
    EXPECT_THAT(ErrorOfGet(Always("HTTP/1.1 200 OK\r\nContent-Length: 16777217\r\n\r\n")),
                HasSubstr(" sent an answer that is too long for `GET /v1/blade`"));
    EXPECT_THAT(ErrorOfGet(Always(JsonAnswer(200, "{}") + "x")), HasSubstr(" sent more than it was asked for for"));
}

TEST(HostClient, AnAnswerOfSixteenMebibytesIsTaken) {
    const std::string text(16 * 1024 * 1024 - 2, 'x');
    const ScriptedHost host({Always(JsonAnswer(200, '"' + text + '"'))});
    EXPECT_EQ(text, HostClient::Connect(Patient)->Get("/v1/blade").m_body.get<std::string>());
}

TEST(HostClient, TimeThatIsUpTellsWhatTheHostWaitsForAndSinceWhen) {
    const std::string calls = R"([{"operation":"start","since":"2026-11-22T09:30:01.000Z","asker":""},)"
                              R"({"operation":"read 0x30300","since":"2026-11-22T09:30:00.125Z","asker":"uid 0"}])";
    for (const std::string& body : {calls, R"({"calls":)" + calls + "}"}) {
        std::string asked;
        std::string text;
        {
            const ScriptedHost host({[](Peer& peer) { peer.AwaitEnd(); },
                                     [&](Peer& peer) {
                                         asked = peer.Request();
                                         peer.Send(JsonAnswer(200, body));
                                     }});
            const auto client = HostClient::Connect(50ms);
            text = ClientErrorOf<TimeUpError>([&] { client->Get("/v1/blade"); });
        }
        EXPECT_EQ("no answer of " + ThisHost +
                      " within 0.05 s; waiting for `read 0x30300` since 2026-11-22T09:30:00.125Z, and for 1 more",
                  text);
        EXPECT_THAT(asked, StartsWith("GET /v1/blade/calls HTTP/1.1\r\n"));
    }
}

TEST(HostClient, TimeThatIsUpNamesTheOwnCallAndWhatComesBeforeIt) {
    const std::string own = "uid 0, process " + std::to_string(getpid());
    for (const std::string& asker : {own, "anna (" + own + ")"}) {
        const std::string calls =
            R"([{"operation":"start","since":"2026-11-22T09:30:00.000Z","asker":"uid 0, process 1"},)"
            R"({"operation":"read 0x100","since":"2026-11-22T09:30:01.000Z","asker":")" +
            asker + R"(","waiting":true,"waits_for":"reading LED 2 of AMC bay 3 since then"},)" +
            R"({"operation":"stop","since":"2026-11-22T09:30:00.000Z","asker":"uid 0, process 1"}])";
        std::string text;
        {
            const ScriptedHost host({[](Peer& peer) { peer.AwaitEnd(); }, Always(JsonAnswer(200, calls))});
            const auto client = HostClient::Connect(50ms);
            text = ClientErrorOf<TimeUpError>([&] { client->Get("/v1/blade"); });
        }
        EXPECT_THAT(text, EndsWith("; waiting for `read 0x100` since 2026-11-22T09:30:01.000Z, which has not begun: "
                                   "first comes reading LED 2 of AMC bay 3 since then"));
    }
}

TEST(HostClient, TimeThatIsUpIsToldOfAHostThatTellsNothingToo) {
    struct SilentCase {
        ScriptedHost::Script m_script;
        const char* m_end;
    };
    const SilentCase cases[] = {
        {[](Peer& peer) { peer.AwaitEnd(); }, "it does not tell what it waits for either"},
        {Always("garbage\r\n\r\n"), "it does not tell what it waits for either"},
        {Always(JsonAnswer(200, "7")), "it does not tell what it waits for either"},
        {Always(JsonAnswer(200, "[]")), "it names no call that it waits for"},
    };
    for (const SilentCase& silent : cases) {
        const ScriptedHost host({[](Peer& peer) { peer.AwaitEnd(); }, silent.m_script});
        const auto client = HostClient::Connect(50ms);
        EXPECT_THAT(ClientErrorOf<TimeUpError>([&] { client->Get("/v1/blade"); }), EndsWith(silent.m_end));
    }
}

TEST(HostClient, AnAnswerThatComesInDropsIsBoundedAsAWhole) {
    const ScriptedHost host({[](Peer& peer) {
                                 peer.Request();
                                 peer.Send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{");
                                 peer.AwaitEnd();
                             },
                             Always(JsonAnswer(200, "[]"))});
    const auto client = HostClient::Connect(50ms);
    EXPECT_NE("", ClientErrorOf<TimeUpError>([&] { client->Get("/v1/blade"); }));
}

TEST(HostClient, WithoutAHostThereIsNoClient) {
    const HostRunFolder folder;
    EXPECT_EQ(nullptr, HostClient::Connect(Patient));
    setenv("BLADESIM_RUN_DIR", "/nowhere/at/all", 1);
    EXPECT_EQ(nullptr, HostClient::Connect(Patient));
}

TEST(HostClient, WhatADeadHostLeftIsNoHost) {
    ScriptedHost host({Always("")});
    std::ofstream(host.Place().Lock()) << R"({"process":0,"started":"x","program":"bmhostd"})";
    host.Die();
    EXPECT_EQ(nullptr, HostClient::Connect(Patient));
}

TEST(HostClient, AnOrderWithAnAdaptorOfItsOwnHasTheLockButNoSocket) {
    const HostRunFolder folder;
    std::ofstream(folder.Path() + "/bmhost.lock")
        << R"({"process":)" << getpid() << R"(,"started":"x","program":"bmhost led set"})";
    EXPECT_EQ(nullptr, HostClient::Connect(Patient));
}

TEST(HostClient, TheSocketOfAHostThatHasTheLockIsWaitedFor) {
    ScriptedHost host({Always(JsonAnswer(200, "1"))});
    const HostPlace place = host.Place();
    std::ofstream(place.Lock()) << R"({"process":)" << getpid() << R"(,"started":"x","program":"bmhostd"})";
    std::filesystem::rename(place.Socket(), place.Socket() + ".later");
    // Whoever finds no socket looks into the lock's file.
    const bm_dev::UniqueFd watch(inotify_init1(IN_CLOEXEC));
    ASSERT_LE(0, inotify_add_watch(watch.Get(), place.Lock().c_str(), IN_OPEN));
    std::thread late([&] {
        std::array<char, 4096> opened{};
        if (read(watch.Get(), opened.data(), opened.size()) > 0)
            std::filesystem::rename(place.Socket() + ".later", place.Socket());
    });
    const auto client = HostClient::Connect(Patient);
    late.join();
    ASSERT_NE(nullptr, client);
    EXPECT_EQ(1, client->Get("/").m_body);
}

// As another user, because root may ask everybody. The kernel has a user for each thread; only the C library's setuid
// changes all of them.
TEST(HostClient, WhoMayNotAskIsToldWhoMay) {
    const ScriptedHost host({Always(JsonAnswer(200, "1"))});
    chmod(host.Place().Socket().c_str(), geteuid() == 0 ? 0600 : 0);
    chmod(host.Place().m_folder.c_str(), 0711);
    std::string text;
    std::thread([&text] {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0 && syscall(SYS_setresuid, nobody, nobody, nobody) != 0)
            throw std::runtime_error("setresuid");
        text = ClientErrorOf([] { HostClient::Connect(Patient); });
    }).join();
    EXPECT_EQ("the resident host at " + host.Place().Socket() +
                  " may not be asked: only root and members of the group bmhost may",
              text);
}

TEST(HostClient, AFolderWithALongPathIsReachedToo) {
    const HostRunFolder folder;
    const std::string deep = folder.Path() + "/" + std::string(120, 'd');
    ScriptedHost host({Always(JsonAnswer(200, "1"))});
    std::filesystem::create_directory(deep);
    std::filesystem::rename(host.Place().Socket(), deep + "/bmhost.sock");
    setenv("BLADESIM_RUN_DIR", deep.c_str(), 1);
    const auto client = HostClient::Connect(Patient);
    ASSERT_NE(nullptr, client);
    EXPECT_EQ(1, client->Get("/").m_body);
}

/// A file of so many bytes, each of another kind than its neighbours.
class SomeFile {
public:
    explicit SomeFile(std::size_t size) : m_file(memfd_create("file", MFD_CLOEXEC)) {
        for (std::size_t i = 0; i < size; ++i)
            m_bytes += static_cast<char>(i * 7 + i / 251);
        if (write(m_file.Get(), m_bytes.data(), size) != static_cast<ssize_t>(size)) throw std::runtime_error("write");
        lseek(m_file.Get(), 0, SEEK_SET);
    }

    std::string m_bytes;
    bm_dev::UniqueFd m_file;
};

TEST(HostClient, AFileIsSentWholeAndItsProgressTold) {
    const SomeFile file(300000);
    std::string request;
    std::vector<uint64_t> told;
    {
        const ScriptedHost host({[&](Peer& peer) {
            request = peer.Request();
            peer.Send(JsonAnswer(202, "{}"));
            peer.AwaitEnd();
        }});
        const auto client = HostClient::Connect(Patient);
        const HostAnswer answer = client->PostFile("/v1/firmware?target=board", file.m_file.Get(), file.m_bytes.size(),
                                                   [&](uint64_t sent) { told.push_back(sent); });
        EXPECT_EQ(202U, answer.m_status);
    }
    EXPECT_THAT(request, AllOf(StartsWith("POST /v1/firmware?target=board HTTP/1.1\r\n"),
                               HasSubstr("Content-Type: application/octet-stream\r\n"), EndsWith(file.m_bytes)));
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(file.m_bytes.size(), told.back());
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
}

TEST(HostClient, ARefusalEndsTheSendingOfAFile) {
    const SomeFile file(8 * 1024 * 1024);
    uint64_t last = 0;
    const ScriptedHost host({[](Peer& peer) {
        peer.Send("HTTP/1.1 413 Too Large\r\nConnection: close\r\nContent-Length: 2\r\n\r\n{}");
        peer.Request();
    }});
    const auto client = HostClient::Connect(Patient);
    const HostAnswer answer =
        client->PostFile("/v1/firmware", file.m_file.Get(), file.m_bytes.size(), [&](uint64_t sent) { last = sent; });
    EXPECT_EQ(413U, answer.m_status);
    EXPECT_LT(last, file.m_bytes.size());
}

TEST(HostClient, AFileThatBecomesShorterIsAnError) {
    const SomeFile file(1000);
    const ScriptedHost host({[](Peer& peer) { peer.Request(); }});
    const auto client = HostClient::Connect(Patient);
    EXPECT_EQ("the file cannot be read: it has become shorter while it was sent",
              ClientErrorOf([&] { client->PostFile("/v1/firmware", file.m_file.Get(), 1001, {}); }));
}

std::string EventsHead() {
    return "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nTransfer-Encoding: chunked\r\n\r\n";
}

std::string Chunk(const std::string& text) {
    char size[20];
    snprintf(size, sizeof size, "%zx\r\n", text.size());
    return size + text + "\r\n";
}

TEST(HostClient, EventsAreTakenUpAgainWhereTheStreamBreaks) {
    std::vector<std::string> requests;
    std::vector<std::string> events;
    {
        const ScriptedHost host({Always(""),
                                 [&](Peer& peer) {
                                     requests.push_back(peer.Request());
                                     peer.Send(EventsHead() +
                                               Chunk(": comment\n\nid: 8\nevent: event\ndata: one\n\nid: 9"));
                                 },
                                 [&](Peer& peer) {
                                     requests.push_back(peer.Request());
                                     peer.Send(EventsHead() + Chunk("id: 9\nevent: call\ndata: two\n\n") + "0\r\n\r\n");
                                 },
                                 [&](Peer& peer) {
                                     requests.push_back(peer.Request());
                                     peer.Send(EventsHead() + Chunk("id: 10\ndata: three\ndata: lines\n\n"));
                                     peer.AwaitEnd();
                                 }});
        HostClient::Connect(Patient)->Events(7, [&](const HostClient::ServerEvent& event) {
            events.push_back(std::to_string(event.m_id) + " " + event.m_kind + " " + event.m_data);
            return events.size() < 3;
        });
    }
    EXPECT_THAT(events, ElementsAre("8 event one", "9 call two", "10  three\nlines"));
    ASSERT_EQ(3U, requests.size());
    EXPECT_THAT(requests[0], AllOf(StartsWith("GET /v1/events HTTP/1.1\r\n"), HasSubstr("Last-Event-ID: 7\r\n")));
    EXPECT_THAT(requests[1], HasSubstr("Last-Event-ID: 8\r\n"));
    EXPECT_THAT(requests[2], HasSubstr("Last-Event-ID: 9\r\n"));
}

} // namespace
