// The packets on the socket between a program that opened /dev/ipmi0 and the simulated blade's driver. One packet is
// one message, laid out alike for 32-bit and 64-bit programs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace bladesim {

// The kernel's limits.
constexpr size_t MaxAddress = 40;
constexpr size_t MaxMessage = 272;

// The kinds of packet to the driver.
constexpr uint32_t RequestPacket = 0;
/// An ioctl that sends or receives no message: the message id holds its number, the data hold what its argument points
/// to. The packet brings a socket for the answer: a packet with the error number as its message id and the bytes to
/// write back as its data.
constexpr uint32_t CallPacket = 1;

/// A request to the driver, or what the driver has for the reader. Only the first m_dataLength bytes of the data are
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

/// Whether a packet that arrived with `size` bytes holds all that its lengths announce.
inline bool IsWhole(const BridgePacket& packet, size_t size) {
    return size >= PacketHeader && packet.m_addressLength <= MaxAddress && packet.m_dataLength <= MaxMessage &&
           size == PacketSize(packet);
}

} // namespace bladesim
