// The records of an SDR repository: in parts, after a lost reservation, cut and endless ones.
#include "sim/capture/ReadSdrs.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A repository that gives 16 bytes at a time.
class Repository {
public:
    std::optional<Bytes> Answer(const Bytes& request) {
        if (request[0] == 0x06) return Bytes{0};
        if (request[1] == 0x22) return m_hasReservations ? Bytes{0, ++m_reservation, 0} : Bytes{0xC1};
        if (m_cancel > 0 && m_cancel-- == 1) ++m_reservation;
        const uint8_t expected = m_hasReservations ? m_reservation : 0;
        if (request[2] != expected) return Bytes{0xC5};
        const size_t index = request[4] == 0 ? 0U : request[4] - 1U;
        if (index >= m_records.size()) return Bytes{0xCB};
        const Bytes& record = m_records[index];
        const size_t offset = request[6];
        if (request[7] > 16) return Bytes{0xCA};
        const bool isLast = index + 1 == m_records.size();
        Bytes reply = {0,
                       m_isRing && isLast ? uint8_t{1}
                       : isLast           ? uint8_t{0xFF}
                                          : static_cast<uint8_t>(index + 2),
                       isLast && !m_isRing ? uint8_t{0xFF} : uint8_t{0}};
        for (size_t place = offset; place < std::min(offset + request[7], record.size()); ++place)
            reply.push_back(record[place]);
        return reply;
    }

    std::vector<Bytes> Read() {
        Conversation conversation([this](const Bytes& request) { return Answer(request); },
                                  [this](const std::string& line) { m_told.push_back(line); });
        return ReadSdrs(conversation);
    }

    std::vector<Bytes> m_records;
    bool m_hasReservations = true;
    bool m_isRing = false;
    int m_cancel = 0; ///< at the n-th read the reservation is lost
    uint8_t m_reservation = 0;
    std::vector<std::string> m_told;
};

Bytes RecordOf(uint8_t id, uint8_t size) {
    Bytes record = {id, 0, 0x51, 0xC0, size};
    for (uint8_t byte = 0; byte < size; ++byte)
        record.push_back(byte);
    return record;
}

} // namespace

TEST(ReadSdrs, ReadsRecordsInParts) {
    Repository repository;
    repository.m_records = {RecordOf(1, 0), RecordOf(2, 16), RecordOf(3, 59)};
    EXPECT_EQ(repository.Read(), repository.m_records);
    EXPECT_THAT(repository.m_told, IsEmpty());
}

TEST(ReadSdrs, ReservesAgainWhenAnotherReaderDid) {
    Repository repository;
    repository.m_records = {RecordOf(1, 16), RecordOf(2, 40)};
    repository.m_cancel = 3;
    EXPECT_EQ(repository.Read(), repository.m_records);
}

TEST(ReadSdrs, DoesWithoutReservations) {
    Repository repository;
    repository.m_hasReservations = false;
    repository.m_records = {RecordOf(1, 40)};
    EXPECT_EQ(repository.Read(), repository.m_records);
}

TEST(ReadSdrs, LeavesOutARecordThatEndsTooSoonAndGoesOn) {
    Repository repository;
    repository.m_records = {RecordOf(1, 8), RecordOf(2, 20), RecordOf(3, 8)};
    repository.m_records[1].resize(12);
    EXPECT_THAT(repository.Read(), ElementsAre(RecordOf(1, 8), RecordOf(3, 8)));
    EXPECT_THAT(repository.m_told, ElementsAre("SDR 2, byte 12: reply 00 03 00; the record is left out"));
}

TEST(ReadSdrs, LeavesOutARecordThatIsTooLong) {
    Repository repository;
    repository.m_records = {RecordOf(1, 60), RecordOf(2, 8)};
    EXPECT_THAT(repository.Read(), ElementsAre(RecordOf(2, 8)));
    EXPECT_THAT(repository.m_told, ElementsAre("SDR 0 has 65 bytes, 64 are the most; it is left out"));
}

TEST(ReadSdrs, GoesNoneTheWayRoundTwice) {
    Repository repository;
    repository.m_isRing = true;
    repository.m_records = {RecordOf(1, 8), RecordOf(2, 8)};
    EXPECT_THAT(repository.Read(), ElementsAre(RecordOf(1, 8), RecordOf(2, 8), RecordOf(1, 8)))
        << "the first is asked for by its place, not by its id";
}

TEST(ReadSdrs, AreNoneWhereTheRepositoryIsRefused) {
    Repository repository;
    EXPECT_THAT(repository.Read(), IsEmpty());
    EXPECT_THAT(repository.m_told, ElementsAre("SDR 0, byte 0: reply cb; the record is left out"));
}
