// An open /dev/ipmi0, asked one request at a time by the ioctls of linux/ipmi.h.
#include "sim/capture/IpmiDevice.h"

#include "sim/base/Error.h"

#include <fcntl.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>

namespace bladesim {
namespace {

using Clock = std::chrono::steady_clock;

// The kernel's driver answers for a silent controller after some seconds; this is for a driver that does not.
constexpr std::chrono::seconds AnswerTime{30};

std::string Hint(int error) {
    if (error == ENOENT || error == ENXIO || error == ENODEV) {
        return " (the kernel's modules ipmi_si and ipmi_devintf make it, where the machine has a controller)";
    }
    return error == EACCES || error == EPERM ? " (it is root's)" : "";
}

/// False when the time is up.
bool WaitForAnswer(int fd, Clock::time_point deadline) {
    for (;;) {
        pollfd event{fd, POLLIN, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        const int ready = ::poll(&event, 1, static_cast<int>(std::max<int64_t>(left, 0)));
        if (ready >= 0) return ready > 0;
        if (errno != EINTR) ThrowErrno(std::string(IpmiDeviceFile) + ": cannot be waited for");
    }
}

} // namespace

IpmiDevice::IpmiDevice() : m_fd(::open(IpmiDeviceFile, O_RDWR | O_CLOEXEC)) {
    if (m_fd) return;
    const std::string hint = Hint(errno);
    ThrowErrno(std::string(IpmiDeviceFile) + ": cannot be opened" + hint);
}

std::optional<Bytes> IpmiDevice::Ask(const Bytes& request) {
    ipmi_system_interface_addr address{};
    address.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
    address.channel = IPMI_BMC_CHANNEL;
    Bytes data(request.begin() + 2, request.end());
    ipmi_req message{};
    message.addr = reinterpret_cast<unsigned char*>(&address);
    message.addr_len = sizeof(address);
    message.msgid = ++m_messageId;
    message.msg = {request[0], request[1], static_cast<unsigned short>(data.size()), data.data()};
    if (::ioctl(m_fd.Get(), IPMICTL_SEND_COMMAND, &message) != 0) {
        ThrowErrno(std::string(IpmiDeviceFile) + ": a request cannot be sent");
    }

    const Clock::time_point deadline = Clock::now() + AnswerTime;
    while (WaitForAnswer(m_fd.Get(), deadline)) {
        std::array<uint8_t, IPMI_MAX_MSG_LENGTH> reply;
        ipmi_addr from{};
        ipmi_recv received{};
        received.addr = reinterpret_cast<unsigned char*>(&from);
        received.addr_len = sizeof(from);
        received.msg.data = reply.data();
        received.msg.data_len = reply.size();
        if (::ioctl(m_fd.Get(), IPMICTL_RECEIVE_MSG_TRUNC, &received) != 0 && errno != EMSGSIZE) {
            if (errno == EAGAIN || errno == EINTR) continue;
            ThrowErrno(std::string(IpmiDeviceFile) + ": an answer cannot be received");
        }
        // Others come late, or are events.
        if (received.recv_type != IPMI_RESPONSE_RECV_TYPE || received.msgid != m_messageId) continue;
        return Bytes(reply.begin(), reply.begin() + received.msg.data_len);
    }
    return std::nullopt;
}

} // namespace bladesim
