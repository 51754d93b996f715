// The clients that are connected: who they are, and until when something has to come of them.
#include "host/http/Connections.h"

#include <microhttpd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace bmhost {

namespace {

constexpr unsigned SpareConnections = 16; // they are told that there are too many

int OpenWatch() {
    const int descriptor = epoll_create1(EPOLL_CLOEXEC);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "epoll_create1");
    return descriptor;
}

// The other end of a TCP connection may vanish without a word.
void Probe(int socket) {
    const int on = 1;
    const int idle = 60;     // seconds
    const int interval = 15; // seconds
    const int probes = 4;
    setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on));
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPIDLE, &idle, sizeof(idle));
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPINTVL, &interval, sizeof(interval));
    setsockopt(socket, IPPROTO_TCP, TCP_KEEPCNT, &probes, sizeof(probes));
}

// What a client does not read would otherwise stay in the kernel's memory long after its connection has been ended.
void ForgetUnsent(int socket) {
    int unsent = 0;
    if (ioctl(socket, SIOCOUTQ, &unsent) != 0 || unsent <= 0) return;
    const linger atOnce{1, 0};
    setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
}

} // namespace

Connections::Connections(unsigned most, unsigned mostOfAddress)
    : m_most(most),
      m_mostOfAddress(mostOfAddress),
      m_watch(OpenWatch()) {}

Connections::~Connections() {
    close(m_watch);
}

unsigned Connections::MostAccepted() const {
    return m_most + SpareConnections;
}

bool Connections::HasRoomFor(const sockaddr& address) const {
    if (m_connections.size() >= MostAccepted()) return false;
    if (m_mostOfAddress == 0) return true;
    const std::string text = AddressText(address);
    if (text.empty()) return true;
    const auto same = std::count_if(m_connections.begin(), m_connections.end(), [&text](const auto& connection) {
        return connection.second.m_peer.m_address == text;
    });
    return same < static_cast<std::ptrdiff_t>(m_mostOfAddress);
}

Connection& Connections::Add(MHD_Connection* handle, std::size_t listener, bool secure) {
    Connection& connection = m_connections[++m_lastId];
    connection.m_id = m_lastId;
    connection.m_handle = handle;
    connection.m_socket = MHD_get_connection_info(handle, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
    connection.m_peer =
        PeerOf(connection.m_socket, *MHD_get_connection_info(handle, MHD_CONNECTION_INFO_CLIENT_ADDRESS)->client_addr);
    connection.m_peer.m_listener = listener;
    connection.m_peer.m_secure = secure;
    if (connection.m_peer.IsRemote()) Probe(connection.m_socket);
    return connection;
}

void Connections::Remove(const Connection& connection) {
    m_connections.erase(connection.m_id);
}

bool Connections::IsExcess(const Connection& connection) const {
    if (m_connections.size() <= m_most) return false;
    const auto older = std::distance(m_connections.begin(), m_connections.find(connection.m_id));
    return older >= static_cast<std::ptrdiff_t>(m_most);
}

void Connections::ForEach(const std::function<void(Connection&)>& action) {
    for (auto& [id, connection] : m_connections)
        action(connection);
}

void Connections::Suspend(Connection& connection) {
    connection.m_deadline.reset();
    connection.m_suspended = true;
    MHD_suspend_connection(connection.m_handle);
    // A client that has finished sending has gone, too: so the library takes it.
    epoll_event event{};
    event.events = EPOLLRDHUP;
    event.data.u64 = connection.m_id;
    epoll_ctl(m_watch, EPOLL_CTL_ADD, connection.m_socket, &event);
}

void Connections::Resume(Connection& connection) {
    if (!connection.m_suspended) return;
    connection.m_suspended = false;
    epoll_ctl(m_watch, EPOLL_CTL_DEL, connection.m_socket, nullptr);
    MHD_resume_connection(connection.m_handle);
}

void Connections::ForGone(const std::function<void(Connection&)>& action) {
    std::array<epoll_event, 64> events{};
    const int count = epoll_wait(m_watch, events.data(), static_cast<int>(events.size()), 0);
    for (int i = 0; i < count; ++i) {
        const auto found = m_connections.find(events.at(static_cast<std::size_t>(i)).data.u64);
        if (found != m_connections.end()) action(found->second);
    }
}

void Connections::SetDeadline(Connection& connection, std::chrono::milliseconds time) {
    connection.m_deadline = std::chrono::steady_clock::now() + time;
}

void Connections::Expire() {
    const auto now = std::chrono::steady_clock::now();
    for (auto& [id, connection] : m_connections) {
        if (!connection.m_deadline || now < *connection.m_deadline) continue;
        connection.m_deadline.reset();
        if (connection.m_peer.IsRemote()) ForgetUnsent(connection.m_socket);
        shutdown(connection.m_socket, SHUT_RDWR);
    }
}

std::optional<std::chrono::steady_clock::time_point> Connections::NextDeadline() const {
    std::optional<std::chrono::steady_clock::time_point> next;
    for (const auto& [id, connection] : m_connections) {
        if (connection.m_deadline && (!next || *connection.m_deadline < *next)) next = connection.m_deadline;
    }
    return next;
}

} // namespace bmhost
