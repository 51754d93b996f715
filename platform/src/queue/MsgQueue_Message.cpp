// A message of the queue: type, addresses and numbered fields, and its bytes between two processes.
#include "platform/src/queue/MsgQueue_Message.h"

#include <cstring>
#include <optional>

namespace {

constexpr uint32_t SIGNATURE = 0x514D5331; // a stranger's datagram hardly begins with it
constexpr size_t WORD = sizeof(uint32_t);
constexpr size_t HEADER_WORDS = 5;
constexpr size_t FIELD_WORDS = 2;

void AddWord(std::vector<uint8_t>& a_Bytes, uint32_t a_Word) {
    uint8_t l_Bytes[WORD];
    std::memcpy(l_Bytes, &a_Word, WORD);
    a_Bytes.insert(a_Bytes.end(), l_Bytes, l_Bytes + WORD);
}

/// Reads from the front, and says when there is too little.
class READER {
public:
    explicit READER(const std::vector<uint8_t>& a_Bytes) : m_Bytes(a_Bytes) {}

    std::optional<uint32_t> Word() {
        uint32_t l_Word = 0;
        if (Left() < WORD) return std::nullopt;
        std::memcpy(&l_Word, m_Bytes.data() + m_At, WORD);
        m_At += WORD;
        return l_Word;
    }

    std::optional<std::vector<uint8_t>> Bytes(size_t a_Size) {
        if (Left() < a_Size) return std::nullopt;
        const auto l_First = m_Bytes.begin() + static_cast<std::ptrdiff_t>(m_At);
        m_At += a_Size;
        return std::vector<uint8_t>(l_First, l_First + static_cast<std::ptrdiff_t>(a_Size));
    }

    size_t Left() const { return m_Bytes.size() - m_At; }

private:
    const std::vector<uint8_t>& m_Bytes;
    size_t m_At = 0;
};

bool DecodeField(READER& a_Reader, qMsg& a_Message) {
    const auto l_Id = a_Reader.Word();
    const auto l_Size = a_Reader.Word();
    if (!l_Id || !l_Size) return false;
    auto l_Bytes = a_Reader.Bytes(*l_Size);
    return l_Bytes && a_Message.m_Fields.emplace(*l_Id, std::move(*l_Bytes)).second;
}

} // namespace

size_t qMsg::EncodedSize() const {
    size_t l_Size = HEADER_WORDS * WORD;
    for (const auto& [l_Id, l_Bytes] : m_Fields)
        l_Size += FIELD_WORDS * WORD + l_Bytes.size();
    return l_Size;
}

std::vector<uint8_t> qMsg::Encode() const {
    std::vector<uint8_t> l_Bytes;
    l_Bytes.reserve(EncodedSize());
    for (const uint32_t l_Word : {SIGNATURE, m_Type, m_Source, m_Destination, static_cast<uint32_t>(m_Fields.size())})
        AddWord(l_Bytes, l_Word);
    for (const auto& [l_Id, l_Value] : m_Fields) {
        AddWord(l_Bytes, l_Id);
        AddWord(l_Bytes, static_cast<uint32_t>(l_Value.size()));
        l_Bytes.insert(l_Bytes.end(), l_Value.begin(), l_Value.end());
    }
    return l_Bytes;
}

std::unique_ptr<qMsg> qMsg::Decode(const std::vector<uint8_t>& a_Bytes) {
    READER l_Reader(a_Bytes);
    if (l_Reader.Word() != SIGNATURE) return nullptr;
    auto l_Message = std::make_unique<qMsg>();
    std::optional<uint32_t> l_Fields;
    for (uint32_t* l_Part : {&l_Message->m_Type, &l_Message->m_Source, &l_Message->m_Destination}) {
        const auto l_Word = l_Reader.Word();
        if (!l_Word) return nullptr;
        *l_Part = *l_Word;
    }
    l_Fields = l_Reader.Word();
    if (!l_Fields) return nullptr;
    for (uint32_t i = 0; i < *l_Fields; ++i) {
        if (!DecodeField(l_Reader, *l_Message)) return nullptr;
    }
    return l_Reader.Left() == 0 ? std::move(l_Message) : nullptr;
}
