// Who is at the other end.
#include "host/http/Peer.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace bmhost;

namespace {

sockaddr_in6 Six(const char* address, uint16_t port = 0) {
    sockaddr_in6 it{};
    it.sin6_family = AF_INET6;
    it.sin6_port = htons(port);
    EXPECT_EQ(inet_pton(AF_INET6, address, &it.sin6_addr), 1);
    return it;
}

std::string TextOf(const sockaddr_in6& address) {
    return AddressText(reinterpret_cast<const sockaddr&>(address));
}

} // namespace

TEST(Peer, AnAddressIsShownAsPeopleWriteIt) {
    sockaddr_in four{};
    four.sin_family = AF_INET;
    four.sin_port = htons(50312);
    ASSERT_EQ(inet_pton(AF_INET, "192.0.2.7", &four.sin_addr), 1);
    const Peer peer = PeerOf(-1, reinterpret_cast<const sockaddr&>(four));
    EXPECT_TRUE(peer.IsRemote());
    EXPECT_EQ(peer.m_address, "192.0.2.7");
    EXPECT_EQ(peer.m_port, 50312);
    EXPECT_EQ(peer.Text(), "192.0.2.7:50312");
    const sockaddr_in6 six = Six("2001:db8::7", 80);
    EXPECT_EQ(PeerOf(-1, reinterpret_cast<const sockaddr&>(six)).Text(), "[2001:db8::7]:80");
}

TEST(Peer, AnAddressOfIpv4IsTheSameAtASocketOfIpv6) {
    EXPECT_EQ(TextOf(Six("::ffff:192.0.2.7")), "192.0.2.7");
}

TEST(Peer, AnAddressOfALinkHasItsLink) {
    sockaddr_in6 address = Six("fe80::1");
    address.sin6_scope_id = 1; // the first interface is always there
    EXPECT_EQ(TextOf(address), "fe80::1%lo");
    address.sin6_scope_id = 999999;
    EXPECT_EQ(TextOf(address), "fe80::1%999999");
}

TEST(Peer, InTheUnixDomainTheKernelSaysWho) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const Peer peer = PeerOf(ends[0], reinterpret_cast<const sockaddr&>(address));
    EXPECT_FALSE(peer.IsRemote());
    EXPECT_EQ(peer.m_process, getpid());
    EXPECT_EQ(peer.m_user, getuid());
    EXPECT_EQ(peer.m_group, getgid());
    EXPECT_EQ(peer.Text(), "uid " + std::to_string(getuid()) + ", process " + std::to_string(getpid()));
    close(ends[0]);
    close(ends[1]);
}

TEST(Peer, WhomTheKernelDoesNotKnowIsNotRoot) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const Peer peer = PeerOf(-1, reinterpret_cast<const sockaddr&>(address));
    EXPECT_NE(peer.m_user, 0U);
    EXPECT_NE(peer.m_group, 0U);
}
