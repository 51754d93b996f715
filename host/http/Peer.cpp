// Who is at the other end of a connection, by what the kernel knows.
#include "host/http/Peer.h"

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace bmhost {

namespace {

template <typename Address>
Address As(const sockaddr& address) {
    Address it{};
    std::memcpy(&it, &address, sizeof(it));
    return it;
}

std::string TextOf(const in_addr& address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, &address, text.data(), text.size()) != nullptr ? text.data() : "";
}

std::string TextOf(const sockaddr_in6& address) {
    const in6_addr& bytes = address.sin6_addr;
    if (IN6_IS_ADDR_V4MAPPED(&bytes)) {
        in_addr last{};
        std::memcpy(&last, &bytes.s6_addr[sizeof(bytes) - sizeof(last)], sizeof(last));
        return TextOf(last);
    }
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (inet_ntop(AF_INET6, &bytes, text.data(), text.size()) == nullptr) return "";
    if (!IN6_IS_ADDR_LINKLOCAL(&bytes)) return text.data();
    // Two links may have the same address.
    std::array<char, IF_NAMESIZE> link{};
    const char* name = if_indextoname(address.sin6_scope_id, link.data());
    return std::string(text.data()) + "%" + (name != nullptr ? name : std::to_string(address.sin6_scope_id));
}

} // namespace

std::string Peer::Text() const {
    if (!IsRemote()) return "uid " + std::to_string(m_user) + ", process " + std::to_string(m_process);
    const bool colons = m_address.find(':') != std::string::npos;
    return (colons ? "[" + m_address + "]" : m_address) + ":" + std::to_string(m_port);
}

std::string AddressText(const sockaddr& address) {
    if (address.sa_family == AF_INET) return TextOf(As<sockaddr_in>(address).sin_addr);
    if (address.sa_family == AF_INET6) return TextOf(As<sockaddr_in6>(address));
    return "";
}

Peer PeerOf(int socket, const sockaddr& address) {
    Peer peer;
    peer.m_address = AddressText(address);
    if (address.sa_family == AF_INET) peer.m_port = ntohs(As<sockaddr_in>(address).sin_port);
    if (address.sa_family == AF_INET6) peer.m_port = ntohs(As<sockaddr_in6>(address).sin6_port);
    if (peer.IsRemote()) return peer;
    ucred credentials{};
    socklen_t size = sizeof(credentials);
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return peer;
    peer.m_process = credentials.pid;
    peer.m_user = credentials.uid;
    peer.m_group = credentials.gid;
    return peer;
}

} // namespace bmhost
