// What goes over the socket between a program that opened /dev/ipmi0 and the driver of the simulated blade. One packet
// is one message; the layout is the same for 32-bit and 64-bit programs.
#pragma once

#include <cstddef>
#include <cstdint>

namespace BLADESIM {

/// The driver listens under this abstract name, which is private to the blade's network namespace. Where nobody
/// listens, there is no device.
inline constexpr char g_DriverSocket[] = "bladesim/ipmi0";

// The kernel's limits.
constexpr size_t g_MaxAddress = 40;
constexpr size_t g_MaxMessage = 272;

/// A request on its way to the driver, or what the driver has for the reader. The bytes behind m_DataLength are not
/// sent.
struct BRIDGE_PACKET {
    int64_t m_MessageId;
    uint32_t m_ReceiveType; ///< IPMI_RESPONSE_RECV_TYPE and so on; 0 in a request
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
