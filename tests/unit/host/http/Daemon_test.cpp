// Listeners with TLS: handshakes, and certificates that change while clients are connected.
#include "host/http/Daemon.h"

#include "ServedService.h"
#include "TlsClient.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <unistd.h>

using namespace bmhost;

namespace {

std::ptrdiff_t OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

std::string NameAt(const ServedService& served) {
    return TlsClient(served.Port(ServedService::Secure)).ServerName();
}

} // namespace

TEST(Daemon, ARequestIsServedOverTls) {
    ServedService served;
    const TlsClient client(served.Port(ServedService::Secure));
    EXPECT_EQ(client.ServerName(), "first");
    const nlohmann::json peer = client.Get("/peer").Json();
    EXPECT_EQ(peer.at("secure"), true);
    EXPECT_EQ(peer.at("listener"), ServedService::Secure);
    EXPECT_EQ(peer.at("address"), "127.0.0.1");
    EXPECT_EQ(client.Post("/echo", "hello").m_body, "hello");
    const HttpAnswer large = client.Get("/large");
    EXPECT_EQ(large.m_body.size(), 4'000'000U);
}

TEST(Daemon, OldVersionsOfTlsAreRefused) {
    const ServedService served;
    const uint16_t port = served.Port(ServedService::Secure);
    for (const char* version : {"NORMAL:-VERS-ALL:+VERS-TLS1.2", "NORMAL:-VERS-ALL:+VERS-TLS1.3"})
        EXPECT_EQ(TlsClient(port, version).Get("/peer").m_status, 200) << version;
    for (const char* version : {"NORMAL:-VERS-ALL:+VERS-TLS1.0", "NORMAL:-VERS-ALL:+VERS-TLS1.1"})
        EXPECT_THROW(TlsClient(port, version), std::runtime_error) << version;
}

TEST(Daemon, WhoDoesNotSpeakTlsGetsNoAnswer) {
    const ServedService served;
    const Client plain(served.Port(ServedService::Secure));
    plain.Send("GET /peer HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(plain.ReadToEnd().find("HTTP/1.1"), std::string::npos);
    EXPECT_EQ(NameAt(served), "first");
}

TEST(Daemon, AHandshakeThatDoesNotEndHoldsUpNobody) {
    const ServedService served;
    const uint16_t port = served.Port(ServedService::Secure);
    const Client silent(port);
    const Client slow(port);
    slow.Send({"\x16\x03\x01\x02\x00\x01", 6}); // the beginning of a client's first message
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(TlsClient(port).Get("/peer").m_status, 200);
    EXPECT_EQ(Client(served.Socket()).Get("/peer").m_status, 200);
}

TEST(Daemon, AHandshakeThatDoesNotEndIsDropped) {
    HttpLimits limits;
    limits.m_idleTime = std::chrono::milliseconds(200);
    const ServedService served(limits);
    const uint16_t port = served.Port(ServedService::Secure);
    EXPECT_EQ(Client(port).ReadToEnd(), "");
    const Client slow(port);
    slow.Send({"\x16\x03\x01\x02\x00\x01", 6});
    EXPECT_EQ(slow.ReadToEnd(), "");
}

TEST(Daemon, AClientMayGoInEveryPhase) {
    ServedService served;
    const uint16_t port = served.Port(ServedService::Secure);
    for (const char* begin :
         {"", "GE", "GET /large HTTP/1.1\r\nHost: h\r\n\r\n", "GET /stream HTTP/1.1\r\nHost: h\r\n\r\n",
          "POST /pieces HTTP/1.1\r\nHost: h\r\nContent-Length: 50\r\n\r\nsome"}) {
        for (int i = 0; i < 5; ++i)
            TlsClient(port).Send(begin);
    }
    TlsClient(port).Send("GET /late HTTP/1.1\r\nHost: h\r\n\r\n");
    ASSERT_EQ(served.Service().Tickets(1).size(), 1U);
    EXPECT_EQ(TlsClient(port).Get("/peer").m_status, 200);
}

TEST(Daemon, NewClientsGetTheNewCertificate) {
    ServedService served;
    served.ReloadWith(MakeTls("second"));
    const TlsClient old(served.Port(ServedService::Secure));
    EXPECT_EQ(old.Post("/reload", "").m_status, 200);
    EXPECT_EQ(NameAt(served), "second");
    EXPECT_EQ(old.Get("/peer").m_status, 200);
    served.ReloadWith(MakeTls("third"));
    EXPECT_EQ(old.Post("/reload", "").m_status, 200);
    EXPECT_EQ(NameAt(served), "third");
    EXPECT_EQ(old.Get("/peer").Json().at("secure"), true);
}

TEST(Daemon, WhoWaitedBeforeTheNewCertificateIsServed) {
    ServedService served;
    const uint16_t port = served.Port(ServedService::Secure);
    const TlsClient waiting(port);
    waiting.Send("GET /late HTTP/1.1\r\nHost: h\r\n\r\n");
    const auto tickets = served.Service().Tickets(1);
    ASSERT_EQ(tickets.size(), 1U);
    const TlsClient reader(port);
    EXPECT_EQ(reader.Get("/stream").m_status, 200);
    served.ReloadWith(MakeTls("second"));
    EXPECT_EQ(Client(served.Socket()).Post("/reload", "").m_status, 200);
    EXPECT_EQ(NameAt(served), "second");
    tickets[0](Refusal(409, "", "late"));
    EXPECT_EQ(waiting.Read().m_body, "/late: late");
    served.Service().Say("more");
    served.Server().WakeStreams();
    EXPECT_TRUE(reader.ReadUntil("more").ends_with("more"));
    served.Stop();
    EXPECT_TRUE(reader.ReadToEnd().ends_with("\r\n0\r\n\r\n"));
}

TEST(Daemon, ACertificateThatIsNoneChangesNothing) {
    ServedService served;
    Tls mixed = MakeTls("mixed");
    mixed.m_key = MakeTls("other").m_key;
    const Client client(served.Socket());
    for (const Tls& wrong : {mixed, Tls{"nonsense", mixed.m_key}, Tls{mixed.m_certificate, ""}, Tls{}}) {
        served.ReloadWith(wrong);
        const HttpAnswer answer = client.Post("/reload", "");
        EXPECT_EQ(answer.m_status, 500);
        EXPECT_EQ(answer.m_body, "/reload: the HTTP server does not start with this certificate and key");
        EXPECT_EQ(NameAt(served), "first");
    }
}

TEST(Daemon, ReloadsLeaveNothingBehind) {
    ServedService served;
    const Tls good = MakeTls("second");
    Tls wrong = good;
    wrong.m_key = "nonsense";
    const Client client(served.Socket());
    EXPECT_EQ(client.Get("/peer").m_status, 200);
    const auto before = OpenDescriptors();
    for (int i = 0; i < 10; ++i) {
        const TlsClient old(served.Port(ServedService::Secure));
        EXPECT_EQ(old.Get("/peer").m_status, 200);
        served.ReloadWith(i % 2 == 0 ? good : wrong);
        EXPECT_EQ(client.Post("/reload", "").m_status, i % 2 == 0 ? 200 : 500);
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (OpenDescriptors() != before && std::chrono::steady_clock::now() < end)
        EXPECT_EQ(client.Get("/peer").m_status, 200);
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(Daemon, AServerDoesNotStartWithACertificateThatIsNone) {
    SmallService service;
    const bm_dev::UniqueFd socket = ListenAtPort();
    EXPECT_THROW(HttpServer({{socket.Get(), Tls{"nonsense", "nonsense"}}}, service), std::runtime_error);
}

TEST(Daemon, ThereIsNoCertificateForAListenerThatIsNone) {
    SmallService service;
    const bm_dev::UniqueFd socket = ListenAtPort();
    HttpServer server({{socket.Get(), {}}}, service);
    EXPECT_THROW(server.SetTls(1, MakeTls("second")), std::out_of_range);
}
