// The resident host's socket: HTTP/1.1 with JSON.
#include "host/api/Server.h"

#include "host/api/Connections.h"
#include "host/api/Exchange.h"
#include "host/api/Mailbox.h"
#include "host/api/Routes.h"

#include <microhttpd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <exception>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

constexpr unsigned SpareConnections = 16; // they are told that there are too many
constexpr std::chrono::milliseconds LongestTurn(1000);
constexpr std::chrono::milliseconds ExcessTime(2000);
constexpr int LastTurns = 50; // a client that does not read does not hold up the end

// A text ends at its first NUL for the library, so what a client wrote after it would be dropped unseen. As another
// control character it stays where it is, and no path or value takes it.
std::size_t Unescape(void* /*nothing*/, MHD_Connection* /*handle*/, char* text) {
    const std::size_t size = MHD_http_unescape(text);
    std::replace(text, text + size, '\0', '\x01');
    return size;
}

int CopyOf(int descriptor) {
    const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) throw std::system_error(errno, std::generic_category(), "the listening socket");
    return copy;
}

} // namespace

class ApiServer::Daemon {
public:
    Daemon(int listeningSocket, ResidentHost& host, const ApiLimits& limits, MakeUploadSink makeSink);
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    void Run(const std::function<void()>& eachTurn);
    void Stop() { m_mailbox->TellStop(); }

private:
    void Wait();
    std::chrono::milliseconds WaitTime();
    void Deliver(const Mailbox::Mail& mail);
    void WakeStreams(bool news);
    void End();
    void Notify(MHD_Connection* handle, void** context, MHD_ConnectionNotificationCode code);

    static MHD_Result OnAccess(void* daemon, MHD_Connection* handle, const char* path, const char* method,
                               const char* version, const char* body, std::size_t* size, void** exchange);
    static void OnCompleted(void* daemon, MHD_Connection* handle, void** exchange, MHD_RequestTerminationCode code);
    static void OnNotify(void* daemon, MHD_Connection* handle, void** context, MHD_ConnectionNotificationCode code);
    static Connection& ConnectionOf(MHD_Connection* handle);

    const ApiLimits m_limits;
    const MakeUploadSink m_makeSink;
    ResidentHost& m_host;
    std::shared_ptr<Mailbox> m_mailbox = std::make_shared<Mailbox>();
    Connections m_connections;
    Api m_api;
    Exchanges m_exchanges;
    MHD_Daemon* m_daemon = nullptr;
    int m_events = -1; ///< the library's epoll
};

ApiServer::Daemon::Daemon(int listeningSocket, ResidentHost& host, const ApiLimits& limits, MakeUploadSink makeSink)
    : m_limits(limits),
      m_makeSink(std::move(makeSink)),
      m_host(host),
      m_connections(limits.m_connections),
      m_api{host, m_limits, m_makeSink, {}},
      m_exchanges{m_api, m_connections, *m_mailbox} {
    // The library closes what it is given.
    const int copy = CopyOf(listeningSocket);
    m_daemon = MHD_start_daemon(
        MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ITC, 0, nullptr, nullptr, OnAccess, this,
        MHD_OPTION_LISTEN_SOCKET, copy, MHD_OPTION_CONNECTION_LIMIT, limits.m_connections + SpareConnections,
        MHD_OPTION_CONNECTION_MEMORY_LIMIT, limits.m_headerMemory, MHD_OPTION_NOTIFY_COMPLETED, OnCompleted, this,
        MHD_OPTION_NOTIFY_CONNECTION, OnNotify, this, MHD_OPTION_UNESCAPE_CALLBACK, Unescape, nullptr, MHD_OPTION_END);
    if (m_daemon == nullptr) throw std::runtime_error("the HTTP server does not start on this socket");
    m_events = MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
    m_host.OnNews([mailbox = m_mailbox] { mailbox->TellNews(); });
}

ApiServer::Daemon::~Daemon() {
    m_host.OnNews(nullptr);
    End();
    m_mailbox->Close();
}

void ApiServer::Daemon::Run(const std::function<void()>& eachTurn) {
    while (true) {
        eachTurn();
        Wait();
        const Mailbox::Mail mail = m_mailbox->Take();
        Deliver(mail);
        if (mail.m_stop) break;
        m_connections.ForGone([](Connection& connection) { connection.m_exchange->GiveUp(); });
        WakeStreams(mail.m_news);
        MHD_run(m_daemon);
        m_connections.Expire();
    }
    End();
}

std::chrono::milliseconds ApiServer::Daemon::WaitTime() {
    const auto now = std::chrono::steady_clock::now();
    auto until = now + LongestTurn;
    MHD_UNSIGNED_LONG_LONG wanted = 0;
    if (MHD_get_timeout(m_daemon, &wanted) == MHD_YES && wanted < static_cast<uint64_t>(LongestTurn.count()))
        until = now + std::chrono::milliseconds(wanted);
    if (const auto deadline = m_connections.NextDeadline()) until = std::min(until, *deadline);
    m_connections.ForEach([&](const Connection& connection) {
        if (connection.m_exchange == nullptr) return;
        if (const auto comment = connection.m_exchange->NextComment()) until = std::min(until, *comment);
    });
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(until - now), std::chrono::milliseconds(0));
}

void ApiServer::Daemon::Wait() {
    std::array<pollfd, 3> descriptors = {pollfd{m_mailbox->Descriptor(), POLLIN, 0}, pollfd{m_events, POLLIN, 0},
                                         pollfd{m_connections.Descriptor(), POLLIN, 0}};
    poll(descriptors.data(), descriptors.size(), static_cast<int>(WaitTime().count()));
}

void ApiServer::Daemon::Deliver(const Mailbox::Mail& mail) {
    for (const auto& [exchange, answer] : mail.m_answers) {
        m_connections.ForEach([&, id = exchange, &given = answer](const Connection& connection) {
            if (connection.m_exchange != nullptr && connection.m_exchange->Id() == id)
                connection.m_exchange->Deliver(given);
        });
    }
}

void ApiServer::Daemon::WakeStreams(bool news) {
    const auto now = std::chrono::steady_clock::now();
    m_connections.ForEach([&](const Connection& connection) {
        if (connection.m_exchange == nullptr) return;
        const auto comment = connection.m_exchange->NextComment();
        if (news || (comment && *comment <= now)) connection.m_exchange->WakeStream();
    });
}

void ApiServer::Daemon::End() {
    if (m_daemon == nullptr) return;
    m_exchanges.m_ending = true;
    close(MHD_quiesce_daemon(m_daemon));
    m_connections.ForEach([](const Connection& connection) {
        if (connection.m_exchange != nullptr) connection.m_exchange->EndNow();
    });
    MHD_UNSIGNED_LONG_LONG wanted = 0;
    for (int turn = 0; turn < LastTurns; ++turn) {
        MHD_run(m_daemon);
        if (turn > 0 && (MHD_get_timeout(m_daemon, &wanted) != MHD_YES || wanted > 0)) break;
    }
    // The library does not end while a connection is suspended.
    m_connections.ForEach([this](Connection& connection) { m_connections.Resume(connection); });
    MHD_run(m_daemon);
    MHD_stop_daemon(m_daemon);
    m_daemon = nullptr;
}

Connection& ApiServer::Daemon::ConnectionOf(MHD_Connection* handle) {
    return *static_cast<Connection*>(
        MHD_get_connection_info(handle, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
}

MHD_Result ApiServer::Daemon::OnAccess(void* daemon, MHD_Connection* handle, const char* path, const char* method,
                                       const char* /*version*/, const char* body, std::size_t* size, void** exchange) {
    auto& self = *static_cast<Daemon*>(daemon);
    try {
        if (*exchange == nullptr) *exchange = new Exchange(self.m_exchanges, ConnectionOf(handle), path, method);
        const std::string_view piece(body != nullptr ? body : "", *size);
        *size = 0;
        return static_cast<Exchange*>(*exchange)->Step(piece);
    } catch (const std::exception&) {
        return MHD_NO;
    }
}

void ApiServer::Daemon::OnCompleted(void* daemon, MHD_Connection* handle, void** exchange,
                                    MHD_RequestTerminationCode /*code*/) {
    delete static_cast<Exchange*>(*exchange);
    *exchange = nullptr;
    Connections::SetDeadline(ConnectionOf(handle), static_cast<Daemon*>(daemon)->m_limits.m_idleTime);
}

void ApiServer::Daemon::OnNotify(void* daemon, MHD_Connection* handle, void** context,
                                 MHD_ConnectionNotificationCode code) {
    static_cast<Daemon*>(daemon)->Notify(handle, context, code);
}

void ApiServer::Daemon::Notify(MHD_Connection* handle, void** context, MHD_ConnectionNotificationCode code) {
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        m_connections.Remove(*static_cast<Connection*>(*context));
        return;
    }
    Connection& connection = m_connections.Add(handle);
    Connections::SetDeadline(connection, m_connections.IsExcess(connection) ? std::min(ExcessTime, m_limits.m_idleTime)
                                                                            : m_limits.m_idleTime);
    *context = &connection;
}

ApiServer::ApiServer(int listeningSocket, ResidentHost& host, const ApiLimits& limits, MakeUploadSink makeSink)
    : m_daemon(std::make_unique<Daemon>(listeningSocket, host, limits, std::move(makeSink))) {}

ApiServer::~ApiServer() = default;

void ApiServer::Run(const std::function<void()>& eachTurn) {
    m_daemon->Run(eachTurn);
}

void ApiServer::Stop() {
    m_daemon->Stop();
}

} // namespace bmhost
