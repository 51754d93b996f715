// The sockets at which the web door is asked.
#include "host/web/Listening.h"

#include "host/http/Peer.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <systemd/sd-daemon.h>
#include <utility>

namespace bmhost {

namespace {

struct SocketAddress {
    sockaddr_storage m_bytes{};
    socklen_t m_size = sizeof(sockaddr_storage);

    sockaddr* Any() { return reinterpret_cast<sockaddr*>(&m_bytes); }
    const sockaddr* Any() const { return reinterpret_cast<const sockaddr*>(&m_bytes); }
};

SocketAddress BytesOf(const ListenAddress& address) {
    SocketAddress bytes;
    auto& four = reinterpret_cast<sockaddr_in&>(bytes.m_bytes);
    auto& six = reinterpret_cast<sockaddr_in6&>(bytes.m_bytes);
    if (inet_pton(AF_INET, address.m_address.c_str(), &four.sin_addr) == 1) {
        four.sin_family = AF_INET;
        four.sin_port = htons(address.m_port);
        bytes.m_size = sizeof four;
    } else {
        inet_pton(AF_INET6, address.m_address.c_str(), &six.sin6_addr);
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(address.m_port);
        bytes.m_size = sizeof six;
    }
    return bytes;
}

ListenAddress AddressOf(int socket) {
    SocketAddress bytes;
    if (getsockname(socket, bytes.Any(), &bytes.m_size) != 0) throw std::runtime_error(strerror(errno));
    ListenAddress address{AddressText(*bytes.Any()), 0};
    if (address.m_address.empty()) throw std::runtime_error("it is no socket of TCP");
    address.m_port = bytes.m_bytes.ss_family == AF_INET
                         ? ntohs(reinterpret_cast<const sockaddr_in&>(bytes.m_bytes).sin_port)
                         : ntohs(reinterpret_cast<const sockaddr_in6&>(bytes.m_bytes).sin6_port);
    return address;
}

} // namespace

ListeningSocket ListenAt(const ListenAddress& address) {
    const SocketAddress bytes = BytesOf(address);
    bm_dev::UniqueFd descriptor(
        socket(bytes.m_bytes.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP));
    const int on = 1;
    const bool six = bytes.m_bytes.ss_family == AF_INET6;
    if (descriptor.Get() < 0 || setsockopt(descriptor.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        // One for each family is asked for by two addresses.
        (six && setsockopt(descriptor.Get(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on) != 0) ||
        bind(descriptor.Get(), bytes.Any(), bytes.m_size) != 0 || listen(descriptor.Get(), SOMAXCONN) != 0)
        throw std::runtime_error("nobody can be served at " + address.Text() + ": " + strerror(errno));
    const ListenAddress own = AddressOf(descriptor.Get());
    return {own, std::move(descriptor)};
}

std::vector<ListeningSocket> ListeningSocketsOfServiceManager() {
    std::vector<ListeningSocket> sockets;
    const int count = sd_listen_fds(1);
    for (int number = 0; number < count; ++number) {
        const int descriptor = SD_LISTEN_FDS_START + number;
        try {
            bm_dev::UniqueFd owned(descriptor);
            fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
            ListenAddress address = AddressOf(descriptor);
            sockets.push_back({std::move(address), std::move(owned)});
        } catch (const std::runtime_error& error) {
            throw std::runtime_error("the service manager's socket " + std::to_string(number + 1) +
                                     " cannot be served at: " + error.what());
        }
    }
    return sockets;
}

} // namespace bmhost
