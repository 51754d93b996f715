// The library's part of a server: one daemon of it for each listener and certificate.
#include "host/http/Daemon.h"

#include "host/http/Server.h"

#include <microhttpd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace bmhost {

namespace {

constexpr std::chrono::milliseconds ExcessTime(2000);
constexpr char Priorities[] = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2:%SERVER_PRECEDENCE";

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

// The library reads them while it begins.
std::vector<MHD_OptionItem> OptionsOf(const Tls* tls) {
    std::vector<MHD_OptionItem> options;
    if (tls != nullptr) {
        options.push_back({MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char*>(tls->m_certificate.c_str())});
        options.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char*>(tls->m_key.c_str())});
        options.push_back({MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char*>(Priorities)});
    }
    options.push_back({MHD_OPTION_END, 0, nullptr});
    return options;
}

Connection& ConnectionOf(MHD_Connection* handle) {
    return *static_cast<Connection*>(
        MHD_get_connection_info(handle, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
}

} // namespace

Daemon::Daemon(int descriptor, std::size_t listener, const Tls* tls, Exchanges& all)
    : m_all(all),
      m_listener(listener),
      m_secure(tls != nullptr) {
    const int copy = CopyOf(descriptor); // the library closes what it is given
    unsigned flags = MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ITC;
    if (m_secure) flags |= MHD_USE_TLS;
    const HttpLimits& limits = all.m_limits;
    m_daemon = MHD_start_daemon(
        flags, 0, OnConnect, this, OnAccess, this, MHD_OPTION_LISTEN_SOCKET, copy, MHD_OPTION_CONNECTION_LIMIT,
        all.m_connections.MostAccepted(), MHD_OPTION_CONNECTION_MEMORY_LIMIT, limits.m_headerMemory,
        MHD_OPTION_NOTIFY_COMPLETED, OnCompleted, this, MHD_OPTION_NOTIFY_CONNECTION, OnNotify, this,
        MHD_OPTION_UNESCAPE_CALLBACK, Unescape, nullptr, MHD_OPTION_ARRAY, OptionsOf(tls).data(), MHD_OPTION_END);
    if (m_daemon == nullptr) {
        throw std::runtime_error(m_secure ? "the HTTP server does not start with this certificate and key"
                                          : "the HTTP server does not start on this socket");
    }
    m_events = MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
}

Daemon::~Daemon() {
    StopListening();
    MHD_stop_daemon(m_daemon);
}

void Daemon::Turn() {
    MHD_run(m_daemon);
}

std::optional<std::chrono::milliseconds> Daemon::Patience() const {
    MHD_UNSIGNED_LONG_LONG wanted = 0;
    if (MHD_get_timeout(m_daemon, &wanted) != MHD_YES) return std::nullopt;
    constexpr uint64_t longest = 3'600'000;
    return std::chrono::milliseconds(std::min<uint64_t>(wanted, longest));
}

int Daemon::Listening() const {
    return MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_LISTEN_FD)->listen_fd;
}

void Daemon::StopListening() {
    if (!m_listens) return;
    m_listens = false;
    close(MHD_quiesce_daemon(m_daemon));
}

MHD_Result Daemon::OnConnect(void* daemon, const sockaddr* address, socklen_t /*size*/) {
    return static_cast<Daemon*>(daemon)->m_all.m_connections.HasRoomFor(*address) ? MHD_YES : MHD_NO;
}

MHD_Result Daemon::OnAccess(void* daemon, MHD_Connection* handle, const char* path, const char* method,
                            const char* /*version*/, const char* body, std::size_t* size, void** exchange) {
    try {
        if (*exchange == nullptr)
            *exchange = new Exchange(static_cast<Daemon*>(daemon)->m_all, ConnectionOf(handle), path, method);
        const std::string_view piece(body != nullptr ? body : "", *size);
        *size = 0;
        return static_cast<Exchange*>(*exchange)->Step(piece);
    } catch (const std::exception&) {
        return MHD_NO;
    }
}

void Daemon::OnCompleted(void* daemon, MHD_Connection* handle, void** exchange, MHD_RequestTerminationCode /*code*/) {
    delete static_cast<Exchange*>(*exchange);
    *exchange = nullptr;
    Connections::SetDeadline(ConnectionOf(handle), static_cast<Daemon*>(daemon)->m_all.m_limits.m_idleTime);
}

void Daemon::OnNotify(void* daemon, MHD_Connection* handle, void** context, MHD_ConnectionNotificationCode code) {
    static_cast<Daemon*>(daemon)->Notify(handle, context, code);
}

void Daemon::Notify(MHD_Connection* handle, void** context, MHD_ConnectionNotificationCode code) {
    Connections& connections = m_all.m_connections;
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        connections.Remove(*static_cast<Connection*>(*context));
        --m_connections;
        return;
    }
    Connection& connection = connections.Add(handle, m_listener, m_secure);
    ++m_connections;
    const auto idle = m_all.m_limits.m_idleTime;
    Connections::SetDeadline(connection, connections.IsExcess(connection) ? std::min(ExcessTime, idle) : idle);
    *context = &connection;
}

} // namespace bmhost
