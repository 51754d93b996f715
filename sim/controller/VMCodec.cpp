// The framing of ipmi_sim's VM port: messages and control commands on a byte stream.
#include "sim/controller/VMCodec.h"

#include <numeric>
#include <utility>

namespace bladesim {
namespace {

constexpr uint8_t MessageEnd = 0xA0;
constexpr uint8_t ControlEnd = 0xA1;
constexpr uint8_t Escape = 0xAA;
constexpr uint8_t EscapeBit = 0x10;

constexpr uint8_t ControlVersion = 0xFF;
constexpr uint8_t ProtocolVersion = 1;
constexpr uint8_t ControlCapabilities = 0x08;

// More than the driver's longest message.
constexpr size_t MaxFrame = 300;
// Sequence, netfn and lun, command, checksum.
constexpr size_t MinMessage = 4;

uint8_t Sum(const std::vector<uint8_t>& bytes) {
    return static_cast<uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

std::vector<uint8_t> Frame(const std::vector<uint8_t>& bytes, uint8_t end) {
    std::vector<uint8_t> frame;
    frame.reserve(bytes.size() + 8);
    for (const uint8_t byte : bytes) {
        const bool special = byte == MessageEnd || byte == ControlEnd || byte == Escape;
        if (special) frame.push_back(Escape);
        frame.push_back(special ? byte | EscapeBit : byte);
    }
    frame.push_back(end);
    return frame;
}

} // namespace

std::vector<uint8_t> Encode(const VmMessage& message) {
    std::vector<uint8_t> bytes = {message.m_sequence, static_cast<uint8_t>(message.m_netFn << 2 | message.m_lun),
                                  message.m_command};
    bytes.insert(bytes.end(), message.m_data.begin(), message.m_data.end());
    bytes.push_back(static_cast<uint8_t>(-Sum(bytes)));
    return Frame(bytes, MessageEnd);
}

std::vector<uint8_t> Encode(const VmControl& control) {
    return Frame(control.m_bytes, ControlEnd);
}

std::vector<uint8_t> VMGreeting() {
    std::vector<uint8_t> greeting = Encode(VmControl{{ControlVersion, ProtocolVersion}});
    const std::vector<uint8_t> capabilities = Encode(VmControl{{ControlCapabilities, 0}});
    greeting.insert(greeting.end(), capabilities.begin(), capabilities.end());
    return greeting;
}

std::optional<VmFrame> VmDecoder::Feed(uint8_t byte) {
    if (byte == MessageEnd || byte == ControlEnd) return Finish(byte == ControlEnd);
    if (byte == Escape) {
        m_escaped = true;
        return std::nullopt;
    }
    if (m_bytes.size() >= MaxFrame) m_tooLong = true;
    if (!m_tooLong) m_bytes.push_back(m_escaped ? byte & ~EscapeBit : byte);
    m_escaped = false;
    return std::nullopt;
}

std::optional<VmFrame> VmDecoder::Finish(bool control) {
    const std::vector<uint8_t> bytes = std::exchange(m_bytes, {});
    const bool cut = std::exchange(m_escaped, false);
    const bool tooLong = std::exchange(m_tooLong, false);
    if (cut || tooLong || bytes.empty()) return std::nullopt;
    if (control) return VmControl{bytes};
    if (bytes.size() < MinMessage || Sum(bytes) != 0) return std::nullopt;
    return VmMessage{bytes[0],
                     static_cast<uint8_t>(bytes[1] >> 2),
                     static_cast<uint8_t>(bytes[1] & 3),
                     bytes[2],
                     {bytes.begin() + 3, bytes.end() - 1}};
}

} // namespace bladesim
