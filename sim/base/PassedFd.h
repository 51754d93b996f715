// Packets between processes that carry a descriptor. The preload library uses them too, so nothing here needs the C++
// runtime.
#pragma once

#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/uio.h>

namespace bladesim {

/// Sends one packet, made of these pieces, with a descriptor, which the sender keeps; -1: without one. Returns what
/// sendmsg returns.
inline ssize_t SendPiecesWithFd(int socket, iovec* pieces, size_t count, int fd, int flags = 0) {
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = pieces;
    message.msg_iovlen = count;
    if (fd >= 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof(control);
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &fd, sizeof(fd));
    }
    return ::sendmsg(socket, &message, flags | MSG_NOSIGNAL);
}

inline ssize_t SendWithFd(int socket, const void* data, size_t size, int fd, int flags = 0) {
    iovec bytes{const_cast<void*>(data), size};
    return SendPiecesWithFd(socket, &bytes, 1, fd, flags);
}

/// Receives one packet; `fd` becomes the descriptor that came with it, close-on-exec, or -1. Returns what recvmsg
/// returns.
inline ssize_t ReceiveWithFd(int socket, void* data, size_t size, int& fd, int flags = 0) {
    iovec bytes{data, size};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &bytes;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    fd = -1;
    const ssize_t received = ::recvmsg(socket, &message, flags | MSG_CMSG_CLOEXEC);
    if (received < 0) return received;
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    const bool passed = header != nullptr && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS;
    if (passed) std::memcpy(&fd, CMSG_DATA(header), sizeof(fd));
    return received;
}

} // namespace bladesim
