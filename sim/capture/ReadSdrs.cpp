// Reads the records of a controller's SDR repository.
#include "sim/capture/ReadSdrs.h"

#include "sim/blade/HexText.h"
#include "sim/blade/ReplyReader.h"
#include "sim/capture/Requests.h"

#include <algorithm>
#include <optional>
#include <set>

namespace bladesim {
namespace {

constexpr uint8_t ReserveSdrs = 0x22;
constexpr uint8_t GetSdr = 0x23;
constexpr uint8_t ReservationCancelled = 0xC5;
constexpr uint16_t FirstRecord = 0;
constexpr uint16_t NoMoreRecords = 0xFFFF;
constexpr size_t NextRecord = 3; // completion code and the id of the next record
constexpr size_t SdrChunk = 16;
constexpr int MaxReservations = 10;

uint8_t LowByte(size_t word) {
    return static_cast<uint8_t>(word);
}

uint8_t HighByte(size_t word) {
    return static_cast<uint8_t>(word >> 8);
}

class SdrReader {
public:
    explicit SdrReader(Conversation& conversation) : m_conversation(conversation) {}

    std::vector<Bytes> Read() {
        std::vector<Bytes> records;
        std::set<uint16_t> seen;
        MakeReservation();
        for (uint16_t id = FirstRecord; id != NoMoreRecords && seen.insert(id).second;) {
            m_next.reset();
            if (auto record = ReadRecord(id)) records.push_back(std::move(*record));
            if (!m_next) break;
            id = *m_next;
        }
        return records;
    }

private:
    /// It changes nothing in the repository. A controller that knows no reservations takes 0.
    void MakeReservation() {
        const Bytes reply = m_conversation.Ask({StorageNetFn, ReserveSdrs});
        m_reservation = reply.size() >= 3 && reply[0] == 0 ? reply[1] | reply[2] << 8 : 0;
    }

    /// Another reader's reservation cancels ours.
    Bytes ReadPart(uint16_t id, size_t offset, size_t count) {
        for (int attempt = 0;; ++attempt) {
            Bytes reply = m_conversation.Ask({StorageNetFn, GetSdr, LowByte(m_reservation), HighByte(m_reservation),
                                              LowByte(id), HighByte(id), LowByte(offset), LowByte(count)});
            if (reply[0] != ReservationCancelled || attempt == MaxReservations) return reply;
            MakeReservation();
        }
    }

    /// Appends a part of the record; false when it did not come.
    bool Append(Bytes& record, uint16_t id, size_t count) {
        const Bytes reply = ReadPart(id, record.size(), count);
        if (reply.size() >= NextRecord && reply[0] == 0) {
            m_next = static_cast<uint16_t>(reply[1] | reply[2] << 8);
            if (reply.size() > NextRecord) {
                const size_t here = std::min(count, reply.size() - NextRecord);
                record.insert(record.end(), reply.begin() + NextRecord,
                              reply.begin() + NextRecord + static_cast<std::ptrdiff_t>(here));
                return true;
            }
        }
        m_conversation.Say("SDR " + std::to_string(id) + ", byte " + std::to_string(record.size()) + ": reply " +
                           HexText(reply) + "; the record is left out");
        return false;
    }

    std::optional<Bytes> ReadRecord(uint16_t id) {
        Bytes record;
        while (record.size() < SdrHeader) {
            if (!Append(record, id, SdrHeader - record.size())) return std::nullopt;
        }
        const size_t size = SdrHeader + record[SdrHeader - 1];
        while (record.size() < size) {
            if (!Append(record, id, std::min(SdrChunk, size - record.size()))) return std::nullopt;
        }
        if (size <= MaxSdr) return record;
        m_conversation.Say("SDR " + std::to_string(id) + " has " + std::to_string(size) + " bytes, " +
                           std::to_string(MaxSdr) + " are the most; it is left out");
        return std::nullopt;
    }

    Conversation& m_conversation;
    int m_reservation = 0;
    std::optional<uint16_t> m_next;
};

} // namespace

std::vector<Bytes> ReadSdrs(Conversation& conversation) {
    return SdrReader(conversation).Read();
}

} // namespace bladesim
