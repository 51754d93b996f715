// How sockets are made: those of the blade's own parts, and connections to ipmi_sim's ports.
#include "sim/base/Sockets.h"

#include "sim/base/Error.h"

#include <arpa/inet.h>
#include <netinet/in.h>

namespace bladesim {
namespace {

bm_dev::UniqueFd Connect(const sockaddr* address, socklen_t length, const std::string& purpose) {
    bm_dev::UniqueFd socket(::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket) ThrowErrno("no socket " + purpose);
    if (::connect(socket.Get(), address, length) != 0) socket.Reset();
    return socket;
}

} // namespace

bm_dev::UniqueFd ListenAt(const SocketAddress& address, int type, const std::string& what) {
    bm_dev::UniqueFd listener(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!listener) ThrowErrno("no socket for " + what);
    if (::bind(listener.Get(), address.Get(), address.m_length) != 0 || ::listen(listener.Get(), SOMAXCONN) != 0) {
        ThrowErrno("the socket for " + what + " cannot be bound");
    }
    return listener;
}

bm_dev::UniqueFd ConnectTo(const SocketAddress& address, const std::string& purpose) {
    return Connect(address.Get(), address.m_length, purpose);
}

bm_dev::UniqueFd ConnectToPort(uint16_t port, const std::string& purpose) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return Connect(reinterpret_cast<const sockaddr*>(&address), sizeof(address), purpose);
}

} // namespace bladesim
