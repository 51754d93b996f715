// The framing of ipmi_sim's VM port: messages and control commands on a byte stream.
#include "sim/controller/VMCodec.h"

#include <numeric>
#include <utility>

namespace BLADESIM {
namespace {

constexpr uint8_t g_MessageEnd = 0xA0;
constexpr uint8_t g_ControlEnd = 0xA1;
constexpr uint8_t g_Escape = 0xAA;
constexpr uint8_t g_EscapeBit = 0x10;

constexpr uint8_t g_ControlVersion = 0xFF;
constexpr uint8_t g_ProtocolVersion = 1;
constexpr uint8_t g_ControlCapabilities = 0x08;

// More than the driver's longest message.
constexpr size_t g_MaxFrame = 300;
// Sequence, netfn and lun, command, checksum.
constexpr size_t g_MinMessage = 4;

uint8_t Sum(const std::vector<uint8_t>& a_Bytes) {
    return static_cast<uint8_t>(std::accumulate(a_Bytes.begin(), a_Bytes.end(), 0U));
}

std::vector<uint8_t> Frame(const std::vector<uint8_t>& a_Bytes, uint8_t a_End) {
    std::vector<uint8_t> l_Frame;
    l_Frame.reserve(a_Bytes.size() + 8);
    for (const uint8_t l_Byte : a_Bytes) {
        const bool l_Special = l_Byte == g_MessageEnd || l_Byte == g_ControlEnd || l_Byte == g_Escape;
        if (l_Special) l_Frame.push_back(g_Escape);
        l_Frame.push_back(l_Special ? l_Byte | g_EscapeBit : l_Byte);
    }
    l_Frame.push_back(a_End);
    return l_Frame;
}

} // namespace

std::vector<uint8_t> Encode(const VM_MESSAGE& a_Message) {
    std::vector<uint8_t> l_Bytes = {
        a_Message.m_Sequence, static_cast<uint8_t>(a_Message.m_NetFn << 2 | a_Message.m_Lun), a_Message.m_Command};
    l_Bytes.insert(l_Bytes.end(), a_Message.m_Data.begin(), a_Message.m_Data.end());
    l_Bytes.push_back(static_cast<uint8_t>(-Sum(l_Bytes)));
    return Frame(l_Bytes, g_MessageEnd);
}

std::vector<uint8_t> Encode(const VM_CONTROL& a_Control) {
    return Frame(a_Control.m_Bytes, g_ControlEnd);
}

std::vector<uint8_t> VMGreeting() {
    std::vector<uint8_t> l_Greeting = Encode(VM_CONTROL{{g_ControlVersion, g_ProtocolVersion}});
    const std::vector<uint8_t> l_Capabilities = Encode(VM_CONTROL{{g_ControlCapabilities, 0}});
    l_Greeting.insert(l_Greeting.end(), l_Capabilities.begin(), l_Capabilities.end());
    return l_Greeting;
}

std::optional<VM_FRAME> VM_DECODER::Feed(uint8_t a_Byte) {
    if (a_Byte == g_MessageEnd || a_Byte == g_ControlEnd) return Finish(a_Byte == g_ControlEnd);
    if (a_Byte == g_Escape) {
        m_Escaped = true;
        return std::nullopt;
    }
    if (m_Bytes.size() >= g_MaxFrame) m_TooLong = true;
    if (!m_TooLong) m_Bytes.push_back(m_Escaped ? a_Byte & ~g_EscapeBit : a_Byte);
    m_Escaped = false;
    return std::nullopt;
}

std::optional<VM_FRAME> VM_DECODER::Finish(bool a_Control) {
    const std::vector<uint8_t> l_Bytes = std::exchange(m_Bytes, {});
    const bool l_Cut = std::exchange(m_Escaped, false);
    const bool l_TooLong = std::exchange(m_TooLong, false);
    if (l_Cut || l_TooLong || l_Bytes.empty()) return std::nullopt;
    if (a_Control) return VM_CONTROL{l_Bytes};
    if (l_Bytes.size() < g_MinMessage || Sum(l_Bytes) != 0) return std::nullopt;
    return VM_MESSAGE{l_Bytes[0],
                      static_cast<uint8_t>(l_Bytes[1] >> 2),
                      static_cast<uint8_t>(l_Bytes[1] & 3),
                      l_Bytes[2],
                      {l_Bytes.begin() + 3, l_Bytes.end() - 1}};
}

} // namespace BLADESIM
