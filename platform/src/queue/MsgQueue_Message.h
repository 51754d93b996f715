// A message of the queue: type, addresses and numbered fields, and its bytes between two processes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

/// The bytes are the same for 32-bit and 64-bit processes: words of 32 bits in the machine's byte order.
///
///     signature, type, source, destination, number of fields, then of each field: id, size, bytes
struct qMsg { // NOLINT(readability-identifier-naming): the interface names it
    uint32_t m_type = 0;
    uint32_t m_source = 0;
    uint32_t m_destination = 0;
    std::map<uint32_t, std::vector<uint8_t>> m_fields{};

    /// The size of Encode's result, in bytes.
    size_t EncodedSize() const;
    std::vector<uint8_t> Encode() const;
    /// Null when the bytes are not a whole message: too short, too long, a field that does not fit, or a field that
    /// appears twice.
    static std::unique_ptr<qMsg> Decode(const std::vector<uint8_t>& bytes);
};

namespace bm_queue {

/// The largest encoded message, in bytes.
constexpr size_t MaxQueueMessage = 16384;

} // namespace bm_queue
