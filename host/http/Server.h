// An HTTP/1.1 server for whoever implements HttpService, at sockets of the Unix domain and of TCP, with TLS or without.
#pragma once

#include "host/http/Limits.h"
#include "host/http/Service.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bmhost {

/// Both in PEM.
struct Tls {
    std::string m_certificate; ///< the server's own one first, then those that it is signed by
    std::string m_key;         ///< without a password
};

struct Listener {
    int m_descriptor = -1;      ///< listens; it stays the caller's
    std::optional<Tls> m_tls{}; ///< none: clients speak HTTP as it is
};

struct HttpCounts {
    uint64_t m_connections = 0;
    uint64_t m_streams = 0;
};

/// Serves on one thread, however many clients there are: whoever waits for an answer costs a connection. The service
/// may answer late, never, or after the server's end.
class HttpServer {
public:
    /// @param service  outlives the server
    /// Throws std::runtime_error when the server cannot begin: a descriptor does not listen, a certificate or key is
    /// none, or they do not belong together.
    HttpServer(const std::vector<Listener>& listeners, HttpService& service, const HttpLimits& limits = {});
    /// Whoever still waits is answered with 503.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Serves on the calling thread until Stop, and then answers whoever still waits with 503.
    /// @param eachTurn  called at least once a second
    void Run(const std::function<void()>& eachTurn);
    /// On any thread; before Run too, which then returns at once.
    void Stop();
    /// Streams look for news. On any thread.
    void WakeStreams();
    /// How many clients are connected, and how many of them read streams. On the server's thread.
    HttpCounts Counts() const;

    /// Clients that connect from now on get this certificate; the others keep theirs. On the server's thread, or
    /// before Run. Throws std::runtime_error, and nothing has changed, when it is none.
    void SetTls(std::size_t listener, const Tls& tls);

private:
    class Loop;
    std::unique_ptr<Loop> m_loop;
};

} // namespace bmhost
