// What the ioctls of the kernel's IPMI device do, on a socket to the driver of the simulated blade.
// Goes into the preload library: nothing of the C++ runtime in it.
#include "sim/preload/DeviceCalls.h"

#include "sim/base/BridgePacket.h"
#include "sim/base/DriverAddress.h"
#include "sim/base/PassedFd.h"
#include "sim/driver/KernelRules.h"

#include <fcntl.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace BLADESIM {
namespace {

int Fail(int a_Error) {
    errno = a_Error;
    return -1;
}

// Looking at a message and taking it are two steps.
pthread_mutex_t g_ReceiveMutex = PTHREAD_MUTEX_INITIALIZER;

class LOCK {
public:
    explicit LOCK(pthread_mutex_t& a_Mutex) : m_Mutex(a_Mutex) { pthread_mutex_lock(&m_Mutex); }
    LOCK(const LOCK&) = delete;
    LOCK& operator=(const LOCK&) = delete;
    ~LOCK() { pthread_mutex_unlock(&m_Mutex); }

private:
    pthread_mutex_t& m_Mutex;
};

// Copies between the caller's memory and ours as the kernel does: a pointer that leads nowhere is an error number, no
// end of the program. Both return 0 or that number.

int CopyFromCaller(void* a_Ours, const void* a_Callers, size_t a_Size) {
    if (a_Size == 0) return 0;
    const iovec l_Ours{a_Ours, a_Size};
    const iovec l_Callers{const_cast<void*>(a_Callers), a_Size};
    const ssize_t l_Copied = ::process_vm_readv(::getpid(), &l_Ours, 1, &l_Callers, 1, 0);
    return l_Copied == static_cast<ssize_t>(a_Size) ? 0 : EFAULT;
}

struct TO_CALLER {
    void* m_Callers;
    void* m_Ours;
    size_t m_Size;
};

/// Several pieces with one system call.
template <size_t COUNT>
int CopyToCaller(const TO_CALLER (&a_Pieces)[COUNT]) {
    iovec l_Ours[COUNT];
    iovec l_Callers[COUNT];
    size_t l_Size = 0;
    for (size_t l_Index = 0; l_Index < COUNT; ++l_Index) {
        const TO_CALLER& l_Piece = a_Pieces[l_Index];
        l_Ours[l_Index] = {l_Piece.m_Ours, l_Piece.m_Size};
        l_Callers[l_Index] = {l_Piece.m_Callers, l_Piece.m_Size};
        l_Size += l_Piece.m_Size;
    }
    const ssize_t l_Copied = ::process_vm_writev(::getpid(), l_Ours, COUNT, l_Callers, COUNT, 0);
    return l_Copied == static_cast<ssize_t>(l_Size) ? 0 : EFAULT;
}

/// A request never waits in the kernel, whatever flags its descriptor has; here the driver may need a moment.
int SendPacket(int a_Fd, const BRIDGE_PACKET& a_Packet, int a_Passed) {
    while (SendWithFd(a_Fd, &a_Packet, PacketSize(a_Packet), a_Passed) < 0) {
        if (errno != EAGAIN && errno != EINTR) return Fail(ENODEV);
        pollfd l_Room{a_Fd, POLLOUT, 0};
        ::poll(&l_Room, 1, -1);
    }
    return 0;
}

int Send(int a_Fd, ipmi_req a_Request) {
    ipmi_addr l_Address{};
    BRIDGE_PACKET l_Packet{};
    if (a_Request.addr_len > sizeof(l_Address)) return Fail(EINVAL);
    if (const int l_Error = CopyFromCaller(&l_Address, a_Request.addr, a_Request.addr_len)) return Fail(l_Error);
    a_Request.addr = reinterpret_cast<unsigned char*>(&l_Address);
    if (a_Request.msg.data == nullptr) a_Request.msg.data_len = 0;
    if (const int l_Error = CheckRequest(a_Request)) return Fail(l_Error);
    if (const int l_Error = CopyFromCaller(l_Packet.m_Data, a_Request.msg.data, a_Request.msg.data_len))
        return Fail(l_Error);
    l_Packet.m_MessageId = a_Request.msgid;
    l_Packet.m_NetFn = a_Request.msg.netfn;
    l_Packet.m_Command = a_Request.msg.cmd;
    l_Packet.m_DataLength = a_Request.msg.data_len;
    // Both kinds of address that the driver takes have this length, whatever the caller's buffer had.
    l_Packet.m_AddressLength = static_cast<uint16_t>(AddressLength(l_Address.addr_type));
    std::memcpy(l_Packet.m_Address, &l_Address, l_Packet.m_AddressLength);
    return SendPacket(a_Fd, l_Packet, -1);
}

/// The next message without taking it: 0, or the error number.
int Peek(int a_Fd, BRIDGE_PACKET& a_Packet) {
    const ssize_t l_Size = ::recv(a_Fd, &a_Packet, sizeof(a_Packet), MSG_PEEK | MSG_DONTWAIT);
    if (l_Size < 0 && (errno == EAGAIN || errno == EINTR)) return EAGAIN;
    return l_Size > 0 && IsWhole(a_Packet, static_cast<size_t>(l_Size)) ? 0 : ENODEV;
}

/// As the kernel: what does not fit stays in the queue, or is cut and reported when the caller wants it truncated.
int Receive(int a_Fd, ipmi_recv* a_Callers, bool a_Truncate) {
    ipmi_recv l_Receive;
    if (const int l_Error = CopyFromCaller(&l_Receive, a_Callers, sizeof(l_Receive))) return Fail(l_Error);
    const LOCK l_Lock(g_ReceiveMutex);
    BRIDGE_PACKET l_Packet;
    if (const int l_Error = Peek(a_Fd, l_Packet)) return Fail(l_Error);
    if (l_Receive.addr_len < l_Packet.m_AddressLength) return Fail(EINVAL);
    const bool l_TooLong = l_Receive.msg.data_len < l_Packet.m_DataLength;
    if (l_TooLong && !a_Truncate) return Fail(EMSGSIZE);

    l_Receive.addr_len = l_Packet.m_AddressLength;
    if (!l_TooLong) l_Receive.msg.data_len = l_Packet.m_DataLength;
    l_Receive.recv_type = static_cast<int>(l_Packet.m_ReceiveType);
    l_Receive.msgid = static_cast<long>(l_Packet.m_MessageId);
    l_Receive.msg.netfn = l_Packet.m_NetFn;
    l_Receive.msg.cmd = l_Packet.m_Command;
    const int l_Error = CopyToCaller({{l_Receive.addr, l_Packet.m_Address, l_Packet.m_AddressLength},
                                      {l_Receive.msg.data, l_Packet.m_Data, l_Receive.msg.data_len},
                                      {a_Callers, &l_Receive, sizeof(l_Receive)}});
    if (l_Error != 0) return Fail(l_Error);
    ::recv(a_Fd, nullptr, 0, MSG_DONTWAIT);
    return l_TooLong ? Fail(EMSGSIZE) : 0;
}

/// What is kept per interface or opener is kept by the driver. Its answer comes on a socket of its own: it must not be
/// seen among the messages of this opener.
int AskDriver(int a_Fd, uint32_t a_Request, void* a_Argument) {
    BRIDGE_PACKET l_Packet{};
    l_Packet.m_ReceiveType = g_CallPacket;
    l_Packet.m_MessageId = a_Request;
    // The driver knows the calls; all of them have small arguments.
    const size_t l_Size = _IOC_SIZE(a_Request);
    if (l_Size > sizeof(l_Packet.m_Data)) return Fail(ENOTTY);
    l_Packet.m_DataLength = static_cast<uint16_t>(l_Size);
    if (const int l_Error = CopyFromCaller(l_Packet.m_Data, a_Argument, l_Size)) return Fail(l_Error);

    int l_Pair[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, l_Pair) != 0) return Fail(ENOMEM);
    int l_Result = SendPacket(a_Fd, l_Packet, l_Pair[1]);
    ::close(l_Pair[1]);
    if (l_Result == 0) {
        ssize_t l_Answered = 0;
        do {
            l_Answered = ::recv(l_Pair[0], &l_Packet, sizeof(l_Packet), 0);
        } while (l_Answered < 0 && errno == EINTR);
        int l_Error = ENODEV;
        if (l_Answered > 0 && IsWhole(l_Packet, static_cast<size_t>(l_Answered)))
            l_Error = static_cast<int>(l_Packet.m_MessageId);
        if (l_Error == 0) l_Error = CopyToCaller({{a_Argument, l_Packet.m_Data, l_Packet.m_DataLength}});
        if (l_Error != 0) l_Result = Fail(l_Error);
    }
    const int l_Error = errno;
    ::close(l_Pair[0]);
    errno = l_Error;
    return l_Result;
}

} // namespace

int OpenDevice(int a_Flags) {
    const int l_Extra =
        ((a_Flags & O_CLOEXEC) != 0 ? SOCK_CLOEXEC : 0) | ((a_Flags & O_NONBLOCK) != 0 ? SOCK_NONBLOCK : 0);
    const int l_Fd = ::socket(AF_UNIX, SOCK_SEQPACKET | l_Extra, 0);
    if (l_Fd < 0) return -1;
    const SOCKET_ADDRESS l_Driver = DriverAddress();
    if (::connect(l_Fd, l_Driver.Get(), l_Driver.m_Length) == 0) return l_Fd;
    ::close(l_Fd);
    return Fail(ENOENT);
}

bool IsDevice(int a_Fd) {
    const int l_Error = errno;
    const SOCKET_ADDRESS l_Driver = DriverAddress();
    sockaddr_un l_Peer{};
    socklen_t l_Length = sizeof(l_Peer);
    const bool l_Connected = ::getpeername(a_Fd, reinterpret_cast<sockaddr*>(&l_Peer), &l_Length) == 0;
    errno = l_Error;
    return l_Connected && l_Length == l_Driver.m_Length && std::memcmp(&l_Peer, &l_Driver.m_Address, l_Length) == 0;
}

bool IsIPMIRequest(unsigned long a_Request) {
    return _IOC_TYPE(a_Request) == IPMI_IOC_MAGIC;
}

int DeviceCall(int a_Fd, unsigned long a_Request, void* a_Argument) {
    // The kernel sees 32 bits of the number, too; a caller may have kept it in an int.
    const auto l_Request = static_cast<uint32_t>(a_Request);
    switch (l_Request) {
    case IPMICTL_SEND_COMMAND: {
        ipmi_req l_Message;
        const int l_Error = CopyFromCaller(&l_Message, a_Argument, sizeof(l_Message));
        return l_Error != 0 ? Fail(l_Error) : Send(a_Fd, l_Message);
    }
    case IPMICTL_SEND_COMMAND_SETTIME: {
        ipmi_req_settime l_Message;
        const int l_Error = CopyFromCaller(&l_Message, a_Argument, sizeof(l_Message));
        return l_Error != 0 ? Fail(l_Error) : Send(a_Fd, l_Message.req);
    }
    case IPMICTL_RECEIVE_MSG:
        return Receive(a_Fd, static_cast<ipmi_recv*>(a_Argument), false);
    case IPMICTL_RECEIVE_MSG_TRUNC:
        return Receive(a_Fd, static_cast<ipmi_recv*>(a_Argument), true);
    default:
        return AskDriver(a_Fd, l_Request, a_Argument);
    }
}

} // namespace BLADESIM
