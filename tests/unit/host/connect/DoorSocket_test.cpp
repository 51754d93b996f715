// A plain connection to a web door on the same machine.
#include "host/connect/DoorSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

/// A port of this machine; connections to it are taken, or refused.
class ListeningPort {
public:
    explicit ListeningPort(int family, bool listens = true) : m_socket(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in6 six{};
        sockaddr_in four{};
        six.sin6_family = AF_INET6;
        six.sin6_addr = in6addr_loopback;
        four.sin_family = AF_INET;
        four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const address =
            family == AF_INET6 ? reinterpret_cast<sockaddr*>(&six) : reinterpret_cast<sockaddr*>(&four);
        socklen_t size = family == AF_INET6 ? sizeof six : sizeof four;
        m_there = bind(m_socket.Get(), address, size) == 0 && (!listens || listen(m_socket.Get(), 1) == 0) &&
                  getsockname(m_socket.Get(), address, &size) == 0;
        m_port = ntohs(family == AF_INET6 ? six.sin6_port : four.sin_port);
    }

    bool IsThere() const { return m_there; }
    std::string Url(const std::string& host) const { return "http://" + host + ":" + std::to_string(m_port); }

private:
    bm_dev::UniqueFd m_socket;
    bool m_there = false;
    uint16_t m_port = 0;
};

TEST(DoorSocket, ReachesTheAddressesOfLoopback) {
    const ListeningPort four(AF_INET);
    ASSERT_TRUE(four.IsThere());
    EXPECT_TRUE(ConnectLoopback(ElsewhereOf(four.Url("127.0.0.1")), DeadlineAfter(std::chrono::seconds(30))));
    EXPECT_TRUE(ConnectLoopback(ElsewhereOf(four.Url("localhost")), {}));
    const ListeningPort six(AF_INET6);
    if (!six.IsThere()) return; // a machine without IPv6
    EXPECT_TRUE(ConnectLoopback(ElsewhereOf(six.Url("[::1]")), {}));
    EXPECT_TRUE(ConnectLoopback(ElsewhereOf(six.Url("localhost")), {})) << "its second address";
}

TEST(DoorSocket, ThatNobodyServesIsUnreachable) {
    const ListeningPort closed(AF_INET, false);
    ASSERT_TRUE(closed.IsThere());
    try {
        ConnectLoopback(ElsewhereOf(closed.Url("127.0.0.1")), {});
        FAIL() << "somebody is there";
    } catch (const Unreachable& error) {
        EXPECT_EQ(closed.Url("127.0.0.1") + ": Connection refused; is bmhost-web running there, and at this port?",
                  std::string(error.what()));
    }
}

} // namespace
