// The clients that are connected: who they are, and until when something has to come of them.
#pragma once

#include "host/http/Peer.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

struct MHD_Connection;

namespace bmhost {

class Exchange;

struct Connection {
    uint64_t m_id = 0;
    MHD_Connection* m_handle = nullptr;
    int m_socket = -1;
    Peer m_peer;
    Exchange* m_exchange = nullptr; ///< the request that is carried out
    bool m_suspended = false;
    std::optional<std::chrono::steady_clock::time_point> m_deadline;
};

/// All on the server's thread.
class Connections {
public:
    /// @param most           how many are served
    /// @param mostOfAddress  of these, how many of one TCP address; 0: as many as there are
    Connections(unsigned most, unsigned mostOfAddress);
    ~Connections();
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    /// Whether one more can be accepted of this address.
    bool HasRoomFor(const sockaddr& address) const;
    Connection& Add(MHD_Connection* handle, std::size_t listener, bool secure);
    void Remove(const Connection& connection);
    /// Whether there are too many, and this is none of the oldest that are served. It may become one.
    bool IsExcess(const Connection& connection) const;
    /// How many are accepted: those that are too many are told so.
    unsigned MostAccepted() const;
    std::size_t Count() const { return m_connections.size(); }
    void ForEach(const std::function<void(Connection&)>& action);

    /// The library leaves a suspended connection alone, so whether its client is still there is looked at here.
    void Suspend(Connection& connection);
    void Resume(Connection& connection);
    /// Readable when a client of a suspended connection has gone.
    int Descriptor() const { return m_watch; }
    /// The suspended connections whose clients have gone.
    void ForGone(const std::function<void(Connection&)>& action);

    static void SetDeadline(Connection& connection, std::chrono::milliseconds time);
    /// Ends the connections whose time is up; the library finds them closed.
    void Expire();
    std::optional<std::chrono::steady_clock::time_point> NextDeadline() const;

private:
    const unsigned m_most;
    const unsigned m_mostOfAddress;
    const int m_watch; ///< an epoll of the suspended connections
    std::map<uint64_t, Connection> m_connections;
    uint64_t m_lastId = 0;
};

} // namespace bmhost
