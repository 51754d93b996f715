// A connection to the web door of a blade elsewhere.
#include "host/connect/DoorSocket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <vector>

namespace bmhost {

namespace {

using bm_dev::UniqueFd;

int ConnectTo(const UniqueFd& tried, const sockaddr* address, socklen_t size, const Deadline& deadline) {
    if (connect(tried.Get(), address, size) == 0) return 0;
    if (errno != EINPROGRESS && errno != EINTR) return errno;
    WaitFor(tried.Get(), POLLOUT, deadline);
    int error = 0;
    socklen_t length = sizeof error;
    return getsockopt(tried.Get(), SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

int ConnectTo(UniqueFd& tried, const std::string& address, uint16_t port, const Deadline& deadline) {
    const bool six = address.find(':') != std::string::npos;
    tried = UniqueFd(socket(six ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!tried) return errno;
    if (six) {
        sockaddr_in6 to{};
        to.sin6_family = AF_INET6;
        to.sin6_port = htons(port);
        inet_pton(AF_INET6, address.c_str(), &to.sin6_addr);
        return ConnectTo(tried, reinterpret_cast<const sockaddr*>(&to), sizeof to, deadline);
    }
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &to.sin_addr);
    return ConnectTo(tried, reinterpret_cast<const sockaddr*>(&to), sizeof to, deadline);
}

} // namespace

UniqueFd ConnectLoopback(const Elsewhere& place, const Deadline& deadline) {
    const std::vector<std::string> addresses =
        place.m_host == "localhost" ? std::vector<std::string>{"127.0.0.1", "::1"} : std::vector{place.m_host};
    int reason = 0;
    for (const std::string& address : addresses) {
        UniqueFd tried;
        const int error = ConnectTo(tried, address, place.m_port, deadline);
        if (error == 0) return tried;
        if (reason == 0) reason = error;
    }
    throw Unreachable(place.Url() + ": " + std::generic_category().message(reason) +
                      (reason == ECONNREFUSED ? "; is bmhost-web running there, and at this port?" : ""));
}

} // namespace bmhost
