// Server-Sent Events from the resident host: read with deadlines, and taken up again where the stream breaks.
#pragma once

#include "host/client/HostSocket.h"
#include "host/client/HttpWire.h"

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace bmhost {

/// The resident host that was asked before is gone; the text says which.
class HostGoneError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The lines of such a stream, from pieces that may be cut anywhere.
class EventLines {
public:
    /// Throws std::runtime_error for a line that is longer than any may be, and for an id that is no number.
    void Take(std::string_view bytes);
    /// The oldest event not yet taken.
    std::optional<HostClient::ServerEvent> Next();

private:
    void Line(std::string_view line);

    std::string m_waiting;
    HostClient::ServerEvent m_begun;
    bool m_hasData = false;
    bool m_skipNewline = false;
    std::deque<HostClient::ServerEvent> m_events;
};

/// The events of a blade's host. When a stream breaks, the next one begins after the last event that was read; when
/// another process answers then, with its first.
class EventStream {
public:
    /// @param output  where the reader writes to: NobodyReads is thrown as soon as that is a pipe that nobody reads
    EventStream(HostPlace place, uint64_t after, int output = -1)
        : m_place(std::move(place)),
          m_last(after),
          m_output(output) {}

    /// The next event, or nothing when the time is over. Throws HostGoneError when no host has the blade any more,
    /// std::runtime_error when what it sends are no events.
    std::optional<HostClient::ServerEvent> Next(std::chrono::milliseconds wait);

private:
    struct Connection {
        Connection(const HostPlace& place, const Deadline& deadline);

        HostSocket m_socket;
        EventLines m_lines;
        std::string m_refusal;
        HttpAnswer m_answer;
    };

    void Open(const Deadline& deadline);
    bool Read(const Deadline& deadline);
    void Break(const Deadline& deadline);
    std::string Host() const;

    HostPlace m_place;
    uint64_t m_last;
    int m_output;
    pid_t m_process = 0;
    unsigned m_breaks = 0; ///< since the last event
    std::unique_ptr<Connection> m_connection;
    std::chrono::steady_clock::time_point m_heard{};
};

} // namespace bmhost
