// An HTTP/1.1 server for whoever implements HttpService, at sockets of the Unix domain and of TCP, with TLS or without.
#include "host/http/Server.h"

#include "host/http/Daemon.h"
#include "host/http/Exchange.h"
#include "host/http/Mailbox.h"

#include <algorithm>
#include <chrono>
#include <poll.h>
#include <stdexcept>

namespace bmhost {

namespace {

constexpr std::chrono::milliseconds LongestTurn(1000);
constexpr int LastTurns = 50; // a client that does not read does not hold up the end

} // namespace

class HttpServer::Loop {
public:
    Loop(const std::vector<Listener>& listeners, HttpService& service, const HttpLimits& limits);
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    void Run(const std::function<void()>& eachTurn);
    Mailbox& Mail() { return *m_mailbox; }
    void SetTls(std::size_t listener, const Tls& tls);
    HttpCounts Counts() const { return {m_connections.Count(), m_all.m_streams}; }

private:
    void Wait();
    std::chrono::milliseconds WaitTime();
    void Deliver(Mailbox::Mail& mail);
    void WakeStreams(bool news);
    void Turn();
    void End();

    const HttpLimits m_limits;
    std::shared_ptr<Mailbox> m_mailbox = std::make_shared<Mailbox>();
    Connections m_connections;
    Exchanges m_all;
    std::vector<std::unique_ptr<Daemon>> m_daemons; ///< the listeners' own first, then those whose certificate has gone
    std::size_t m_listeners;
};

HttpServer::Loop::Loop(const std::vector<Listener>& listeners, HttpService& service, const HttpLimits& limits)
    : m_limits(limits),
      m_connections(limits.m_connections, limits.m_connectionsOfAddress),
      m_all{service, m_limits, m_connections, *m_mailbox},
      m_listeners(listeners.size()) {
    for (const Listener& listener : listeners) {
        const Tls* tls = listener.m_tls ? &*listener.m_tls : nullptr;
        m_daemons.push_back(std::make_unique<Daemon>(listener.m_descriptor, m_daemons.size(), tls, m_all));
    }
}

HttpServer::Loop::~Loop() {
    End();
    m_mailbox->Close();
}

void HttpServer::Loop::Run(const std::function<void()>& eachTurn) {
    while (true) {
        eachTurn();
        Wait();
        Mailbox::Mail mail = m_mailbox->Take();
        Deliver(mail);
        if (mail.m_stop) break;
        m_connections.ForGone([](Connection& connection) { connection.m_exchange->GiveUp(); });
        WakeStreams(mail.m_news);
        Turn();
        m_connections.Expire();
    }
    End();
}

std::chrono::milliseconds HttpServer::Loop::WaitTime() {
    const auto now = std::chrono::steady_clock::now();
    auto until = now + LongestTurn;
    for (const auto& daemon : m_daemons) {
        if (const auto patience = daemon->Patience()) until = std::min(until, now + *patience);
    }
    if (const auto deadline = m_connections.NextDeadline()) until = std::min(until, *deadline);
    m_connections.ForEach([&](const Connection& connection) {
        if (connection.m_exchange == nullptr) return;
        if (const auto comment = connection.m_exchange->NextComment()) until = std::min(until, *comment);
    });
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(until - now), std::chrono::milliseconds(0));
}

void HttpServer::Loop::Wait() {
    std::vector<pollfd> descriptors = {{m_mailbox->Descriptor(), POLLIN, 0}, {m_connections.Descriptor(), POLLIN, 0}};
    for (const auto& daemon : m_daemons)
        descriptors.push_back({daemon->Descriptor(), POLLIN, 0});
    poll(descriptors.data(), descriptors.size(), static_cast<int>(WaitTime().count()));
}

void HttpServer::Loop::Deliver(Mailbox::Mail& mail) {
    for (auto& [exchange, answer] : mail.m_answers) {
        m_connections.ForEach([&, id = exchange, &given = answer](const Connection& connection) {
            if (connection.m_exchange != nullptr && connection.m_exchange->Id() == id)
                connection.m_exchange->Deliver(std::move(given));
        });
    }
}

void HttpServer::Loop::WakeStreams(bool news) {
    const auto now = std::chrono::steady_clock::now();
    m_connections.ForEach([&](const Connection& connection) {
        if (connection.m_exchange == nullptr) return;
        const auto comment = connection.m_exchange->NextComment();
        if (news || (comment && *comment <= now)) connection.m_exchange->WakeStream();
    });
}

void HttpServer::Loop::Turn() {
    // A request may change a certificate, which adds a daemon.
    // NOLINTNEXTLINE(modernize-loop-convert): a range would end where it was
    for (std::size_t i = 0; i < m_daemons.size(); ++i)
        m_daemons[i]->Turn();
    // A daemon without its listener goes with its last client.
    const auto own = m_daemons.begin() + static_cast<std::ptrdiff_t>(std::min(m_listeners, m_daemons.size()));
    m_daemons.erase(std::remove_if(own, m_daemons.end(), [](const auto& daemon) { return !daemon->HasConnections(); }),
                    m_daemons.end());
}

void HttpServer::Loop::SetTls(std::size_t listener, const Tls& tls) {
    if (listener >= std::min(m_listeners, m_daemons.size())) throw std::out_of_range("there is no such listener");
    auto next = std::make_unique<Daemon>(m_daemons[listener]->Listening(), listener, &tls, m_all);
    std::unique_ptr<Daemon>& current = m_daemons[listener];
    current->StopListening();
    std::swap(current, next);
    m_daemons.push_back(std::move(next));
}

void HttpServer::Loop::End() {
    if (m_daemons.empty()) return;
    m_all.m_ending = true;
    for (const auto& daemon : m_daemons)
        daemon->StopListening();
    m_connections.ForEach([](const Connection& connection) {
        if (connection.m_exchange != nullptr) connection.m_exchange->EndNow();
    });
    for (int turn = 0; turn < LastTurns; ++turn) {
        for (const auto& daemon : m_daemons)
            daemon->Turn();
        const bool busy = std::any_of(m_daemons.begin(), m_daemons.end(), [](const auto& daemon) {
            const auto patience = daemon->Patience();
            return patience && patience->count() == 0;
        });
        if (turn > 0 && !busy) break;
    }
    // The library does not end while a connection is suspended.
    m_connections.ForEach([this](Connection& connection) { m_connections.Resume(connection); });
    for (const auto& daemon : m_daemons)
        daemon->Turn();
    m_daemons.clear();
}

HttpServer::HttpServer(const std::vector<Listener>& listeners, HttpService& service, const HttpLimits& limits)
    : m_loop(std::make_unique<Loop>(listeners, service, limits)) {}

HttpServer::~HttpServer() = default;

void HttpServer::Run(const std::function<void()>& eachTurn) {
    m_loop->Run(eachTurn);
}

void HttpServer::Stop() {
    m_loop->Mail().TellStop();
}

void HttpServer::WakeStreams() {
    m_loop->Mail().TellNews();
}

HttpCounts HttpServer::Counts() const {
    return m_loop->Counts();
}

void HttpServer::SetTls(std::size_t listener, const Tls& tls) {
    m_loop->SetTls(listener, tls);
}

} // namespace bmhost
