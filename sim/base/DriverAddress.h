// The addresses of the simulated driver's sockets, the same for those who connect and for the one who listens. They are
// abstract ones, private to the blade's network namespace.
#pragma once

#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace BLADESIM {

/// Takes who opens /dev/ipmi0. Where nobody listens, there is no device.
inline constexpr char g_DriverSocket[] = "bladesim/ipmi0";
/// Takes orders: one line of JSON each, answered by one line of JSON.
inline constexpr char g_ControlSocket[] = "bladesim/control";

struct SOCKET_ADDRESS {
    sockaddr_un m_Address;
    socklen_t m_Length;

    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&m_Address); }
};

template <size_t SIZE>
SOCKET_ADDRESS AbstractAddress(const char (&a_Name)[SIZE]) {
    SOCKET_ADDRESS l_Address{{}, static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + SIZE)};
    l_Address.m_Address.sun_family = AF_UNIX;
    // The first byte of the path stays 0, which makes the name an abstract one.
    std::memcpy(l_Address.m_Address.sun_path + 1, a_Name, SIZE - 1);
    return l_Address;
}

inline SOCKET_ADDRESS DriverAddress() {
    return AbstractAddress(g_DriverSocket);
}

inline SOCKET_ADDRESS ControlAddress() {
    return AbstractAddress(g_ControlSocket);
}

} // namespace BLADESIM
