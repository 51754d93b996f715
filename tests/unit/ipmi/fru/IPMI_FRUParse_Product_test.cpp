// The product area: six texts, the last of which, the asset tag, takes the manufacturer's place.
#include "ParserFixture.h"

#include <gmock/gmock.h>

using namespace BM_ADAPTOR;
using ::testing::ElementsAre;

namespace {

constexpr int PRODUCT_OFFSET = 8;

class FRUProduct : public PARSER_TEST {
protected:
    int ParseProduct(const BYTES& a_Area) {
        BYTES l_Bytes(PRODUCT_OFFSET, 0);
        Append(l_Bytes, a_Area);
        return ParseFRUProduct(Buffer(l_Bytes), PRODUCT_OFFSET, &m_FRU);
    }
};

TEST_F(FRUProduct, SixTextsAreTracedAndStoredTheAssetTagAsManufacturer) {
    EXPECT_EQ(ParseProduct(ProductArea(Fields({"AB", "Blade", "Model 5", "1.2", "SN-9", "T1"}))), 0);
    EXPECT_EQ(m_FRU.m_ProductManufacturer, "T1");
    EXPECT_EQ(m_FRU.m_ProductName, "Blade");
    EXPECT_EQ(m_FRU.m_ProductPartModelNumber, "Model 5");
    EXPECT_EQ(m_FRU.m_ProductVersion, "1.2");
    EXPECT_EQ(m_FRU.m_ProductSerialNumber, "SN-9");
    const void* l_Data = m_Raw->m_Data;
    EXPECT_THAT(m_Log.Lines(), ElementsAre(Trace("ParseFRUProduct data=0x%p offset=%i", l_Data, PRODUCT_OFFSET),
                                           Trace("ParseFRUProduct - l_Product_Manufacturer =%s len=%i", "AB", 2),
                                           Trace("ParseFRUProduct - l_Product_ProductName =%s", "Blade"),
                                           Trace("ParseFRUProduct - l_Product_PartNumber =%s", "Model 5"),
                                           Trace("ParseFRUProduct - l_Product_Version =%s", "1.2"),
                                           Trace("ParseFRUProduct - l_Product_SerialNumber =%s", "SN-9"),
                                           Trace("ParseFRUProduct - l_Product_AssetTag =%s", "T1")));
}

TEST_F(FRUProduct, EmptyAssetTagEmptiesTheManufacturer) {
    BYTES l_Fields = Fields({"AB", "NN", "PP", "VV", "SS"});
    Append(l_Fields, Field(""));
    ParseProduct(ProductArea(l_Fields));
    EXPECT_EQ(m_FRU.m_ProductManufacturer, "");
    EXPECT_EQ(m_FRU.m_ProductSerialNumber, "SS");
}

TEST_F(FRUProduct, MarkerInPlaceOfTheAssetTagEmptiesTheManufacturer) {
    ParseProduct(ProductArea(Fields({"AB", "NN", "PP", "VV", "SS"}))); // FinishArea adds the marker
    EXPECT_EQ(m_FRU.m_ProductManufacturer, "");
    EXPECT_EQ(m_Log.Lines().back(), Trace("ParseFRUProduct - l_Product_AssetTag =%s", ""));
}

TEST_F(FRUProduct, OtherVersionIsWarnedAboutAndTheTextsAreStoredAllTheSame) {
    EXPECT_EQ(ParseProduct(ProductArea(Fields({"MM", "NN", "PP", "VV", "SS", "TT"}), 0x80)), 0);
    EXPECT_EQ(m_Log.Lines().at(1), Warning("ParseFRUProduct - incorrect version =%d", 128));
    EXPECT_EQ(m_Log.Lines().size(), 8U);
    EXPECT_EQ(m_FRU.m_ProductManufacturer, "TT");
    EXPECT_EQ(m_FRU.m_ProductName, "NN");
}

TEST_F(FRUProduct, MarkerInTheMiddleIsSteppedOverByOneByte) {
    BYTES l_Fields = Fields({"MM", "NN"});
    l_Fields.push_back(END_OF_FIELDS);
    Append(l_Fields, Fields({"VV", "SS", "TT"}));
    ParseProduct(ProductArea(l_Fields));
    EXPECT_EQ(m_FRU.m_ProductPartModelNumber, "");
    EXPECT_EQ(m_FRU.m_ProductVersion, "VV");
    EXPECT_EQ(m_FRU.m_ProductSerialNumber, "SS");
    EXPECT_EQ(m_FRU.m_ProductManufacturer, "TT");
}

TEST_F(FRUProduct, FieldsOf63BytesAreStoredWhole) {
    std::vector<std::string> l_Texts;
    for (const char l_Letter : {'a', 'b', 'c', 'd', 'e', 'f'})
        l_Texts.emplace_back(63, l_Letter);
    ParseProduct(ProductArea(Fields(l_Texts)));
    EXPECT_EQ(m_FRU.m_ProductName, l_Texts[1]);
    EXPECT_EQ(m_FRU.m_ProductPartModelNumber, l_Texts[2]);
    EXPECT_EQ(m_FRU.m_ProductVersion, l_Texts[3]);
    EXPECT_EQ(m_FRU.m_ProductSerialNumber, l_Texts[4]);
    EXPECT_EQ(m_FRU.m_ProductManufacturer, l_Texts[5]);
}

TEST_F(FRUProduct, BoardTextsAreLeftAlone) {
    m_FRU.m_BoardManufacturer = "board";
    ParseProduct(ProductArea(Fields({"MM", "NN", "PP", "VV", "SS", "TT"})));
    EXPECT_EQ(m_FRU.m_BoardManufacturer, "board");
    EXPECT_EQ(m_FRU.m_BoardProductName, "");
}

} // namespace
