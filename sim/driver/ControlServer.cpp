// Takes orders from bladesim commands that run in the blade: lines of text on a Unix socket, answered by lines.
#include "sim/driver/ControlServer.h"

#include "sim/base/Sockets.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace bladesim {
namespace {

// Far longer than any order.
constexpr size_t MaxLine = 64 * 1024;

constexpr char Refusal[] = "{\"error\":\"only the blade's user and root may give it orders\"}\n";

bool IsForLater() {
    return errno == EAGAIN || errno == EINTR;
}

/// Every user in the blade's network can reach the address.
bool MayGiveOrders(int client) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (::getsockopt(client, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return false;
    if (peer.uid == ::geteuid() || peer.uid == 0) return true;
    std::fprintf(stderr, "bladesim: refused the orders of process %d of user %u: this is the blade of user %u\n",
                 peer.pid, peer.uid, ::geteuid());
    return false;
}

} // namespace

bm_dev::UniqueFd ListenForOrders() {
    return ListenAt(ControlAddress(), SOCK_STREAM, "orders");
}

ControlServer::ControlServer(bm_dev::UniqueFd listener, TakeOrder takeOrder)
    : m_listener(std::move(listener)),
      m_takeOrder(std::move(takeOrder)) {}

void ControlServer::AddEvents(std::vector<pollfd>& events) const {
    events.push_back({m_listener.Get(), POLLIN, 0});
    for (const auto& client : m_clients) {
        const short wanted = client.second.m_out.empty() ? POLLIN : POLLIN | POLLOUT;
        events.push_back({client.second.m_socket.Get(), wanted, 0});
    }
}

bool ControlServer::Handle(const pollfd& event) {
    if (event.fd == m_listener.Get()) {
        TakeClient();
        return true;
    }
    const auto found = std::find_if(m_clients.begin(), m_clients.end(),
                                    [&](const auto& client) { return client.second.m_socket.Get() == event.fd; });
    if (found == m_clients.end()) return false;
    if ((event.revents & POLLOUT) != 0 && !Write(found->second))
        m_clients.erase(found);
    else if ((event.revents & ~POLLOUT) != 0)
        Read(found);
    return true;
}

void ControlServer::Answer(ClientId client, const std::string& line) {
    const auto found = m_clients.find(client);
    if (found == m_clients.end()) return;
    found->second.m_out += line + "\n";
    // A client that cannot be written to shows up as end of file.
    Write(found->second);
}

void ControlServer::TakeClient() {
    bm_dev::UniqueFd socket(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!socket) return;
    if (MayGiveOrders(socket.Get())) {
        m_clients[++m_lastId].m_socket = std::move(socket);
    } else {
        ::send(socket.Get(), Refusal, sizeof(Refusal) - 1, MSG_NOSIGNAL);
    }
}

void ControlServer::Read(Clients::iterator client) {
    std::array<char, 4096> bytes;
    const ssize_t size = ::recv(client->second.m_socket.Get(), bytes.data(), bytes.size(), 0);
    if (size < 0 && IsForLater()) return;
    std::string& in = client->second.m_in;
    if (size > 0) in.append(bytes.data(), static_cast<size_t>(size));
    if (size <= 0 || in.size() > MaxLine) {
        m_clients.erase(client);
        return;
    }
    for (size_t end = 0; (end = in.find('\n')) != std::string::npos;) {
        const std::string line = in.substr(0, end);
        in.erase(0, end + 1);
        m_takeOrder(client->first, line);
    }
}

/// False when the client has gone.
bool ControlServer::Write(Client& client) const {
    const ssize_t size = ::send(client.m_socket.Get(), client.m_out.data(), client.m_out.size(), MSG_NOSIGNAL);
    if (size < 0) return IsForLater();
    client.m_out.erase(0, static_cast<size_t>(size));
    return true;
}

} // namespace bladesim
