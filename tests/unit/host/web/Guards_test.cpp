// What a request says of host and origin: names that lead here, and pages from elsewhere that ask.
#include "host/web/Guards.h"

#include "host/words/Error.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

const ListenAddress Loopback{"127.0.0.1", 18080};
const ListenAddress Loopback6{"::1", 18080};
const ListenAddress Outside{"192.0.2.7", 443};
const ListenAddress Outside6{"2001:db8::7", 443};
const ListenAddress Everywhere{"0.0.0.0", 8443};

Request RequestWith(Headers headers, bool secure) {
    Request request;
    request.m_headers = std::move(headers);
    request.m_peer.m_secure = secure;
    return request;
}

// 0: it passes.
unsigned StatusOf(const ListenAddress& listen, const Headers& headers) {
    try {
        HostNames(listen, {"Blade.example"}).Check(RequestWith(headers, !listen.IsLoopback()));
    } catch (const Refusal& refusal) {
        return refusal.m_status;
    }
    return 0;
}

struct HostCase {
    const char* m_what;
    ListenAddress m_listen;
    const char* m_host;
    unsigned m_status;
};

const HostCase HostCases[] = {
    {"its own name", Loopback, "localhost:18080", 0},
    {"in capitals", Loopback, "LOCALHOST:18080", 0},
    {"another port, as by a tunnel", Loopback, "localhost:9", 0},
    {"without a port", Loopback, "127.0.0.1", 0},
    {"IPv6", Loopback, "[::1]:18080", 0},
    {"IPv6 in a long spelling", Loopback6, "[0:0:0:0:0:0:0:1]:18080", 0},
    {"--server-name", Loopback, "blade.example:18080", 0},
    {"a name that was made to lead here", Loopback, "attacker.example:18080", 421},
    {"one that begins like its own", Loopback, "localhost.attacker.example:18080", 421},
    {"one that ends like its own", Loopback, "xlocalhost:18080", 421},
    {"one with a user before it", Loopback, "localhost@attacker.example", 421},
    {"another address", Loopback, "192.0.2.7:18080", 421},
    {"nothing", Loopback, "", 400},
    {"only a port", Loopback, ":18080", 400},
    {"no number for a port", Loopback, "localhost:80x", 400},
    {"an empty port", Loopback, "localhost:", 400},
    {"no end of an address", Loopback, "[::1", 400},
    {"something after it", Loopback, "[::1]x", 400},
    {"its address", Outside, "192.0.2.7", 0},
    {"its name", Outside, "blade.example", 0},
    {"loopback's name elsewhere", Outside, "localhost", 421},
    {"its address of IPv6", Outside6, "[2001:DB8::7]", 0},
    {"an address without brackets", Outside6, "2001:db8::7", 400},
    {"any of its addresses", Everywhere, "192.0.2.99:8443", 0},
    {"any of IPv6", Everywhere, "[2001:db8::9]:8443", 0},
    {"loopback", Everywhere, "localhost:8443", 0},
    {"no name but its own", Everywhere, "attacker.example:8443", 421},
    {"no number that a browser takes for an address", Everywhere, "3221225991:8443", 421},
};

TEST(Guards, OnlyNamesOfThisServerAreAnswered) {
    for (const HostCase& each : HostCases)
        EXPECT_EQ(StatusOf(each.m_listen, {{"Host", each.m_host}}), each.m_status) << each.m_what;
}

TEST(Guards, OneHostIsNamedNeitherNoneNorTwo) {
    EXPECT_EQ(StatusOf(Loopback, {}), 400U);
    EXPECT_EQ(StatusOf(Loopback, {{"Host", "localhost"}, {"host", "localhost"}}), 400U);
}

struct OriginCase {
    const char* m_what;
    ListenAddress m_listen;
    const char* m_host;
    const char* m_origin;
    unsigned m_status;
};

const OriginCase OriginCases[] = {
    {"its own page", Loopback, "localhost:18080", "http://localhost:18080", 0},
    {"in capitals", Loopback, "localhost:18080", "http://LOCALHOST:18080", 0},
    {"a page of another program of this machine", Loopback, "localhost:18080", "http://localhost:3000", 403},
    {"a page at another name of it", Loopback, "localhost:18080", "http://127.0.0.1:18080", 403},
    {"a page from elsewhere", Loopback, "localhost:18080", "https://attacker.example", 403},
    {"a page without an origin", Loopback, "localhost:18080", "null", 403},
    {"nothing", Loopback, "localhost:18080", "", 403},
    {"TLS where there is none", Loopback, "localhost:18080", "https://localhost:18080", 403},
    {"its own page by TLS", Outside, "blade.example", "https://blade.example", 0},
    {"the usual port", Outside, "blade.example", "https://blade.example:443", 0},
    {"the usual port in the host", Outside, "blade.example:443", "https://blade.example", 0},
    {"plain where there is TLS", Outside, "blade.example", "http://blade.example", 403},
    {"one that begins like its own", Outside, "blade.example", "https://blade.example.attacker.example", 403},
    {"a user before it", Outside, "blade.example", "https://blade.example@attacker.example", 403},
    {"another scheme", Outside, "blade.example", "ftp://blade.example", 403},
};

TEST(Guards, NoPageFromElsewhereIsAnswered) {
    for (const OriginCase& each : OriginCases)
        EXPECT_EQ(StatusOf(each.m_listen, {{"Host", each.m_host}, {"Origin", each.m_origin}}), each.m_status)
            << each.m_what;
}

TEST(Guards, OfTwoOriginsBothAreLookedAt) {
    EXPECT_EQ(StatusOf(Loopback, {{"Host", "localhost"}, {"Origin", "http://localhost"}, {"Origin", "http://x"}}),
              403U);
}

TEST(ListenAddress, IsAnAddressAndAPort) {
    EXPECT_EQ(ListenAddressOf("127.0.0.1:18080").Text(), "127.0.0.1:18080");
    EXPECT_EQ(ListenAddressOf("[0:0::1]:443").Text(), "[::1]:443");
    for (const char* const wrong :
         {"", "18080", "localhost:80", "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:65536", "127.0.0.1:-1",
          "::1:80", "[::1]", "[127.0.0.1]:80", "[::1]:8 0"})
        EXPECT_THROW(ListenAddressOf(wrong), UsageError) << wrong;
}

TEST(ListenAddress, KnowsLoopback) {
    EXPECT_TRUE(ListenAddressOf("127.0.0.1:1").IsLoopback());
    EXPECT_TRUE(ListenAddressOf("127.9.9.9:1").IsLoopback());
    EXPECT_TRUE(ListenAddressOf("[::1]:1").IsLoopback());
    for (const char* const other : {"0.0.0.0:1", "[::]:1", "192.0.2.7:1", "[::2]:1", "[2001:db8::1]:1"})
        EXPECT_FALSE(ListenAddressOf(other).IsLoopback()) << other;
}

} // namespace
