// The library's part of a server: one daemon of it for each listener and certificate.
#pragma once

#include "host/http/Exchange.h"

#include <chrono>
#include <cstddef>
#include <optional>

struct MHD_Daemon;

namespace bmhost {

struct Tls;

/// All on the server's thread.
class Daemon {
public:
    /// @param descriptor  listens; it stays the caller's
    /// @param listener    its index
    /// @param tls         none: without
    /// @param all         outlives the daemon
    /// Throws std::runtime_error when the library cannot begin.
    Daemon(int descriptor, std::size_t listener, const Tls* tls, Exchanges& all);
    /// No connection may be suspended.
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    /// Readable when there is something to do.
    int Descriptor() const { return m_events; }
    void Turn();
    /// Until when a turn is needed, whatever happens; none: it is not.
    std::optional<std::chrono::milliseconds> Patience() const;

    /// What it listens at.
    int Listening() const;
    /// Accepts nobody any more; those who are connected are served on.
    void StopListening();
    bool HasConnections() const { return m_connections > 0; }

private:
    void Notify(MHD_Connection* handle, void** context, MHD_ConnectionNotificationCode code);

    static MHD_Result OnConnect(void* daemon, const sockaddr* address, socklen_t size);
    static MHD_Result OnAccess(void* daemon, MHD_Connection* handle, const char* path, const char* method,
                               const char* version, const char* body, std::size_t* size, void** exchange);
    static void OnCompleted(void* daemon, MHD_Connection* handle, void** exchange, MHD_RequestTerminationCode code);
    static void OnNotify(void* daemon, MHD_Connection* handle, void** context, MHD_ConnectionNotificationCode code);

    Exchanges& m_all;
    const std::size_t m_listener;
    const bool m_secure;
    std::size_t m_connections = 0;
    MHD_Daemon* m_daemon = nullptr;
    bool m_listens = true;
    int m_events = -1; ///< the library's epoll
};

} // namespace bmhost
