// The board area: four texts in order, the version that is only complained about, markers that do not end the walk.
#include "ParserFixture.h"

#include <gmock/gmock.h>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;

namespace {

constexpr int BOARD_OFFSET = 16;

class FRUBoard : public PARSER_TEST {
protected:
    /// Parses a board area that stands behind two empty units.
    int ParseBoard(const BYTES& a_Area) {
        BYTES l_Bytes(BOARD_OFFSET, 0);
        Append(l_Bytes, a_Area);
        return ParseFRUBoard(Buffer(l_Bytes), BOARD_OFFSET, &m_FRU);
    }

    void ExpectTexts(const std::string& a_Manufacturer, const std::string& a_Name, const std::string& a_Serial,
                     const std::string& a_Part) const {
        EXPECT_EQ(m_FRU.m_BoardManufacturer, a_Manufacturer);
        EXPECT_EQ(m_FRU.m_BoardProductName, a_Name);
        EXPECT_EQ(m_FRU.m_BoardSerialNumber, a_Serial);
        EXPECT_EQ(m_FRU.m_BoardPartNumber, a_Part);
    }
};

TEST_F(FRUBoard, FourTextsAreTracedAndStored) {
    EXPECT_EQ(ParseBoard(BoardArea(Fields({"Acme Works", "Carrier 8", "SN-0001", "PN-77"}))), 0);
    ExpectTexts("Acme Works", "Carrier 8", "SN-0001", "PN-77");
    const void* l_Data = m_Raw->m_Data;
    EXPECT_THAT(m_Log.Lines(), ElementsAre(Trace("ParseFRUBoard data=0x%p offset=%i", l_Data, BOARD_OFFSET),
                                           Trace("ParseFRUBoard - l_Board_Manufacturer =%s len=%i", "Acme Works", 10),
                                           Trace("ParseFRUBoard - l_Board_ProductName =%s", "Carrier 8"),
                                           Trace("ParseFRUBoard - l_Board_SerialNumber =%s", "SN-0001"),
                                           Trace("ParseFRUBoard - l_Board_PartNumber =%s", "PN-77")));
}

TEST_F(FRUBoard, OtherVersionIsWarnedAboutAndTheTextsAreStoredAllTheSame) {
    EXPECT_EQ(ParseBoard(BoardArea(Fields({"MM", "NN", "SS", "PP"}), 2)), 0);
    ExpectTexts("MM", "NN", "SS", "PP");
    EXPECT_EQ(m_Log.Lines().at(1), Warning("ParseFRUBoard - incorrect version =%d", 2));
    EXPECT_EQ(m_Log.Lines().size(), 6U);
}

TEST_F(FRUBoard, VersionIsShownAsAnUnsignedByte) {
    ParseBoard(BoardArea(Fields({"MM"}), 0xFE));
    EXPECT_EQ(m_Log.Lines().at(1), Warning("ParseFRUBoard - incorrect version =%d", 254));
}

TEST_F(FRUBoard, MarkerInPlaceOfTheManufacturerIsSteppedOver) {
    BYTES l_Fields = {END_OF_FIELDS};
    Append(l_Fields, Fields({"NN", "SS", "PP"}));
    ParseBoard(BoardArea(l_Fields));
    ExpectTexts("", "NN", "SS", "PP");
    EXPECT_EQ(m_Log.Lines().at(1), Trace("ParseFRUBoard - l_Board_Manufacturer =%s len=%i", "", 0));
}

// A text of one character has the type/length byte 0xC1: it cannot be told from the marker.
TEST_F(FRUBoard, TextOfOneCharacterIsReadAsMarkerAndItsCharacterAsTheNextLength) {
    BYTES l_Fields = Field("\x02");
    Append(l_Fields, Bytes("ab"));
    Append(l_Fields, Fields({"SS", "PP"}));
    ParseBoard(BoardArea(l_Fields));
    ExpectTexts("", "ab", "SS", "PP");
}

TEST_F(FRUBoard, FieldOf63BytesIsStoredWhole) {
    const std::string l_Long(63, 'L');
    ParseBoard(BoardArea(Fields({l_Long, "NN", l_Long, "PP"})));
    ExpectTexts(l_Long, "NN", l_Long, "PP");
    EXPECT_EQ(m_Log.Lines().at(1), Trace("ParseFRUBoard - l_Board_Manufacturer =%s len=%i", l_Long.c_str(), 63));
}

TEST_F(FRUBoard, PackedBytesOfASixBitFieldAreStoredAsTheyAre) {
    BYTES l_Fields = Field("\x29\xDC\xA6", FIELD_ASCII_6_BIT);
    Append(l_Fields, Fields({"NN", "SS", "PP"}));
    ParseBoard(BoardArea(l_Fields));
    ExpectTexts("\x29\xDC\xA6", "NN", "SS", "PP");
}

TEST_F(FRUBoard, TextEndsAtItsFirstNulButTheCursorGoesByTheLength) {
    BYTES l_Fields = Field(std::string_view("ab\0cd", 5));
    Append(l_Fields, Fields({"NN", "SS", "PP"}));
    ParseBoard(BoardArea(l_Fields));
    ExpectTexts("ab", "NN", "SS", "PP");
    EXPECT_EQ(m_Log.Lines().at(1), Trace("ParseFRUBoard - l_Board_Manufacturer =%s len=%i", "ab", 5));
}

TEST_F(FRUBoard, PercentSignsOfATextAreNoFormat) {
    ParseBoard(BoardArea(Fields({"%s%n%s", "%x", "100%", "%d%d"})));
    ExpectTexts("%s%n%s", "%x", "100%", "%d%d");
    EXPECT_EQ(m_Log.Lines().back().m_Text, "ParseFRUBoard - l_Board_PartNumber =%d%d");
}

TEST_F(FRUBoard, FieldsBehindThePartNumberAreNotRead) {
    EXPECT_EQ(ParseBoard(BoardArea(Fields({"MM", "NN", "SS", "PP", "file id", "custom"}))), 0);
    ExpectTexts("MM", "NN", "SS", "PP");
    EXPECT_EQ(m_Log.Lines().size(), 5U);
}

TEST_F(FRUBoard, ParsedAgainReplacesTheTexts) {
    ParseBoard(BoardArea(Fields({"first manufacturer", "first name", "first serial", "first part"})));
    ParseBoard(BoardArea({END_OF_FIELDS, END_OF_FIELDS, END_OF_FIELDS, END_OF_FIELDS}));
    ExpectTexts("", "", "", "");
}

} // namespace
