// The parser's entry point and the common header: what is checked, what is trusted, what a failure leaves alone.
#include "ParserFixture.h"

#include <gmock/gmock.h>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class FRUCommonHeader : public PARSER_TEST {
protected:
    FRUCommonHeader() {
        m_FRU.m_BoardManufacturer = "before";
        m_FRU.m_ProductManufacturer = "before";
    }

    void ExpectUntouched() const {
        EXPECT_EQ(m_FRU.m_BoardManufacturer, "before");
        EXPECT_EQ(m_FRU.m_ProductManufacturer, "before");
        EXPECT_EQ(m_FRU.m_BoardProductName, "");
        EXPECT_EQ(m_FRU.m_ProductName, "");
        EXPECT_THAT(m_FRU.m_MultiRecords, IsEmpty());
    }
};

TEST_F(FRUCommonHeader, OfZerosIsAnEmptyArea) {
    EXPECT_EQ(Parse(BYTES(8, 0)), 0);
    ExpectUntouched();
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre(Trace("ENTITYCAPTURE :: ParseCommonArea "),
                            Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x", 0U),
                            Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x ANDED", 0U),
                            Trace("ParseCommonArea - chassis_offset= %i board_offset=%i product_offset=%i MR_offset=%i",
                                  0, 0, 0, 0)));
}

TEST_F(FRUCommonHeader, WithAPadByteIsRefusedThoughItsChecksumIsRight) {
    BYTES l_Image = {1, 0, 0, 0, 0, 0, 1};
    l_Image.push_back(ChecksumOf(l_Image));
    EXPECT_EQ(Parse(l_Image), -1);
    ExpectUntouched();
    EXPECT_THAT(m_Log.Lines(), ElementsAre(Trace("ENTITYCAPTURE :: ParseCommonArea ")));
}

TEST_F(FRUCommonHeader, WithAPadByteIsRefusedBeforeItsChecksumIsLookedAt) {
    EXPECT_EQ(Parse({1, 0, 0, 0, 0, 0, 0x80, 0}), -1);
    ExpectUntouched();
}

TEST_F(FRUCommonHeader, WithABadChecksumIsRefusedAndLeavesTheRecordAlone) {
    BYTES l_Image = FRUImage(BoardArea(Fields({"MM", "NN", "SS", "PP"})), ProductArea(Fields({"AA", "BB"})),
                             Records({{0xC0, {1, 2, 3}}}));
    l_Image[7]++;
    EXPECT_EQ(Parse(l_Image), -2);
    ExpectUntouched();
    EXPECT_THAT(m_Log.Lines(), ElementsAre(Trace("ENTITYCAPTURE :: ParseCommonArea "),
                                           Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x", 0x101U),
                                           Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x ANDED", 1U)));
}

TEST_F(FRUCommonHeader, IsJudgedByTheLowByteOfItsSumAlone) {
    EXPECT_EQ(Parse({0x80, 0x80, 0, 0, 0, 0, 0, 0}), 0) << "sum 0x100";
    EXPECT_EQ(m_Log.Lines().at(1), Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x", 0x100U));
    EXPECT_EQ(m_Log.Lines().at(2), Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x ANDED", 0U));
}

TEST_F(FRUCommonHeader, IsSummedUnsigned) {
    EXPECT_EQ(Parse({0xFF, 0xFF, 0, 0, 0, 0, 0, 0xFF}), -2);
    EXPECT_EQ(m_Log.Lines().at(1), Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x", 0x2FDU));
    EXPECT_EQ(m_Log.Lines().at(2), Trace("ENTITYCAPTURE :: ParseCommonArea Checksum=0x%x ANDED", 0xFDU));
}

TEST_F(FRUCommonHeader, VersionAndInternalUseAreaAreNotLookedAt) {
    EXPECT_EQ(Parse({0x77, 0x55, 0, 0, 0, 0, 0, 0x34}), 0);
    ExpectUntouched();
}

TEST_F(FRUCommonHeader, GivesTheFourOffsetsInBytes) {
    BYTES l_Header = CommonHeader(1, 2, 3, 0xFF);
    int l_Chassis = -1;
    int l_Board = -1;
    int l_Product = -1;
    int l_MultiRecords = -1;
    EXPECT_EQ(ParseCommonArea(l_Header.data(), l_Chassis, l_Board, l_Product, l_MultiRecords), 0);
    EXPECT_EQ(l_Chassis, 8);
    EXPECT_EQ(l_Board, 16);
    EXPECT_EQ(l_Product, 24);
    EXPECT_EQ(l_MultiRecords, 2040);
    EXPECT_EQ(
        m_Log.Lines().back(),
        Trace("ParseCommonArea - chassis_offset= %i board_offset=%i product_offset=%i MR_offset=%i", 8, 16, 24, 2040));
}

TEST_F(FRUCommonHeader, ReportsPadAndChecksumToWhoeverAsksForTheOffsetsAlone) {
    int l_Ignored = 0;
    BYTES l_Pad = {0, 0, 0, 0, 0, 0, 1, 0xFF};
    EXPECT_EQ(ParseCommonArea(l_Pad.data(), l_Ignored, l_Ignored, l_Ignored, l_Ignored), -1);
    BYTES l_Checksum = {0, 0, 0, 0, 0, 0, 0, 1};
    EXPECT_EQ(ParseCommonArea(l_Checksum.data(), l_Ignored, l_Ignored, l_Ignored, l_Ignored), -2);
}

TEST_F(FRUCommonHeader, NullArgumentsAreRefused) {
    BYTES l_Header = CommonHeader(0, 0, 0, 0);
    EXPECT_EQ(ParseFRUData(nullptr, &m_FRU), -1);
    EXPECT_EQ(ParseFRUData(l_Header.data(), nullptr), -1);
    ExpectUntouched();
}

// The areas stand in the order product, records, board here: the order of parsing is not that of the offsets.
TEST_F(FRUCommonHeader, AreasAreParsedChassisBoardProductMultirecordsWhereverTheyStand) {
    const BYTES l_Product = ProductArea(Fields({"PM", "PN", "PP", "PV", "PS", "PA"}));
    BYTES l_Records = Records({{0xC0, {1, 2, 3}}});
    l_Records.resize((l_Records.size() + 7) / 8 * 8);
    const auto l_RecordsAt = static_cast<uint8_t>(1 + l_Product.size() / 8);
    const auto l_BoardAt = static_cast<uint8_t>(l_RecordsAt + l_Records.size() / 8);
    BYTES l_Image = CommonHeader(1, l_BoardAt, 1, l_RecordsAt);
    Append(l_Image, l_Product);
    Append(l_Image, l_Records);
    Append(l_Image, BoardArea(Fields({"BM", "BN", "BS", "BP"})));

    EXPECT_EQ(Parse(l_Image), 0);

    std::vector<std::string> l_Areas;
    for (const LOG_LINE& l_Line : m_Log.Lines()) {
        for (const char* l_Begin :
             {"ParseFRUChassis - l_ChassisPartString", "ParseFRUBoard data", "ParseFRUProduct data", "ParseMR data"}) {
            if (l_Line.m_Text.starts_with(l_Begin)) l_Areas.emplace_back(l_Begin);
        }
    }
    EXPECT_THAT(l_Areas, ElementsAre("ParseFRUChassis - l_ChassisPartString", "ParseFRUBoard data",
                                     "ParseFRUProduct data", "ParseMR data"));
    EXPECT_EQ(m_FRU.m_BoardPartNumber, "BP");
    EXPECT_EQ(m_FRU.m_ProductVersion, "PV");
    EXPECT_EQ(m_FRU.m_MultiRecords.size(), 1U);
}

TEST_F(FRUCommonHeader, ResultIsGoodThoughTheMultirecordsAreBad) {
    BYTES l_Records = Records({{0xC0, {1, 2, 3}}});
    l_Records[4]++;
    EXPECT_EQ(Parse(FRUImage({}, {}, l_Records)), 0);
    EXPECT_THAT(m_FRU.m_MultiRecords, IsEmpty());
}

TEST_F(FRUCommonHeader, NothingIsTracedWhileTheLogLevelIsNotThree) {
    for (const int l_Level : {0, 2, 4, 7}) {
        BM_LOG_LEVEL = l_Level;
        EXPECT_EQ(Parse(FRUImage(BoardArea(Fields({"MM", "NN"})), ProductArea(Fields({"MM"})), Records({{1, {2}}}))),
                  0);
        EXPECT_THAT(m_Log.Lines(), IsEmpty()) << "BM_LOG_LEVEL " << l_Level;
    }
}

TEST_F(FRUCommonHeader, WarningsAreWrittenAtEveryLogLevel) {
    BM_LOG_LEVEL = 0;
    BYTES l_Records = Records({{0xC0, {1}}});
    l_Records[3]++;
    l_Records[4]--;
    BYTES l_Image = FRUImage(BoardArea(Fields({"MM"}), 2), ProductArea(Fields({"MM"}), 0), l_Records);
    l_Image[2] = 1; // a chassis area
    l_Image[7]--;
    EXPECT_EQ(Parse(l_Image), 0);
    EXPECT_EQ(m_Log.Lines().size(), 5U) << "two chassis lines, two versions, one checksum";
    for (const LOG_LINE& l_Line : m_Log.Lines())
        EXPECT_EQ(l_Line.m_Level, 3) << l_Line.m_Text;
}

TEST_F(FRUCommonHeader, ParsingNeedsNoLogger) {
    g_Logger2 = nullptr;
    EXPECT_EQ(Parse(FRUImage(BoardArea(Fields({"MM", "NN"}), 2), {}, {})), 0);
    EXPECT_EQ(m_FRU.m_BoardProductName, "NN");
}

} // namespace
