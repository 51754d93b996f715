// The chassis area: two warning lines, both read from byte 3 of the buffer, and nothing stored.
#include "ParserFixture.h"

#include <gmock/gmock.h>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;

namespace {

class FRUChassis : public PARSER_TEST {};

TEST_F(FRUChassis, BothStringsAreReadFromByteThreeOfTheBufferWhateverTheOffset) {
    BYTES l_Bytes = {1, 2, 3};
    Append(l_Bytes, Fields({"part", "serial"}));
    for (const int l_Offset : {0, 8, 2040}) {
        m_Log.Clear();
        EXPECT_EQ(ParseFRUChassis(Buffer(l_Bytes), l_Offset, &m_FRU), 0);
        EXPECT_THAT(m_Log.Lines(), ElementsAre(Warning("ParseFRUChassis - l_ChassisPartString=%s", "part"),
                                               Warning("ParseFRUChassis - l_ChassisSNString=%s", "part")));
    }
}

TEST_F(FRUChassis, MarkerShowsAsTwoEmptyStrings) {
    EXPECT_EQ(ParseFRUChassis(Buffer({1, 2, 3, END_OF_FIELDS, 'x'}), 0, &m_FRU), 0);
    EXPECT_THAT(m_Log.Lines(), ElementsAre(Warning("ParseFRUChassis - l_ChassisPartString=%s", ""),
                                           Warning("ParseFRUChassis - l_ChassisSNString=%s", "")));
}

TEST_F(FRUChassis, StringOf63BytesIsShownWhole) {
    BYTES l_Bytes = {1, 2, 3};
    const std::string l_Long(63, 'c');
    Append(l_Bytes, Field(l_Long));
    ParseFRUChassis(Buffer(l_Bytes), 0, &m_FRU);
    EXPECT_EQ(m_Log.Lines().at(0), Warning("ParseFRUChassis - l_ChassisPartString=%s", l_Long.c_str()));
}

// Inside a whole area, byte 3 is the common header's board offset: it is taken for a type/length byte.
TEST_F(FRUChassis, InAWholeAreaTheBoardOffsetIsTakenForTheLength) {
    BYTES l_Image = {1, 0, 1, 4, 'x', 'y', 0, 0};
    l_Image[7] = ChecksumOf(l_Image);
    EXPECT_EQ(Parse(l_Image), 0);
    EXPECT_EQ(m_Log.Lines().at(4), Warning("ParseFRUChassis - l_ChassisPartString=%s", "xy"));
    EXPECT_EQ(m_Log.Lines().at(5), Warning("ParseFRUChassis - l_ChassisSNString=%s", "xy"));
}

TEST_F(FRUChassis, NothingIsStored) {
    BYTES l_Bytes = {1, 2, 3};
    Append(l_Bytes, Fields({"part", "serial"}));
    ParseFRUChassis(Buffer(l_Bytes), 0, &m_FRU);
    for (const std::string& l_Text :
         {m_FRU.m_BoardManufacturer, m_FRU.m_BoardProductName, m_FRU.m_BoardSerialNumber, m_FRU.m_BoardPartNumber,
          m_FRU.m_ProductManufacturer, m_FRU.m_ProductName, m_FRU.m_ProductPartModelNumber, m_FRU.m_ProductVersion,
          m_FRU.m_ProductSerialNumber}) {
        EXPECT_EQ(l_Text, "");
    }
    EXPECT_TRUE(m_FRU.m_MultiRecords.empty());
}

} // namespace
