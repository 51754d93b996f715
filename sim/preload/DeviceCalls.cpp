// What the ioctls of the kernel's IPMI device do, on a socket to the simulated blade's driver. Part of the preload
// library, so nothing here needs the C++ runtime.
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

namespace bladesim {
namespace {

int Fail(int error) {
    errno = error;
    return -1;
}

// Held from looking at a message until it is taken.
pthread_mutex_t receiveMutex = PTHREAD_MUTEX_INITIALIZER;

class Lock {
public:
    explicit Lock(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() { pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t& m_mutex;
};

// Copies between the caller's memory and ours as the kernel does: a bad pointer gives an error number and does not end
// the program. Both return 0 or that number.

int CopyFromCaller(void* ours, const void* callers, size_t size) {
    if (size == 0) return 0;
    const iovec local{ours, size};
    const iovec remote{const_cast<void*>(callers), size};
    const ssize_t copied = ::process_vm_readv(::getpid(), &local, 1, &remote, 1, 0);
    return copied == static_cast<ssize_t>(size) ? 0 : EFAULT;
}

struct ToCaller {
    void* m_callers;
    void* m_ours;
    size_t m_size;
};

/// Several pieces with one system call.
template <size_t Count>
int CopyToCaller(const ToCaller (&pieces)[Count]) {
    iovec local[Count];
    iovec remote[Count];
    size_t size = 0;
    for (size_t index = 0; index < Count; ++index) {
        const ToCaller& piece = pieces[index];
        local[index] = {piece.m_ours, piece.m_size};
        remote[index] = {piece.m_callers, piece.m_size};
        size += piece.m_size;
    }
    const ssize_t copied = ::process_vm_writev(::getpid(), local, Count, remote, Count, 0);
    return copied == static_cast<ssize_t>(size) ? 0 : EFAULT;
}

/// A request never waits in the kernel, whatever flags its descriptor has; here the driver may need a moment.
int SendPacket(int fd, const BridgePacket& packet, int passed) {
    while (SendWithFd(fd, &packet, PacketSize(packet), passed) < 0) {
        if (errno != EAGAIN && errno != EINTR) return Fail(ENODEV);
        pollfd room{fd, POLLOUT, 0};
        ::poll(&room, 1, -1);
    }
    return 0;
}

int Send(int fd, ipmi_req request) {
    ipmi_addr address{};
    BridgePacket packet{};
    if (request.addr_len > sizeof(address)) return Fail(EINVAL);
    if (const int error = CopyFromCaller(&address, request.addr, request.addr_len)) return Fail(error);
    request.addr = reinterpret_cast<unsigned char*>(&address);
    if (request.msg.data == nullptr) request.msg.data_len = 0;
    if (const int error = CheckRequest(request)) return Fail(error);
    if (const int error = CopyFromCaller(packet.m_data, request.msg.data, request.msg.data_len)) return Fail(error);
    packet.m_messageId = request.msgid;
    packet.m_netFn = request.msg.netfn;
    packet.m_command = request.msg.cmd;
    packet.m_dataLength = request.msg.data_len;
    // Both kinds of address that the driver takes have this length, whatever the caller's buffer had.
    packet.m_addressLength = static_cast<uint16_t>(AddressLength(address.addr_type));
    std::memcpy(packet.m_address, &address, packet.m_addressLength);
    return SendPacket(fd, packet, -1);
}

/// Looks at the next message without taking it: 0, or the error number.
int Peek(int fd, BridgePacket& packet) {
    const ssize_t size = ::recv(fd, &packet, sizeof(packet), MSG_PEEK | MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return EAGAIN;
    return size > 0 && IsWhole(packet, static_cast<size_t>(size)) ? 0 : ENODEV;
}

/// As in the kernel: a message that does not fit stays in the queue or, when the caller wants it truncated, is cut and
/// reported.
int Receive(int fd, ipmi_recv* callers, bool truncate) {
    ipmi_recv receive;
    if (const int error = CopyFromCaller(&receive, callers, sizeof(receive))) return Fail(error);
    const Lock lock(receiveMutex);
    BridgePacket packet;
    if (const int error = Peek(fd, packet)) return Fail(error);
    if (receive.addr_len < packet.m_addressLength) return Fail(EINVAL);
    const bool tooLong = receive.msg.data_len < packet.m_dataLength;
    if (tooLong && !truncate) return Fail(EMSGSIZE);

    receive.addr_len = packet.m_addressLength;
    if (!tooLong) receive.msg.data_len = packet.m_dataLength;
    receive.recv_type = static_cast<int>(packet.m_receiveType);
    receive.msgid = static_cast<long>(packet.m_messageId);
    receive.msg.netfn = packet.m_netFn;
    receive.msg.cmd = packet.m_command;
    const int error = CopyToCaller({{receive.addr, packet.m_address, packet.m_addressLength},
                                    {receive.msg.data, packet.m_data, receive.msg.data_len},
                                    {callers, &receive, sizeof(receive)}});
    if (error != 0) return Fail(error);
    ::recv(fd, nullptr, 0, MSG_DONTWAIT);
    return tooLong ? Fail(EMSGSIZE) : 0;
}

/// The driver keeps the settings of interface and openers. Its answer comes on a socket of its own, so that it does not
/// mix with the opener's messages.
int AskDriver(int fd, uint32_t request, void* argument) {
    BridgePacket packet{};
    packet.m_receiveType = CallPacket;
    packet.m_messageId = request;
    // The driver knows the calls; all of them have small arguments.
    const size_t size = _IOC_SIZE(request);
    if (size > sizeof(packet.m_data)) return Fail(ENOTTY);
    packet.m_dataLength = static_cast<uint16_t>(size);
    if (const int error = CopyFromCaller(packet.m_data, argument, size)) return Fail(error);

    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0) return Fail(ENOMEM);
    int result = SendPacket(fd, packet, pair[1]);
    ::close(pair[1]);
    if (result == 0) {
        ssize_t answered = 0;
        do {
            answered = ::recv(pair[0], &packet, sizeof(packet), 0);
        } while (answered < 0 && errno == EINTR);
        int error = ENODEV;
        if (answered > 0 && IsWhole(packet, static_cast<size_t>(answered)))
            error = static_cast<int>(packet.m_messageId);
        if (error == 0) error = CopyToCaller({{argument, packet.m_data, packet.m_dataLength}});
        if (error != 0) result = Fail(error);
    }
    const int error = errno;
    ::close(pair[0]);
    errno = error;
    return result;
}

bool IsDenied() {
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    const SocketAddress denied = DeniedAddress();
    const bool found = ::connect(fd, denied.Get(), denied.m_length) == 0;
    ::close(fd);
    return found;
}

} // namespace

int OpenDevice(int flags) {
    const int extra = ((flags & O_CLOEXEC) != 0 ? SOCK_CLOEXEC : 0) | ((flags & O_NONBLOCK) != 0 ? SOCK_NONBLOCK : 0);
    const int fd = ::socket(AF_UNIX, SOCK_SEQPACKET | extra, 0);
    if (fd < 0) return -1;
    const SocketAddress driver = DriverAddress();
    if (::connect(fd, driver.Get(), driver.m_length) == 0) return fd;
    ::close(fd);
    return Fail(IsDenied() ? EACCES : ENOENT);
}

bool IsDevice(int fd) {
    return IsConnectedTo(fd, DriverAddress());
}

bool IsIPMIRequest(unsigned long request) {
    return _IOC_TYPE(request) == IPMI_IOC_MAGIC;
}

int DeviceCall(int fd, unsigned long request, void* argument) {
    // Like the kernel, look at 32 bits of the number: a caller may have kept it in an int.
    const auto number = static_cast<uint32_t>(request);
    switch (number) {
    case IPMICTL_SEND_COMMAND: {
        ipmi_req message;
        const int error = CopyFromCaller(&message, argument, sizeof(message));
        return error != 0 ? Fail(error) : Send(fd, message);
    }
    case IPMICTL_SEND_COMMAND_SETTIME: {
        ipmi_req_settime message;
        const int error = CopyFromCaller(&message, argument, sizeof(message));
        return error != 0 ? Fail(error) : Send(fd, message.req);
    }
    case IPMICTL_RECEIVE_MSG:
        return Receive(fd, static_cast<ipmi_recv*>(argument), false);
    case IPMICTL_RECEIVE_MSG_TRUNC:
        return Receive(fd, static_cast<ipmi_recv*>(argument), true);
    default:
        return AskDriver(fd, number, argument);
    }
}

} // namespace bladesim
