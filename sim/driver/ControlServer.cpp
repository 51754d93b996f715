// Takes orders from bladesim commands that run in the blade: lines of text on a Unix socket, answered by lines.
#include "sim/driver/ControlServer.h"

#include "sim/base/DriverAddress.h"
#include "sim/base/Error.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace BLADESIM {
namespace {

// No order comes near it.
constexpr size_t g_MaxLine = 64 * 1024;

constexpr char g_Refusal[] = "{\"error\":\"only the blade's user and root may give it orders\"}\n";

bool IsForLater() {
    return errno == EAGAIN || errno == EINTR;
}

/// The address is free to everybody in the blade's network, whatever user he is.
bool MayGiveOrders(int a_Client) {
    ucred l_Peer{};
    socklen_t l_Size = sizeof(l_Peer);
    if (::getsockopt(a_Client, SOL_SOCKET, SO_PEERCRED, &l_Peer, &l_Size) != 0) return false;
    if (l_Peer.uid == ::geteuid() || l_Peer.uid == 0) return true;
    std::fprintf(stderr, "bladesim: refused the orders of process %d of user %u: this is the blade of user %u\n",
                 l_Peer.pid, l_Peer.uid, ::geteuid());
    return false;
}

} // namespace

UNIQUE_FD ListenForOrders() {
    UNIQUE_FD l_Listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!l_Listener) ThrowErrno("no socket for orders");
    const SOCKET_ADDRESS l_Address = ControlAddress();
    if (::bind(l_Listener.Get(), l_Address.Get(), l_Address.m_Length) != 0 ||
        ::listen(l_Listener.Get(), SOMAXCONN) != 0) {
        ThrowErrno("the socket for orders cannot be bound");
    }
    return l_Listener;
}

CONTROL_SERVER::CONTROL_SERVER(UNIQUE_FD a_Listener, TAKE_ORDER a_TakeOrder)
    : m_Listener(std::move(a_Listener)),
      m_TakeOrder(std::move(a_TakeOrder)) {}

void CONTROL_SERVER::AddEvents(std::vector<pollfd>& a_Events) const {
    a_Events.push_back({m_Listener.Get(), POLLIN, 0});
    for (const auto& l_Client : m_Clients) {
        const short l_Wanted = l_Client.second.m_Out.empty() ? POLLIN : POLLIN | POLLOUT;
        a_Events.push_back({l_Client.second.m_Socket.Get(), l_Wanted, 0});
    }
}

bool CONTROL_SERVER::Handle(const pollfd& a_Event) {
    if (a_Event.fd == m_Listener.Get()) {
        TakeClient();
        return true;
    }
    const auto l_Found = std::find_if(m_Clients.begin(), m_Clients.end(), [&](const auto& a_Client) {
        return a_Client.second.m_Socket.Get() == a_Event.fd;
    });
    if (l_Found == m_Clients.end()) return false;
    if ((a_Event.revents & POLLOUT) != 0 && !Write(l_Found->second))
        m_Clients.erase(l_Found);
    else if ((a_Event.revents & ~POLLOUT) != 0)
        Read(l_Found);
    return true;
}

void CONTROL_SERVER::Answer(CLIENT_ID a_Client, const std::string& a_Line) {
    const auto l_Found = m_Clients.find(a_Client);
    if (l_Found == m_Clients.end()) return;
    l_Found->second.m_Out += a_Line + "\n";
    // A client that cannot be written to is noticed by its end of file.
    Write(l_Found->second);
}

void CONTROL_SERVER::TakeClient() {
    UNIQUE_FD l_Socket(::accept4(m_Listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!l_Socket) return;
    if (MayGiveOrders(l_Socket.Get())) {
        m_Clients[++m_LastId].m_Socket = std::move(l_Socket);
    } else {
        ::send(l_Socket.Get(), g_Refusal, sizeof(g_Refusal) - 1, MSG_NOSIGNAL);
    }
}

void CONTROL_SERVER::Read(CLIENTS::iterator a_Client) {
    std::array<char, 4096> l_Bytes;
    const ssize_t l_Size = ::recv(a_Client->second.m_Socket.Get(), l_Bytes.data(), l_Bytes.size(), 0);
    if (l_Size < 0 && IsForLater()) return;
    std::string& l_In = a_Client->second.m_In;
    if (l_Size > 0) l_In.append(l_Bytes.data(), static_cast<size_t>(l_Size));
    if (l_Size <= 0 || l_In.size() > g_MaxLine) {
        m_Clients.erase(a_Client);
        return;
    }
    for (size_t l_End = 0; (l_End = l_In.find('\n')) != std::string::npos;) {
        const std::string l_Line = l_In.substr(0, l_End);
        l_In.erase(0, l_End + 1);
        m_TakeOrder(a_Client->first, l_Line);
    }
}

/// False when the client has gone.
bool CONTROL_SERVER::Write(CLIENT& a_Client) const {
    const ssize_t l_Size = ::send(a_Client.m_Socket.Get(), a_Client.m_Out.data(), a_Client.m_Out.size(), MSG_NOSIGNAL);
    if (l_Size < 0) return IsForLater();
    a_Client.m_Out.erase(0, static_cast<size_t>(l_Size));
    return true;
}

} // namespace BLADESIM
