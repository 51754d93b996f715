// The socket at which the resident host is asked.
#pragma once

#include "host/client/BladeLock.h"

namespace bmhost {

/// Listens as long as it lives; then the socket's file is gone. Root and the group bmhost may connect.
class ServerSocket {
public:
    /// @param lock  of the same place: its holder may take over what a dead host left
    /// Throws std::runtime_error when there can be no socket.
    ServerSocket(const BladeLock& lock, const HostPlace& place);
    ServerSocket(const ServerSocket&) = delete;
    ServerSocket& operator=(const ServerSocket&) = delete;
    ~ServerSocket();

    /// When this process ends without the destructor.
    void Remove() const;

    int Descriptor() const { return m_socket.Get(); }

private:
    const BladeLock& m_lock;
    bm_dev::UniqueFd m_socket;
};

} // namespace bmhost
