// What the ioctls of the kernel's IPMI device do, on a socket to the driver of the simulated blade.
// Goes into the preload library: nothing of the C++ runtime in it.
#include "sim/preload/DeviceCalls.h"

#include "sim/BridgePacket.h"
#include "sim/DriverAddress.h"
#include "sim/KernelRules.h"

#include <fcntl.h>
#include <linux/ipmi.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace BLADESIM {
namespace {

int Fail(int a_Error) {
    errno = a_Error;
    return -1;
}

/// What the kernel keeps per interface. Here every process has its own.
struct INTERFACE_SETTINGS {
    unsigned char m_Address[IPMI_NUM_CHANNELS]; // as the difference to the usual one: all zeros at the start
    unsigned char m_Lun[IPMI_NUM_CHANNELS];
    ipmi_timing_parms m_Timing;
    int m_MaintenanceMode;
};

constexpr unsigned char g_BMCAddress = 0x20;
// The kernel's values after start-up: retries and milliseconds for a request that names none itself.
INTERFACE_SETTINGS g_Settings = {{}, {}, {4, 1000}, IPMI_MAINTENANCE_MODE_AUTO};
pthread_mutex_t g_SettingsMutex = PTHREAD_MUTEX_INITIALIZER;
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

int Send(int a_Fd, const ipmi_req& a_Request) {
    if (const int l_Error = CheckRequest(a_Request)) return Fail(l_Error);
    BRIDGE_PACKET l_Packet{};
    l_Packet.m_MessageId = a_Request.msgid;
    l_Packet.m_NetFn = a_Request.msg.netfn;
    l_Packet.m_Command = a_Request.msg.cmd;
    ipmi_system_interface_addr l_Address;
    std::memcpy(&l_Address, a_Request.addr, sizeof(l_Address));
    // Both kinds of address that the driver takes have this length, whatever the caller's buffer had.
    l_Packet.m_AddressLength = static_cast<uint16_t>(AddressLength(l_Address.addr_type));
    std::memcpy(l_Packet.m_Address, a_Request.addr, l_Packet.m_AddressLength);
    if (a_Request.msg.data != nullptr) {
        l_Packet.m_DataLength = a_Request.msg.data_len;
        std::memcpy(l_Packet.m_Data, a_Request.msg.data, l_Packet.m_DataLength);
    }
    if (::send(a_Fd, &l_Packet, PacketSize(l_Packet), MSG_NOSIGNAL) < 0) return Fail(ENODEV);
    return 0;
}

/// The next message without taking it: 0, or the error number.
int Peek(int a_Fd, BRIDGE_PACKET& a_Packet) {
    const ssize_t l_Size = ::recv(a_Fd, &a_Packet, sizeof(a_Packet), MSG_PEEK | MSG_DONTWAIT);
    if (l_Size < 0 && (errno == EAGAIN || errno == EINTR)) return EAGAIN;
    return l_Size > 0 && IsWhole(a_Packet, static_cast<size_t>(l_Size)) ? 0 : ENODEV;
}

/// As the kernel: what does not fit stays in the queue, or is cut and reported when the caller wants it truncated.
int Receive(int a_Fd, ipmi_recv& a_Receive, bool a_Truncate) {
    const LOCK l_Lock(g_ReceiveMutex);
    BRIDGE_PACKET l_Packet;
    if (const int l_Error = Peek(a_Fd, l_Packet)) return Fail(l_Error);
    if (a_Receive.addr_len < l_Packet.m_AddressLength) return Fail(EINVAL);
    const bool l_TooLong = a_Receive.msg.data_len < l_Packet.m_DataLength;
    if (l_TooLong && !a_Truncate) return Fail(EMSGSIZE);

    ::recv(a_Fd, nullptr, 0, MSG_DONTWAIT);
    if (!l_TooLong) a_Receive.msg.data_len = l_Packet.m_DataLength;
    std::memcpy(a_Receive.msg.data, l_Packet.m_Data, a_Receive.msg.data_len);
    std::memcpy(a_Receive.addr, l_Packet.m_Address, l_Packet.m_AddressLength);
    a_Receive.addr_len = l_Packet.m_AddressLength;
    a_Receive.recv_type = static_cast<int>(l_Packet.m_ReceiveType);
    a_Receive.msgid = static_cast<long>(l_Packet.m_MessageId);
    a_Receive.msg.netfn = l_Packet.m_NetFn;
    a_Receive.msg.cmd = l_Packet.m_Command;
    return l_TooLong ? Fail(EMSGSIZE) : 0;
}

int Channel(unsigned long a_Request, ipmi_channel_lun_address_set& a_Channel) {
    if (a_Channel.channel >= IPMI_NUM_CHANNELS) return Fail(EINVAL);
    const LOCK l_Lock(g_SettingsMutex);
    unsigned char& l_Address = g_Settings.m_Address[a_Channel.channel];
    unsigned char& l_Lun = g_Settings.m_Lun[a_Channel.channel];
    switch (a_Request) {
    case IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD:
        l_Address = a_Channel.value ^ g_BMCAddress;
        break;
    case IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD:
        a_Channel.value = l_Address ^ g_BMCAddress;
        break;
    case IPMICTL_SET_MY_CHANNEL_LUN_CMD:
        l_Lun = a_Channel.value & 3;
        break;
    default:
        a_Channel.value = l_Lun;
        break;
    }
    return 0;
}

/// The older calls know channel 0 only.
int ChannelZero(unsigned long a_Request, unsigned int& a_Value) {
    ipmi_channel_lun_address_set l_Channel{0, static_cast<unsigned char>(a_Value)};
    const int l_Result = Channel(a_Request, l_Channel);
    a_Value = l_Channel.value;
    return l_Result;
}

int Timing(unsigned long a_Request, ipmi_timing_parms& a_Timing) {
    const LOCK l_Lock(g_SettingsMutex);
    if (a_Request == IPMICTL_SET_TIMING_PARMS_CMD)
        g_Settings.m_Timing = a_Timing;
    else
        a_Timing = g_Settings.m_Timing;
    return 0;
}

int MaintenanceMode(unsigned long a_Request, int& a_Mode) {
    const LOCK l_Lock(g_SettingsMutex);
    if (a_Request == IPMICTL_GET_MAINTENANCE_MODE_CMD) {
        a_Mode = g_Settings.m_MaintenanceMode;
        return 0;
    }
    if (a_Mode < IPMI_MAINTENANCE_MODE_AUTO || a_Mode > IPMI_MAINTENANCE_MODE_ON) return Fail(EINVAL);
    g_Settings.m_MaintenanceMode = a_Mode;
    return 0;
}

} // namespace

int OpenDevice(int a_Flags) {
    const int l_Extra =
        ((a_Flags & O_CLOEXEC) != 0 ? SOCK_CLOEXEC : 0) | ((a_Flags & O_NONBLOCK) != 0 ? SOCK_NONBLOCK : 0);
    const int l_Fd = ::socket(AF_UNIX, SOCK_SEQPACKET | l_Extra, 0);
    if (l_Fd < 0) return -1;
    const sockaddr_un l_Address = DriverAddress();
    if (::connect(l_Fd, reinterpret_cast<const sockaddr*>(&l_Address), g_DriverAddressLength) == 0) return l_Fd;
    ::close(l_Fd);
    return Fail(ENOENT);
}

bool IsDevice(int a_Fd) {
    const int l_Error = errno;
    const sockaddr_un l_Driver = DriverAddress();
    sockaddr_un l_Peer{};
    socklen_t l_Length = sizeof(l_Peer);
    const bool l_Connected = ::getpeername(a_Fd, reinterpret_cast<sockaddr*>(&l_Peer), &l_Length) == 0;
    errno = l_Error;
    return l_Connected && l_Length == g_DriverAddressLength && std::memcmp(&l_Peer, &l_Driver, l_Length) == 0;
}

bool IsIPMIRequest(unsigned long a_Request) {
    return _IOC_TYPE(a_Request) == IPMI_IOC_MAGIC;
}

int DeviceCall(int a_Fd, unsigned long a_Request, void* a_Argument) {
    if (a_Argument == nullptr) return Fail(EFAULT);
    switch (a_Request) {
    case IPMICTL_SEND_COMMAND:
        return Send(a_Fd, *static_cast<const ipmi_req*>(a_Argument));
    case IPMICTL_SEND_COMMAND_SETTIME:
        return Send(a_Fd, static_cast<const ipmi_req_settime*>(a_Argument)->req);
    case IPMICTL_RECEIVE_MSG:
        return Receive(a_Fd, *static_cast<ipmi_recv*>(a_Argument), false);
    case IPMICTL_RECEIVE_MSG_TRUNC:
        return Receive(a_Fd, *static_cast<ipmi_recv*>(a_Argument), true);

    case IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD:
    case IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD:
    case IPMICTL_SET_MY_CHANNEL_LUN_CMD:
    case IPMICTL_GET_MY_CHANNEL_LUN_CMD:
        return Channel(a_Request, *static_cast<ipmi_channel_lun_address_set*>(a_Argument));
    case IPMICTL_SET_MY_ADDRESS_CMD:
        return ChannelZero(IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, *static_cast<unsigned int*>(a_Argument));
    case IPMICTL_GET_MY_ADDRESS_CMD:
        return ChannelZero(IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, *static_cast<unsigned int*>(a_Argument));
    case IPMICTL_SET_MY_LUN_CMD:
        return ChannelZero(IPMICTL_SET_MY_CHANNEL_LUN_CMD, *static_cast<unsigned int*>(a_Argument));
    case IPMICTL_GET_MY_LUN_CMD:
        return ChannelZero(IPMICTL_GET_MY_CHANNEL_LUN_CMD, *static_cast<unsigned int*>(a_Argument));

    case IPMICTL_SET_TIMING_PARMS_CMD:
    case IPMICTL_GET_TIMING_PARMS_CMD:
        return Timing(a_Request, *static_cast<ipmi_timing_parms*>(a_Argument));
    case IPMICTL_GET_MAINTENANCE_MODE_CMD:
    case IPMICTL_SET_MAINTENANCE_MODE_CMD:
        return MaintenanceMode(a_Request, *static_cast<int*>(a_Argument));

    // Neither events nor commands ever come from this controller: whoever asks for them waits as on a quiet one.
    case IPMICTL_SET_GETS_EVENTS_CMD:
    case IPMICTL_REGISTER_FOR_CMD:
    case IPMICTL_UNREGISTER_FOR_CMD:
    case IPMICTL_REGISTER_FOR_CMD_CHANS:
    case IPMICTL_UNREGISTER_FOR_CMD_CHANS:
        return 0;
    default:
        return Fail(ENOTTY);
    }
}

} // namespace BLADESIM
