// Who is at the other end of a connection, by what the kernel knows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct sockaddr;

namespace bmhost {

struct Peer {
    /// Of a client at a socket of the Unix domain; these values are nobody's.
    int32_t m_process = 0;
    uint32_t m_user = UINT32_MAX;
    uint32_t m_group = UINT32_MAX;
    /// Of a client at a TCP socket, "192.0.2.7" or "2001:db8::7"; empty in the Unix domain. An IPv4 client of
    /// a socket of IPv6 has its IPv4 address here.
    std::string m_address;
    uint16_t m_port = 0;

    std::size_t m_listener = 0; ///< index of the server's listener
    bool m_secure = false;      ///< whether TLS protects the connection

    bool IsRemote() const { return !m_address.empty(); }
    std::string Text() const; ///< "uid 0, process 4711", "192.0.2.7:50312" or "[2001:db8::7]:50312"
};

/// @param socket   a connected one
/// @param address  of its other end
Peer PeerOf(int socket, const sockaddr& address);
/// As Peer::m_address; empty unless it is one of IP.
std::string AddressText(const sockaddr& address);

} // namespace bmhost
