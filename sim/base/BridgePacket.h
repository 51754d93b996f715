// What goes over the socket between a program that opened /dev/ipmi0 and the driver of the simulated blade. One packet
// is one message; the layout is the same for 32-bit and 64-bit programs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bladesim {

// The kernel's limits.
constexpr size_t MaxAddress = 40;
constexpr size_t MaxMessage = 272;

// What a packet to the driver is.
constexpr uint32_t RequestPacket = 0;
/// A call of the device that is no message: its ioctl number stands for the message id, what its argument points to for
/// the data. A socket comes along, which takes the answer: a packet with the error number for the message id and what
/// is written back for the data.
constexpr uint32_t CallPacket = 1;

/// A request on its way to the driver, or what the driver has for the reader. The bytes behind m_dataLength are not
/// sent.
struct BridgePacket {
    int64_t m_messageId;
    uint32_t m_receiveType; ///< to the reader: IPMI_RESPONSE_RECV_TYPE and so on; to the driver: one of the above
    uint16_t m_addressLength;
    uint16_t m_dataLength;
    uint8_t m_netFn;
    uint8_t m_command;
    uint8_t m_address[MaxAddress]; ///< an address of linux/ipmi.h as its bytes
    uint8_t m_data[MaxMessage];
};

constexpr size_t PacketHeader = offsetof(BridgePacket, m_data);

/// How many bytes of the packet are sent.
inline size_t PacketSize(const BridgePacket& packet) {
    return PacketHeader + packet.m_dataLength;
}

/// Whether a packet that arrived with so many bytes holds what it announces.
inline bool IsWhole(const BridgePacket& packet, size_t size) {
    return size >= PacketHeader && packet.m_addressLength <= MaxAddress && packet.m_dataLength <= MaxMessage &&
           size == PacketSize(packet);
}

} // namespace bladesim
