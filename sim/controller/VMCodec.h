// The framing of ipmi_sim's VM port: messages and control commands on a byte stream.
//
//   message:  sequence, netfn << 2 | lun, command, data…, checksum    0xA0
//   control:  command, parameters…                                    0xA1
//
// 0xA0, 0xA1 and 0xAA inside are sent as 0xAA, byte | 0x10. The checksum makes the sum of a message 0 modulo 256.
#pragma once

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

namespace bladesim {

struct VmMessage {
    uint8_t m_sequence = 0;
    uint8_t m_netFn = 0;
    uint8_t m_lun = 0;
    uint8_t m_command = 0;
    std::vector<uint8_t> m_data; ///< of a reply: the completion code first

    bool operator==(const VmMessage&) const = default;
};

struct VmControl {
    std::vector<uint8_t> m_bytes;

    bool operator==(const VmControl&) const = default;
};

using VmFrame = std::variant<VmMessage, VmControl>;

std::vector<uint8_t> Encode(const VmMessage& message);
std::vector<uint8_t> Encode(const VmControl& control);

/// A host's greeting: protocol version 1, no power or reset capabilities.
std::vector<uint8_t> VMGreeting();

/// Takes the stream byte by byte. Drops bad frames: wrong checksum, too short, too long, ended within an escape.
class VmDecoder {
public:
    /// The frame that this byte completes, if any.
    std::optional<VmFrame> Feed(uint8_t byte);

private:
    std::optional<VmFrame> Finish(bool control);

    std::vector<uint8_t> m_bytes;
    bool m_escaped = false;
    bool m_tooLong = false;
};

} // namespace bladesim
