// TLS for a process that speaks none: its bytes go through here.
#include "host/connect/tls/Tunnel.h"

#include "host/connect/HelperWords.h"
#include "host/connect/tls/CertificateFault.h"

#include "bm_dev/UniqueFd.h"

#include <gnutls/gnutls.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace bmhost {

namespace {

using bm_dev::UniqueFd;

constexpr char Priorities[] = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2";

/// What ends it, and which word tells that.
class TunnelFault : public std::runtime_error {
public:
    TunnelFault(const char* word, const std::string& text) : std::runtime_error(text), m_word(word) {}
    const char* Word() const { return m_word; }

private:
    const char* m_word;
};

using Credentials = std::unique_ptr<gnutls_certificate_credentials_st, void (*)(gnutls_certificate_credentials_t)>;
using TlsSession = std::unique_ptr<gnutls_session_int, void (*)(gnutls_session_t)>;

void Must(int result) {
    if (result < 0) throw TunnelFault(HelperUntrusted, gnutls_strerror(result));
}

Credentials Trusted(const std::string& file) {
    gnutls_certificate_credentials_t made = nullptr;
    Must(gnutls_certificate_allocate_credentials(&made));
    Credentials trusted(made, gnutls_certificate_free_credentials);
    if (file.empty()) {
        Must(gnutls_certificate_set_x509_system_trust(made));
        return trusted;
    }
    const auto refuse = [&file](const std::string& reason) {
        throw TunnelFault(HelperUsage, "--tls-ca " + file + ": " + reason);
    };
    const UniqueFd readable(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!readable) refuse(strerror(errno));
    const int count = gnutls_certificate_set_x509_trust_file(made, file.c_str(), GNUTLS_X509_FMT_PEM);
    if (count <= 0) refuse("there is no certificate in it, in PEM");
    return trusted;
}

UniqueFd ConnectedTo(const TunnelEnds& ends) {
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int unknown = getaddrinfo(ends.m_host.c_str(), ends.m_port.c_str(), &wanted, &found);
    if (unknown != 0)
        throw TunnelFault(HelperUnreachable, std::string("there is no such host: ") + gai_strerror(unknown));
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> all(found, freeaddrinfo);
    int reason = 0;
    for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
        UniqueFd tried(socket(each->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (tried && connect(tried.Get(), each->ai_addr, each->ai_addrlen) == 0) return tried;
        if (reason == 0) reason = errno;
    }
    throw TunnelFault(HelperUnreachable,
                      std::string(strerror(reason)) +
                          (reason == ECONNREFUSED ? "; is bmhost-web running there, and at this port?" : ""));
}

bool IsAddress(const std::string& host) {
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    return inet_pton(AF_INET, host.c_str(), bytes.data()) == 1 || inet_pton(AF_INET6, host.c_str(), bytes.data()) == 1;
}

TlsSession NewSession(const TunnelEnds& ends, const Credentials& trusted, int socket) {
    gnutls_session_t made = nullptr;
    Must(gnutls_init(&made, GNUTLS_CLIENT | GNUTLS_NO_SIGNAL));
    TlsSession session(made, gnutls_deinit);
    Must(gnutls_priority_set_direct(made, Priorities, nullptr));
    Must(gnutls_credentials_set(made, GNUTLS_CRD_CERTIFICATE, trusted.get()));
    if (!IsAddress(ends.m_host))
        Must(gnutls_server_name_set(made, GNUTLS_NAME_DNS, ends.m_host.data(), ends.m_host.size()));
    gnutls_session_set_verify_cert(made, ends.m_host.c_str(), 0);
    gnutls_transport_set_int(made, socket);
    gnutls_handshake_set_timeout(made, GNUTLS_DEFAULT_HANDSHAKE_TIMEOUT);
    return session;
}

// The name is part of what is verified.
void ShakeHands(gnutls_session_t session, const std::string& host) {
    int result = 0;
    while ((result = gnutls_handshake(session)) < 0 && gnutls_error_is_fatal(result) == 0) {
    }
    if (result >= 0) return;
    if (result == GNUTLS_E_CERTIFICATE_VERIFICATION_ERROR)
        throw TunnelFault(HelperUntrusted, CertificateFault(gnutls_session_get_verify_cert_status(session), host));
    const std::string reason = gnutls_strerror(result);
    if (result == GNUTLS_E_PREMATURE_TERMINATION || result == GNUTLS_E_PULL_ERROR || result == GNUTLS_E_PUSH_ERROR ||
        result == GNUTLS_E_TIMEDOUT)
        throw TunnelFault(HelperUnreachable, "the connection broke before it was secure (" + reason + ")");
    throw TunnelFault(HelperUntrusted, "it speaks no TLS 1.2 or 1.3 (" + reason + ")");
}

/// Bytes on their way in one direction.
class Way {
public:
    char* Room() { return m_bytes.data(); }
    std::size_t Size() const { return m_bytes.size(); }
    void Filled(std::size_t count) {
        m_begin = 0;
        m_end = count;
    }
    bool IsEmpty() const { return m_begin == m_end; }
    const char* Rest() const { return m_bytes.data() + m_begin; }
    std::size_t Left() const { return m_end - m_begin; }
    void Taken(std::size_t count) { m_begin += count; }

private:
    std::array<char, 16384> m_bytes{};
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

/// Copies; neither direction waits for the other, since an answer may come before the request is whole.
class Copier {
public:
    Copier(gnutls_session_t session, int network, int socket)
        : m_session(session),
          m_network(network),
          m_socket(socket) {}

    /// Until one side has ended. Throws TunnelFault when the other one did not end it as TLS wants it.
    void Run() {
        for (;;) {
            bool moved = FromNetwork();
            moved = ToSocket() || moved;
            if (m_ended && m_down.IsEmpty()) return;
            moved = FromSocket() || moved;
            if (m_done) break;
            moved = ToNetwork() || moved;
            if (!moved) Wait();
        }
        gnutls_bye(m_session, GNUTLS_SHUT_WR);
    }

private:
    static bool IsWaiting(ssize_t result) { return result == GNUTLS_E_AGAIN || result == GNUTLS_E_INTERRUPTED; }

    bool FromNetwork() {
        if (m_ended || !m_down.IsEmpty()) return false;
        const ssize_t got = gnutls_record_recv(m_session, m_down.Room(), m_down.Size());
        if (IsWaiting(got)) return false;
        if (got < 0) {
            throw TunnelFault(HelperUnreachable,
                              std::string("the connection broke (") + gnutls_strerror(static_cast<int>(got)) + ")");
        }
        m_ended = got == 0;
        m_down.Filled(static_cast<std::size_t>(got));
        return true;
    }
    bool ToSocket() {
        if (m_down.IsEmpty()) return false;
        const ssize_t sent = send(m_socket, m_down.Rest(), m_down.Left(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EAGAIN && errno != EINTR) m_done = true;
        if (sent <= 0) return false;
        m_down.Taken(static_cast<std::size_t>(sent));
        return true;
    }
    bool FromSocket() {
        if (!m_up.IsEmpty()) return false;
        const ssize_t got = recv(m_socket, m_up.Room(), m_up.Size(), 0);
        if (got < 0 && (errno == EAGAIN || errno == EINTR)) return false;
        if (got <= 0) m_done = true;
        m_up.Filled(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        return got > 0;
    }
    // Who takes no more may have answered, which is still to be read.
    bool ToNetwork() {
        if (m_up.IsEmpty() || m_deaf) return false;
        const ssize_t sent = gnutls_record_send(m_session, m_up.Rest(), m_up.Left());
        if (IsWaiting(sent)) return false;
        m_deaf = sent < 0;
        if (!m_deaf) m_up.Taken(static_cast<std::size_t>(sent));
        return !m_deaf;
    }
    void Wait() {
        const auto events = [](bool reads, bool writes) {
            return static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0));
        };
        const short network = events(m_down.IsEmpty() && !m_ended, !m_up.IsEmpty() && !m_deaf);
        // Its end is nothing to wake up for as long as nothing is wanted of it.
        std::array wanted = {pollfd{m_socket, events(m_up.IsEmpty(), !m_down.IsEmpty()), 0},
                             pollfd{network != 0 ? m_network : -1, network, 0}};
        if (poll(wanted.data(), wanted.size(), -1) > 0 && (wanted[0].revents & (POLLHUP | POLLERR)) != 0) m_done = true;
    }

    gnutls_session_t m_session;
    int m_network;
    int m_socket;
    Way m_up;
    Way m_down;
    bool m_ended = false; ///< the other side
    bool m_deaf = false;  ///< it takes nothing more
    bool m_done = false;  ///< the process that is served
};

void Tell(int lines, const char* word, const std::string& text = "") {
    const std::string line = std::string(word) + (text.empty() ? "" : " ") + text + "\n";
    const ssize_t written = write(lines, line.data(), line.size());
    static_cast<void>(written); // who does not read it any more has ended
}

} // namespace

int RunTunnel(const TunnelEnds& ends) {
    try {
        const Credentials trusted = Trusted(ends.m_trusted);
        const UniqueFd network = ConnectedTo(ends);
        const int now = 1;
        setsockopt(network.Get(), IPPROTO_TCP, TCP_NODELAY, &now, sizeof now);
        const TlsSession session = NewSession(ends, trusted, network.Get());
        ShakeHands(session.get(), ends.m_host);
        for (const int descriptor : {network.Get(), ends.m_socket})
            fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
        Tell(ends.m_lines, HelperReady);
        Copier(session.get(), network.Get(), ends.m_socket).Run();
        Tell(ends.m_lines, HelperEnded);
        return EXIT_SUCCESS;
    } catch (const TunnelFault& fault) {
        Tell(ends.m_lines, fault.Word(), fault.what());
    }
    return EXIT_FAILURE;
}

} // namespace bmhost
