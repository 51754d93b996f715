// What goes over the socket between a program that opened /dev/ipmi0 and the driver of the simulated blade. One packet
// is one message; the layout is the same for 32-bit and 64-bit programs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace BLADESIM {

// The kernel's limits.
constexpr size_t g_MaxAddress = 40;
constexpr size_t g_MaxMessage = 272;

// What a packet to the driver is.
constexpr uint32_t g_RequestPacket = 0;
/// A call of the device that is no message: its ioctl number stands for the message id, what its argument points to for
/// the data. A socket comes along, which takes the answer: a packet with the error number for the message id and what
/// is written back for the data.
constexpr uint32_t g_CallPacket = 1;

/// A request on its way to the driver, or what the driver has for the reader. The bytes behind m_DataLength are not
/// sent.
struct BRIDGE_PACKET {
    int64_t m_MessageId;
    uint32_t m_ReceiveType; ///< to the reader: IPMI_RESPONSE_RECV_TYPE and so on; to the driver: one of the above
    uint16_t m_AddressLength;
    uint16_t m_DataLength;
    uint8_t m_NetFn;
    uint8_t m_Command;
    uint8_t m_Address[g_MaxAddress]; ///< an address of linux/ipmi.h as its bytes
    uint8_t m_Data[g_MaxMessage];
};

constexpr size_t g_PacketHeader = offsetof(BRIDGE_PACKET, m_Data);

/// How many bytes of the packet are sent.
inline size_t PacketSize(const BRIDGE_PACKET& a_Packet) {
    return g_PacketHeader + a_Packet.m_DataLength;
}

/// Whether a packet that arrived with so many bytes holds what it announces.
inline bool IsWhole(const BRIDGE_PACKET& a_Packet, size_t a_Size) {
    return a_Size >= g_PacketHeader && a_Packet.m_AddressLength <= g_MaxAddress &&
           a_Packet.m_DataLength <= g_MaxMessage && a_Size == PacketSize(a_Packet);
}

} // namespace BLADESIM
