// Sockets: clients reach a listener, and errors name the purpose.
#include "sim/base/Sockets.h"

#include "sim/base/Error.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>

#include <array>
#include <cstdio>

using namespace bladesim;
using testing::StartsWith;

namespace {

/// Abstract names are shared by the whole machine, so no two programs may use the same.
SocketAddress OwnAddress() {
    char name[40] = {};
    std::snprintf(name, sizeof(name), "bladesim-test/%d", static_cast<int>(::getpid()));
    return AbstractAddress(name);
}

/// A port that has a listener while `listener` is open.
uint16_t OpenPort(const bm_dev::UniqueFd& listener) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    EXPECT_EQ(::bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), length), 0);
    EXPECT_EQ(::listen(listener.Get(), 1), 0);
    EXPECT_EQ(::getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&address), &length), 0);
    return ntohs(address.sin_port);
}

} // namespace

TEST(Sockets, TakeAConnectionAtTheirAddress) {
    const bm_dev::UniqueFd listener = ListenAt(OwnAddress(), SOCK_STREAM, "tests");
    const bm_dev::UniqueFd client = ConnectTo(OwnAddress(), "to the test");
    ASSERT_TRUE(client);
    const bm_dev::UniqueFd server(::accept(listener.Get(), nullptr, nullptr));
    ASSERT_EQ(::send(client.Get(), "x", 1, 0), 1);
    char byte = 0;
    ASSERT_EQ(::recv(server.Get(), &byte, 1, 0), 1);
    EXPECT_EQ(byte, 'x');
}

TEST(Sockets, DoNotWaitForAConnectionThatDoesNotCome) {
    const bm_dev::UniqueFd listener = ListenAt(OwnAddress(), SOCK_SEQPACKET, "tests");
    EXPECT_EQ(::accept(listener.Get(), nullptr, nullptr), -1);
    EXPECT_EQ(errno, EAGAIN);
}

TEST(Sockets, GiveNoConnectionWhereNobodyListens) {
    EXPECT_FALSE(ConnectTo(OwnAddress(), "to the test"));
    EXPECT_EQ(errno, ECONNREFUSED);
}

TEST(Sockets, SayWhatTheAddressWasForWhenItIsTaken) {
    const bm_dev::UniqueFd listener = ListenAt(OwnAddress(), SOCK_STREAM, "tests");
    try {
        ListenAt(OwnAddress(), SOCK_STREAM, "more tests");
        FAIL() << "the address is taken";
    } catch (const BladeError& error) {
        EXPECT_THAT(error.what(), StartsWith("the socket for more tests cannot be bound: "));
    }
}

TEST(Sockets, ReachAPortOfTheLoopbackInterface) {
    bm_dev::UniqueFd listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const uint16_t port = OpenPort(listener);
    EXPECT_TRUE(ConnectToPort(port, "to the test"));
    listener.Reset();
    EXPECT_FALSE(ConnectToPort(port, "to the test"));
}
