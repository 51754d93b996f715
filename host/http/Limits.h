// What a server takes before it says no.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace bmhost {

struct HttpLimits {
    /// Clients that are connected at once, at all listeners together. A few more are answered with 503; the others wait
    /// until they are accepted, or are closed where there are several listeners.
    unsigned m_connections = 128;
    /// Of these, those of one TCP address, at all listeners together; more are closed at once. 0: no limit.
    unsigned m_connectionsOfAddress = 0;
    /// Of the connections, readers of events.
    unsigned m_eventReaders = 32;
    /// Tickets that are neither answered nor dropped, those of clients that have gone included.
    unsigned m_asked = 64;
    /// The memory of a connection, in bytes: request line and headers must fit in it, with room to spare.
    std::size_t m_headerMemory = 32 * 1024;
    /// A refused request's body, in bytes, is read to its end up to this size; a larger one costs the connection.
    std::size_t m_bodySize = 64 * 1024;
    /// From the connection or the last answer until a request has come whole, and between two pieces for a sink. The
    /// handshake of TLS counts.
    std::chrono::milliseconds m_idleTime{60'000};
    /// Within this time a client takes an answer, a reader of events the next piece.
    std::chrono::milliseconds m_answerTime{30'000};
};

} // namespace bmhost
