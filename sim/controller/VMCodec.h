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

namespace BLADESIM {

struct VM_MESSAGE {
    uint8_t m_Sequence = 0;
    uint8_t m_NetFn = 0;
    uint8_t m_Lun = 0;
    uint8_t m_Command = 0;
    std::vector<uint8_t> m_Data; ///< of a reply: the completion code first

    bool operator==(const VM_MESSAGE&) const = default;
};

struct VM_CONTROL {
    std::vector<uint8_t> m_Bytes;

    bool operator==(const VM_CONTROL&) const = default;
};

using VM_FRAME = std::variant<VM_MESSAGE, VM_CONTROL>;

std::vector<uint8_t> Encode(const VM_MESSAGE& a_Message);
std::vector<uint8_t> Encode(const VM_CONTROL& a_Control);

/// What a host says when it connects: protocol version 1, none of the power and reset capabilities.
std::vector<uint8_t> VMGreeting();

/// Takes the stream byte by byte. What is no frame (bad checksum, too short, too long, ended within an escape) is
/// dropped.
class VM_DECODER {
public:
    /// The frame that this byte completes, if any.
    std::optional<VM_FRAME> Feed(uint8_t a_Byte);

private:
    std::optional<VM_FRAME> Finish(bool a_Control);

    std::vector<uint8_t> m_Bytes;
    bool m_Escaped = false;
    bool m_TooLong = false;
};

} // namespace BLADESIM
