// The rules by which the kernel's IPMI driver takes or refuses a request before it reaches a controller. The preload
// library uses this file too, so nothing here needs the C++ runtime.
#include "sim/driver/KernelRules.h"

#include "sim/base/BridgePacket.h"

#include <cerrno>
#include <cstring>

namespace bladesim {
namespace {

constexpr unsigned char AppNetFn = 0x06;
// These belong to the driver, which manages the sequence numbers of bridged messages.
constexpr unsigned char GetMessage = 0x33;
constexpr unsigned char SendMessage = 0x34;
constexpr unsigned char ReadEventMessageBuffer = 0x35;

constexpr unsigned char MaxLun = 3;
// Bytes around the data of a request: netfn and command; the header of a bridged message.
constexpr size_t SystemInterfaceOverhead = 2;
constexpr size_t IPMBOverhead = 9;

template <typename Address>
Address ReadAddress(const ipmi_req& request) {
    Address address;
    std::memcpy(&address, request.addr, sizeof(address));
    return address;
}

bool IsForDriverOnly(const ipmi_msg& message) {
    return message.netfn == AppNetFn &&
           (message.cmd == GetMessage || message.cmd == SendMessage || message.cmd == ReadEventMessageBuffer);
}

int CheckSystemInterface(const ipmi_req& request) {
    const auto address = ReadAddress<ipmi_system_interface_addr>(request);
    const bool response = (request.msg.netfn & 1) != 0;
    if (address.channel != IPMI_BMC_CHANNEL || address.lun > MaxLun) return EINVAL;
    if (response || IsForDriverOnly(request.msg)) return EINVAL;
    return request.msg.data_len + SystemInterfaceOverhead > MaxMessage ? EMSGSIZE : 0;
}

int CheckIPMB(const ipmi_req& request) {
    const auto address = ReadAddress<ipmi_ipmb_addr>(request);
    // The only IPMB of the blade is channel 0.
    if (address.channel != 0 || address.lun > MaxLun) return EINVAL;
    return request.msg.data_len + IPMBOverhead > MaxMessage ? EMSGSIZE : 0;
}

} // namespace

size_t AddressLength(int addressType) {
    switch (addressType) {
    case IPMI_SYSTEM_INTERFACE_ADDR_TYPE:
        return sizeof(ipmi_system_interface_addr);
    case IPMI_IPMB_ADDR_TYPE:
    case IPMI_IPMB_BROADCAST_ADDR_TYPE:
        return sizeof(ipmi_ipmb_addr);
    default:
        return 0;
    }
}

int CheckRequest(const ipmi_req& request) {
    if (request.addr_len > sizeof(ipmi_addr) || request.addr_len < sizeof(ipmi_system_interface_addr)) return EINVAL;
    if (request.addr == nullptr) return EFAULT;
    if (request.msg.data != nullptr && request.msg.data_len > MaxMessage) return EMSGSIZE;
    switch (ReadAddress<ipmi_system_interface_addr>(request).addr_type) {
    case IPMI_SYSTEM_INTERFACE_ADDR_TYPE:
        return CheckSystemInterface(request);
    case IPMI_IPMB_ADDR_TYPE:
    case IPMI_IPMB_BROADCAST_ADDR_TYPE:
        return CheckIPMB(request);
    default:
        return EINVAL;
    }
}

} // namespace bladesim
