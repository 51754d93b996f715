// The addresses of the simulated driver's sockets, for listener and clients. They are abstract: private to the blade's
// network namespace.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace bladesim {

/// Every connection is an open /dev/ipmi0. When nobody listens there is no device.
inline constexpr char DriverSocket[] = "bladesim/ipmi0";
/// Bound in a blade whose /dev/ipmi0 may not be opened. It is a datagram socket, which clients can find without being
/// accepted.
inline constexpr char DeniedSocket[] = "bladesim/ipmi0-denied";
/// Every connection is an open file of the PCI driver, where the file is made by the preload library.
inline constexpr char DriverFileSocket[] = "bladesim/pstn.cfg";
/// Takes orders: a line of JSON each, answered by a line of JSON.
inline constexpr char ControlSocket[] = "bladesim/control";

struct SocketAddress {
    sockaddr_un m_address;
    socklen_t m_length;

    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&m_address); }
};

template <size_t Size>
SocketAddress AbstractAddress(const char (&name)[Size]) {
    SocketAddress address{{}, static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + Size)};
    address.m_address.sun_family = AF_UNIX;
    // The first byte of the path stays 0, which makes the name abstract.
    std::memcpy(address.m_address.sun_path + 1, name, Size - 1);
    return address;
}

inline SocketAddress DriverAddress() {
    return AbstractAddress(DriverSocket);
}

inline SocketAddress DeniedAddress() {
    return AbstractAddress(DeniedSocket);
}

inline SocketAddress DriverFileAddress() {
    return AbstractAddress(DriverFileSocket);
}

inline SocketAddress ControlAddress() {
    return AbstractAddress(ControlSocket);
}

/// Whether a descriptor is a connection to the listener of this address, inherited ones and copies included. Keeps
/// errno.
inline bool IsConnectedTo(int fd, const SocketAddress& address) {
    const int error = errno;
    sockaddr_un peer{};
    socklen_t length = sizeof(peer);
    const bool connected = ::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) == 0;
    errno = error;
    return connected && length == address.m_length && std::memcmp(&peer, &address.m_address, length) == 0;
}

} // namespace bladesim
