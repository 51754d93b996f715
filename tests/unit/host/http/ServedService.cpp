// A small service behind the real server, at a Unix socket, a TCP port and one with TLS.
#include "ServedService.h"

#include "TlsClient.h"
#include "bm_dev/UniqueFd.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace bmhost;

namespace {

constexpr uint64_t MostBytes = 1000;

Reply TextReply(unsigned status, const std::string& text) {
    Reply reply;
    reply.m_status = status;
    reply.m_body = std::make_shared<const std::string>(text);
    reply.m_contentType = "text/plain";
    return reply;
}

class StringSink : public BodySink {
public:
    void Write(const void* data, std::size_t size) override {
        m_text.append(static_cast<const char*>(data), size);
        if (m_text.find("full") != std::string::npos) throw std::runtime_error("no room");
    }

    std::string m_text;
};

nlohmann::ordered_json JsonOf(const Peer& peer) {
    return {{"process", peer.m_process}, {"user", peer.m_user},         {"address", peer.m_address},
            {"port", peer.m_port},       {"listener", peer.m_listener}, {"secure", peer.m_secure},
            {"text", peer.Text()}};
}

template <class Address>
bm_dev::UniqueFd ListenAt(const Address& address, int family) {
    bm_dev::UniqueFd socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(socket.Get(), 256) != 0)
        throw std::runtime_error(std::string("listen: ") + std::strerror(errno));
    return socket;
}

bm_dev::UniqueFd ListenAtPath(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return ListenAt(address, AF_UNIX);
}

} // namespace

/// All that is said from the beginning on.
class SmallService::Speech : public Stream {
public:
    explicit Speech(SmallService& service) : m_service(service) {}

    std::size_t Next(char* to, std::size_t most) override {
        const std::lock_guard lock(m_service.m_mutex);
        if (m_ended) return 0;
        const std::size_t size = m_service.m_said.copy(to, most, m_done);
        m_done += size;
        return size;
    }
    bool HasEnded() const override { return m_ended; }
    void End() override { m_ended = true; }
    std::chrono::steady_clock::time_point NextComment() const override {
        return std::chrono::steady_clock::time_point::max();
    }
    std::string ContentType() const override { return "text/plain"; }

private:
    SmallService& m_service;
    std::size_t m_done = 0;
    bool m_ended = false;
};

/// Always has more.
class SmallService::Endless : public Stream {
public:
    explicit Endless(std::atomic<uint64_t>& made) : m_made(made) {}

    std::size_t Next(char* to, std::size_t most) override {
        std::memset(to, 'x', most);
        m_made += most;
        return most;
    }
    bool HasEnded() const override { return m_ended; }
    void End() override { m_ended = true; }
    std::chrono::steady_clock::time_point NextComment() const override {
        return std::chrono::steady_clock::time_point::max();
    }

private:
    std::atomic<uint64_t>& m_made;
    bool m_ended = false;
};

BodyPlan SmallService::Begin(Request& request, std::optional<uint64_t> /*length*/) {
    request.m_own = request.m_path;
    if (request.m_path == "/echo") return BodyPlan::Whole(MostBytes);
    if (request.m_path == "/pieces")
        return BodyPlan::Pieces(std::make_unique<StringSink>(), 100'000, std::chrono::hours(1));
    return BodyPlan::None();
}

Outcome SmallService::Handle(Request& request, const TakeTicket& takeTicket) {
    const auto path = std::any_cast<std::string>(request.m_own);
    if (path == "/peer") return JsonReply(200, JsonOf(request.m_peer));
    if (path == "/header") return TextReply(200, std::string(request.Header("x-TEST")));
    if (path == "/empty") return Reply{204, nullptr, {}, {}};
    if (path == "/large") return TextReply(200, std::string(4'000'000, 'x'));
    if (path == "/echo") return TextReply(200, request.m_body);
    if (path == "/pieces") return TextReply(200, static_cast<StringSink&>(*request.m_sink).m_text);
    if (path == "/stream") return Streams{std::make_unique<Speech>(*this)};
    if (path == "/endless") return Streams{std::make_unique<Endless>(m_madeOfEndless)};
    if (path == "/nobody") return Waits{};
    if (path == "/reload") {
        Reload();
        return TextReply(200, "reloaded");
    }
    if (path != "/late" && path != "/stream-later") throw Refusal(404, path, "no such path");
    request.m_own = std::string("/stream"); // what it is when it is handled again
    Ticket ticket = takeTicket();
    const std::lock_guard lock(m_mutex);
    m_tickets.push_back(std::move(ticket));
    m_came.notify_all();
    return Waits{};
}

Reply SmallService::ErrorReply(const Request& request, const Refusal& refusal) {
    Reply reply = TextReply(refusal.m_status, request.m_path + ": " + refusal.what());
    reply.m_headers = refusal.m_headers;
    return reply;
}

void SmallService::Finish(const Request& request, Reply& reply) {
    reply.m_headers.emplace_back("X-Served", request.m_method);
}

std::vector<Ticket> SmallService::Tickets(std::size_t count) {
    std::unique_lock lock(m_mutex);
    m_came.wait_for(lock, std::chrono::seconds(30), [&] { return m_tickets.size() >= count; });
    return m_tickets;
}

void SmallService::ForgetTickets() {
    std::vector<Ticket> forgotten;
    const std::lock_guard lock(m_mutex);
    std::swap(forgotten, m_tickets);
}

void SmallService::OnReload(std::function<void()> reload) {
    const std::lock_guard lock(m_mutex);
    m_reload = std::move(reload);
}

void SmallService::Reload() {
    const std::lock_guard lock(m_mutex);
    m_reload();
}

void SmallService::Say(const std::string& text) {
    const std::lock_guard lock(m_mutex);
    m_said += text;
}

bm_dev::UniqueFd ListenAtPort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ListenAt(address, AF_INET);
}

ServedService::ServedService(const HttpLimits& limits)
    : m_folder(std::filesystem::temp_directory_path() / "bmhost-http-XXXXXX") {
    if (mkdtemp(m_folder.data()) == nullptr) throw std::runtime_error("mkdtemp");
    m_socket = m_folder + "/socket";
    m_listening = {ListenAtPath(m_socket), ListenAtPort(), ListenAtPort()};
    const std::vector<Listener> listeners = {
        {m_listening[Unix].Get(), {}}, {m_listening[Tcp].Get(), {}}, {m_listening[Secure].Get(), MakeTls("first")}};
    m_server = std::make_unique<HttpServer>(listeners, m_service, limits);
    m_thread = std::thread([this] { m_server->Run([] {}); });
}

ServedService::~ServedService() {
    Stop();
    std::filesystem::remove_all(m_folder);
}

void ServedService::Stop() {
    if (!m_server) return;
    m_server->Stop();
    m_thread.join();
    m_server.reset();
}

void ServedService::ReloadWith(Tls tls) {
    m_service.OnReload([this, tls = std::move(tls)] { m_server->SetTls(Secure, tls); });
}

uint16_t ServedService::Port(std::size_t listener) const {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    getsockname(m_listening.at(listener).Get(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}
