// Packets between processes that bring a descriptor along. Used by the preload library as well: nothing of the C++
// runtime in it.
#pragma once

#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/uio.h>

namespace BLADESIM {

/// Sends one packet with a descriptor, which stays the sender's own; -1: without one. As sendmsg.
inline ssize_t SendWithFd(int a_Socket, const void* a_Data, size_t a_Size, int a_Fd, int a_Flags = 0) {
    iovec l_Bytes{const_cast<void*>(a_Data), a_Size};
    alignas(cmsghdr) char l_Control[CMSG_SPACE(sizeof(int))] = {};
    msghdr l_Message{};
    l_Message.msg_iov = &l_Bytes;
    l_Message.msg_iovlen = 1;
    if (a_Fd >= 0) {
        l_Message.msg_control = l_Control;
        l_Message.msg_controllen = sizeof(l_Control);
        cmsghdr* const l_Header = CMSG_FIRSTHDR(&l_Message);
        l_Header->cmsg_level = SOL_SOCKET;
        l_Header->cmsg_type = SCM_RIGHTS;
        l_Header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(l_Header), &a_Fd, sizeof(a_Fd));
    }
    return ::sendmsg(a_Socket, &l_Message, a_Flags | MSG_NOSIGNAL);
}

/// Receives one packet; `a_Fd` is the descriptor that came along, closed on exec, or -1. As recvmsg.
inline ssize_t ReceiveWithFd(int a_Socket, void* a_Data, size_t a_Size, int& a_Fd, int a_Flags = 0) {
    iovec l_Bytes{a_Data, a_Size};
    alignas(cmsghdr) char l_Control[CMSG_SPACE(sizeof(int))] = {};
    msghdr l_Message{};
    l_Message.msg_iov = &l_Bytes;
    l_Message.msg_iovlen = 1;
    l_Message.msg_control = l_Control;
    l_Message.msg_controllen = sizeof(l_Control);
    a_Fd = -1;
    const ssize_t l_Size = ::recvmsg(a_Socket, &l_Message, a_Flags | MSG_CMSG_CLOEXEC);
    if (l_Size < 0) return l_Size;
    const cmsghdr* const l_Header = CMSG_FIRSTHDR(&l_Message);
    const bool l_Passed =
        l_Header != nullptr && l_Header->cmsg_level == SOL_SOCKET && l_Header->cmsg_type == SCM_RIGHTS;
    if (l_Passed) std::memcpy(&a_Fd, CMSG_DATA(l_Header), sizeof(a_Fd));
    return l_Size;
}

} // namespace BLADESIM
