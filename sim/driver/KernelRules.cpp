// The rules by which the kernel's IPMI driver takes or refuses a request before any of it reaches a controller.
// This file goes into the preload library as well: nothing of the C++ runtime in it.
#include "sim/driver/KernelRules.h"

#include "sim/base/BridgePacket.h"

#include <cerrno>
#include <cstring>

namespace BLADESIM {
namespace {

constexpr unsigned char g_AppNetFn = 0x06;
// These are the driver's own business: it manages the sequence numbers of bridged messages.
constexpr unsigned char g_GetMessage = 0x33;
constexpr unsigned char g_SendMessage = 0x34;
constexpr unsigned char g_ReadEventMessageBuffer = 0x35;

constexpr unsigned char g_MaxLun = 3;
// Bytes around the data of a request: netfn and command; the header of a bridged message.
constexpr size_t g_SystemInterfaceOverhead = 2;
constexpr size_t g_IPMBOverhead = 9;

template <typename ADDRESS>
ADDRESS ReadAddress(const ipmi_req& a_Request) {
    ADDRESS l_Address;
    std::memcpy(&l_Address, a_Request.addr, sizeof(l_Address));
    return l_Address;
}

bool IsForDriverOnly(const ipmi_msg& a_Message) {
    return a_Message.netfn == g_AppNetFn && (a_Message.cmd == g_GetMessage || a_Message.cmd == g_SendMessage ||
                                             a_Message.cmd == g_ReadEventMessageBuffer);
}

int CheckSystemInterface(const ipmi_req& a_Request) {
    const auto l_Address = ReadAddress<ipmi_system_interface_addr>(a_Request);
    const bool l_Response = (a_Request.msg.netfn & 1) != 0;
    if (l_Address.channel != IPMI_BMC_CHANNEL || l_Address.lun > g_MaxLun) return EINVAL;
    if (l_Response || IsForDriverOnly(a_Request.msg)) return EINVAL;
    return a_Request.msg.data_len + g_SystemInterfaceOverhead > g_MaxMessage ? EMSGSIZE : 0;
}

int CheckIPMB(const ipmi_req& a_Request) {
    const auto l_Address = ReadAddress<ipmi_ipmb_addr>(a_Request);
    // The only IPMB of the blade is channel 0.
    if (l_Address.channel != 0 || l_Address.lun > g_MaxLun) return EINVAL;
    return a_Request.msg.data_len + g_IPMBOverhead > g_MaxMessage ? EMSGSIZE : 0;
}

} // namespace

size_t AddressLength(int a_AddressType) {
    switch (a_AddressType) {
    case IPMI_SYSTEM_INTERFACE_ADDR_TYPE:
        return sizeof(ipmi_system_interface_addr);
    case IPMI_IPMB_ADDR_TYPE:
    case IPMI_IPMB_BROADCAST_ADDR_TYPE:
        return sizeof(ipmi_ipmb_addr);
    default:
        return 0;
    }
}

int CheckRequest(const ipmi_req& a_Request) {
    if (a_Request.addr_len > sizeof(ipmi_addr) || a_Request.addr_len < sizeof(ipmi_system_interface_addr))
        return EINVAL;
    if (a_Request.addr == nullptr) return EFAULT;
    if (a_Request.msg.data != nullptr && a_Request.msg.data_len > g_MaxMessage) return EMSGSIZE;
    switch (ReadAddress<ipmi_system_interface_addr>(a_Request).addr_type) {
    case IPMI_SYSTEM_INTERFACE_ADDR_TYPE:
        return CheckSystemInterface(a_Request);
    case IPMI_IPMB_ADDR_TYPE:
    case IPMI_IPMB_BROADCAST_ADDR_TYPE:
        return CheckIPMB(a_Request);
    default:
        return EINVAL;
    }
}

} // namespace BLADESIM
