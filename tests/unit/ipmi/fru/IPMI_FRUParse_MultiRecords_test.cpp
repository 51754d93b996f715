// The multirecord area: records kept whole in order, the end-of-list bit, both checksums, areas of zeros.
#include "ParserFixture.h"

#include <gmock/gmock.h>

#include <numeric>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr int RECORDS_OFFSET = 8;
constexpr int RECORD_HEADER = 5;

class FRUMultiRecords : public PARSER_TEST {
protected:
    int ParseRecords(const BYTES& a_Area) {
        BYTES l_Bytes(RECORDS_OFFSET, 0);
        Append(l_Bytes, a_Area);
        return ParseMR(Buffer(l_Bytes), RECORDS_OFFSET, &m_FRU);
    }

    std::vector<BYTES> Stored() const {
        std::vector<BYTES> l_Stored;
        for (const MULTIRECORD* l_Record : m_FRU.m_MultiRecords)
            l_Stored.push_back(DataOf(*l_Record));
        return l_Stored;
    }
};

TEST_F(FRUMultiRecords, AreAppendedInOrderUpToTheEndOfListBit) {
    BYTES l_Area = Records({{0xC0, {1, 2, 3}}, {0x02, {}}, {0xFF, {9}}});
    Append(l_Area, Record({0x11, {7}}, true)); // behind the last record
    EXPECT_EQ(ParseRecords(l_Area), 3);
    EXPECT_THAT(Stored(), ElementsAre(BYTES{1, 2, 3}, BYTES{}, BYTES{9}));
    EXPECT_EQ(m_FRU.m_MultiRecords[0]->m_Type, 0xC0);
    EXPECT_EQ(m_FRU.m_MultiRecords[1]->m_Type, 0x02);
    EXPECT_EQ(m_FRU.m_MultiRecords[2]->m_Type, 0xFF);
}

TEST_F(FRUMultiRecords, EveryStepOfTwoRecordsIsTraced) {
    const BYTES l_Area = Records({{0xC0, {1, 2, 3}}, {0x07, {0x80}}});
    EXPECT_EQ(ParseRecords(l_Area), 2);
    const void* l_Data = m_Raw->m_Data;
    EXPECT_THAT(
        m_Log.Lines(),
        ElementsAre(
            Trace("ParseMR data=0x%p offset=%i", l_Data, RECORDS_OFFSET),
            Trace("ParseMR Processing MR record %i offset=%i ", 0, 0), Trace("Byte %i = 0x%x", 0, 0xC0U),
            Trace("Byte %i = 0x%x", 1, 0x02U), Trace("Byte %i = 0x%x", 2, 0x03U), Trace("Byte %i = 0x%x", 3, 0xFAU),
            Trace("Byte %i = 0x%x", 4, 0x41U), Trace("ParseMR Processing MR record %i offset=%i len=%i", 0, 0, 3),
            Trace("ParseMR Processing MR record - Header Checksum ok "),
            Trace("ParseMR Processing MR record - data Checksum ok "),
            Trace("ParseMR Processing MR record %i offset=%i ", 1, 8), Trace("Byte %i = 0x%x", 0, 0x07U),
            Trace("Byte %i = 0x%x", 1, 0x82U), Trace("Byte %i = 0x%x", 2, 0x01U), Trace("Byte %i = 0x%x", 3, 0x80U),
            Trace("Byte %i = 0x%x", 4, 0xF6U), Trace("ParseMR Processing MR record %i offset=%i No More Records", 1, 8),
            Trace("ParseMR Processing MR record %i offset=%i len=%i", 1, 8, 1),
            Trace("ParseMR Processing MR record - Header Checksum ok "),
            Trace("ParseMR Processing MR record - data Checksum ok ")));
}

TEST_F(FRUMultiRecords, SecondWithABadDataChecksumEndsTheWalkAndKeepsTheFirst) {
    BYTES l_Area = Records({{0xC0, {1, 2, 3}}, {0xC1, {0xFF, 0xFF}}, {0xC2, {6}}});
    l_Area[8 + RECORD_HEADER]--; // a data byte of the second record: the header stays right
    EXPECT_EQ(ParseRecords(l_Area), 1);
    EXPECT_THAT(Stored(), ElementsAre(BYTES{1, 2, 3}));
    EXPECT_EQ(m_Log.Lines().back(),
              Warning("ParseMR Processing MR record %i offset=%i -- BAD Data Checksum=%i", 1, 8, 0xFE + 0xFF + 0x02))
        << "the full sum, of unsigned bytes, in decimal";
}

TEST_F(FRUMultiRecords, SecondWithABadHeaderChecksumEndsTheWalkAndKeepsTheFirst) {
    BYTES l_Area = Records({{0xC0, {1, 2, 3}}, {0xC1, {4, 5}}});
    l_Area[8 + 4]++;
    const unsigned l_Sum = 0x1U + std::accumulate(l_Area.begin() + 8, l_Area.begin() + 8 + 4, 0U) +
                           ChecksumOf({l_Area.begin() + 8, l_Area.begin() + 8 + 4});
    EXPECT_EQ(ParseRecords(l_Area), 1);
    EXPECT_THAT(Stored(), ElementsAre(BYTES{1, 2, 3}));
    EXPECT_EQ(m_Log.Lines().back(),
              Warning("ParseMR Processing MR record %i offset=%i -- BAD Header Checksum=0x%x", 1, 8, l_Sum));
    EXPECT_EQ(l_Sum & 0xFF, 1U);
    EXPECT_GT(l_Sum, 0xFFU) << "the trace shows more than the low byte";
}

TEST_F(FRUMultiRecords, SingleLastRecordWithABadHeaderChecksumLeavesTheListEmpty) {
    BYTES l_Area = Records({{0xC0, {1}}});
    l_Area[0]++;
    EXPECT_EQ(ParseRecords(l_Area), 0);
    EXPECT_THAT(Stored(), IsEmpty());
    EXPECT_EQ(m_Log.Lines().size(), 10U) << "begin, record, five bytes, no more, length, bad checksum";
    EXPECT_EQ(m_Log.Lines().back().m_Level, 3);
}

TEST_F(FRUMultiRecords, SingleLastRecordWithABadDataChecksumLeavesTheListEmpty) {
    BYTES l_Area = Records({{0xC0, {1}}});
    l_Area[RECORD_HEADER]++;
    EXPECT_EQ(ParseRecords(l_Area), 0);
    EXPECT_THAT(Stored(), IsEmpty());
}

TEST_F(FRUMultiRecords, OfLength0WithChecksum0IsKeptAsAnEmptyRecord) {
    EXPECT_EQ(ParseRecords(Record({0x05, {}}, true)), 1);
    ASSERT_EQ(m_FRU.m_MultiRecords.size(), 1U);
    EXPECT_EQ(m_FRU.m_MultiRecords[0]->m_Length, 0);
    EXPECT_EQ(m_FRU.m_MultiRecords[0]->m_Data, nullptr);
    EXPECT_EQ(m_FRU.m_MultiRecords[0]->m_Type, 5);
}

TEST_F(FRUMultiRecords, OfLength0WithAnotherChecksumIsBad) {
    BYTES l_Area = {0x05, 0x80, 0, 1};
    l_Area.push_back(ChecksumOf(l_Area));
    EXPECT_EQ(ParseRecords(l_Area), 0);
    EXPECT_EQ(m_Log.Lines().back(),
              Warning("ParseMR Processing MR record %i offset=%i -- BAD Data Checksum=%i", 0, 0, 1));
}

TEST_F(FRUMultiRecords, OfTheLargestLengthIsKeptWhole) {
    BYTES l_Data(255);
    std::iota(l_Data.begin(), l_Data.end(), uint8_t{3});
    EXPECT_EQ(ParseRecords(Records({{1, l_Data}, {2, l_Data}})), 2);
    EXPECT_THAT(Stored(), ElementsAre(l_Data, l_Data));
}

TEST_F(FRUMultiRecords, OtherBitsOfTheSecondHeaderByteAreNotExamined) {
    BYTES l_Area = {0xC0, 0x7F, 0, 0};
    l_Area.push_back(ChecksumOf(l_Area));
    BYTES l_Last = {0xC1, 0x80, 0, 0};
    l_Last.push_back(ChecksumOf(l_Last));
    Append(l_Area, l_Last);
    EXPECT_EQ(ParseRecords(l_Area), 2);
}

TEST_F(FRUMultiRecords, StoredCopiesDoNotShareTheBuffer) {
    ParseRecords(Records({{0xC0, {1, 2, 3}}}));
    std::fill_n(m_Raw->m_Data, m_Raw->m_Size, uint8_t{0xEE});
    EXPECT_THAT(Stored(), ElementsAre(BYTES{1, 2, 3}));
}

TEST_F(FRUMultiRecords, AreAppendedBehindThoseAlreadyThere) {
    EXPECT_EQ(ParseRecords(Records({{1, {1}}})), 1);
    EXPECT_EQ(ParseRecords(Records({{2, {2}}, {3, {3}}})), 2) << "the result counts only the new ones";
    EXPECT_THAT(Stored(), ElementsAre(BYTES{1}, BYTES{2}, BYTES{3}));
}

// Five zero bytes are a record of length 0 without the end-of-list bit.
TEST_F(FRUMultiRecords, InAnAreaOfZerosEndWhereTheAreaEnds) {
    for (const int l_Zeros : {5, 6, 8, 9, 40}) {
        IPMI_FRU l_FRU({}, "zeros");
        const BYTES l_Bytes(static_cast<std::size_t>(RECORDS_OFFSET + l_Zeros), 0);
        EXPECT_EQ(ParseMR(Buffer(l_Bytes), RECORDS_OFFSET, &l_FRU), l_Zeros / RECORD_HEADER) << l_Zeros;
    }
    EXPECT_EQ(m_Log.Lines().back(),
              Warning("ParseMR Processing MR record %i offset=%i -- BAD Header Checksum=0x%x", 8, 40, 0x4FBU));
}

TEST_F(FRUMultiRecords, InTheLargestAreaOfZerosAreFinitelyMany) {
    BM_LOG_LEVEL = 0;
    BYTES l_Image(0xFFFF, 0);
    l_Image[5] = 1;
    l_Image[7] = 0xFF;
    EXPECT_EQ(Parse(l_Image), 0);
    EXPECT_EQ(m_FRU.m_MultiRecords.size(), (0xFFFFU - 8U) / 5U);
}

TEST_F(FRUMultiRecords, BehindTheEndOfTheAreaAreBadRecords) {
    BYTES l_Image = CommonHeader(0, 0, 0, 255);
    EXPECT_EQ(Parse(l_Image), 0);
    EXPECT_THAT(Stored(), IsEmpty());
    EXPECT_EQ(m_Log.Lines().back(),
              Warning("ParseMR Processing MR record %i offset=%i -- BAD Header Checksum=0x%x", 0, 0, 0x4FBU));
}

// A record whose data reach past the end of the area takes the slack for data: the buffer is never left.
TEST_F(FRUMultiRecords, DataCutOffByTheEndOfTheAreaAreReadFromTheSlack) {
    BYTES l_Area = {0xC0, 0x82, 255, 255}; // 255 x 0xFF and this checksum: 256 x 0xFF = 0xFF00
    l_Area.push_back(ChecksumOf(l_Area));
    EXPECT_EQ(ParseRecords(l_Area), 1);
    EXPECT_THAT(Stored(), ElementsAre(BYTES(255, 0xFF)));
}

} // namespace
