// A message of the queue: type, addresses and numbered fields, and its bytes between two processes.
#include "platform/src/queue/MsgQueue_Message.h"

#include <cstring>
#include <optional>

namespace {

constexpr uint32_t Signature = 0x514D5331; // a foreign datagram is unlikely to begin with it
constexpr size_t WordSize = sizeof(uint32_t);
constexpr size_t HeaderWords = 5;
constexpr size_t FieldWords = 2;

void AddWord(std::vector<uint8_t>& bytes, uint32_t word) {
    uint8_t raw[WordSize];
    std::memcpy(raw, &word, WordSize);
    bytes.insert(bytes.end(), raw, raw + WordSize);
}

/// Reads bytes one after the other, and reports when there are too few.
class Reader {
public:
    explicit Reader(const std::vector<uint8_t>& bytes) : m_bytes(bytes) {}

    std::optional<uint32_t> Word() {
        uint32_t word = 0;
        if (Left() < WordSize) return std::nullopt;
        std::memcpy(&word, m_bytes.data() + m_at, WordSize);
        m_at += WordSize;
        return word;
    }

    std::optional<std::vector<uint8_t>> Bytes(size_t size) {
        if (Left() < size) return std::nullopt;
        const auto first = m_bytes.begin() + static_cast<std::ptrdiff_t>(m_at);
        m_at += size;
        return std::vector<uint8_t>(first, first + static_cast<std::ptrdiff_t>(size));
    }

    size_t Left() const { return m_bytes.size() - m_at; }

private:
    const std::vector<uint8_t>& m_bytes;
    size_t m_at = 0;
};

bool DecodeField(Reader& reader, qMsg& message) {
    const auto id = reader.Word();
    const auto size = reader.Word();
    if (!id || !size) return false;
    auto bytes = reader.Bytes(*size);
    return bytes && message.m_fields.emplace(*id, std::move(*bytes)).second;
}

} // namespace

size_t qMsg::EncodedSize() const {
    size_t size = HeaderWords * WordSize;
    for (const auto& [id, bytes] : m_fields)
        size += FieldWords * WordSize + bytes.size();
    return size;
}

std::vector<uint8_t> qMsg::Encode() const {
    std::vector<uint8_t> bytes;
    bytes.reserve(EncodedSize());
    for (const uint32_t word : {Signature, m_type, m_source, m_destination, static_cast<uint32_t>(m_fields.size())})
        AddWord(bytes, word);
    for (const auto& [id, value] : m_fields) {
        AddWord(bytes, id);
        AddWord(bytes, static_cast<uint32_t>(value.size()));
        bytes.insert(bytes.end(), value.begin(), value.end());
    }
    return bytes;
}

std::unique_ptr<qMsg> qMsg::Decode(const std::vector<uint8_t>& bytes) {
    Reader reader(bytes);
    if (reader.Word() != Signature) return nullptr;
    auto message = std::make_unique<qMsg>();
    std::optional<uint32_t> fields;
    for (uint32_t* part : {&message->m_type, &message->m_source, &message->m_destination}) {
        const auto word = reader.Word();
        if (!word) return nullptr;
        *part = *word;
    }
    fields = reader.Word();
    if (!fields) return nullptr;
    for (uint32_t i = 0; i < *fields; ++i) {
        if (!DecodeField(reader, *message)) return nullptr;
    }
    return reader.Left() == 0 ? std::move(message) : nullptr;
}
