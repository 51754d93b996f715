// FRU images built from texts: layout, checksums, padding.
#include "sim/FruImage.h"

#include <gmock/gmock.h>

#include <numeric>

using namespace BLADESIM;
using testing::ElementsAre;

namespace {

using BYTES = std::vector<uint8_t>;

FRU SampleFRU() {
    FRU l_FRU;
    l_FRU.m_Board = {"Maker", "Board", "S-1", "P-1"};
    l_FRU.m_Product = {"Seller", "Product", "Model", "V1", "S-2", "Tag"};
    return l_FRU;
}

BYTES Slice(const BYTES& a_Image, size_t a_Offset, size_t a_Length) {
    return {a_Image.begin() + static_cast<ptrdiff_t>(a_Offset),
            a_Image.begin() + static_cast<ptrdiff_t>(a_Offset + a_Length)};
}

uint8_t Sum(const BYTES& a_Bytes) {
    return static_cast<uint8_t>(std::accumulate(a_Bytes.begin(), a_Bytes.end(), 0U));
}

/// The texts of an info area, up to its end marker.
std::vector<std::string> Texts(const BYTES& a_Image, size_t a_Cursor) {
    std::vector<std::string> l_Texts;
    while (a_Image.at(a_Cursor) != 0xC1) {
        EXPECT_EQ(a_Image[a_Cursor] >> 6, 3) << "not 8-bit text";
        const size_t l_Length = a_Image[a_Cursor] & 0x3F;
        const BYTES l_Text = Slice(a_Image, a_Cursor + 1, l_Length);
        l_Texts.emplace_back(l_Text.begin(), l_Text.end());
        a_Cursor += l_Length + 1;
    }
    return l_Texts;
}

} // namespace

TEST(FruImage, BeginsWithACommonHeaderThatSumsToZero) {
    const BYTES l_Header = Slice(BuildFruImage(SampleFRU()), 0, 8);
    EXPECT_EQ(l_Header[0], 1);
    EXPECT_EQ(l_Header[1], 0) << "internal use area";
    EXPECT_EQ(l_Header[2], 0) << "chassis info area";
    EXPECT_EQ(l_Header[3], 1) << "board info area right behind the header";
    EXPECT_EQ(l_Header[5], 0) << "no multirecords";
    EXPECT_EQ(l_Header[6], 0) << "pad";
    EXPECT_EQ(Sum(l_Header), 0);
}

TEST(FruImage, HoldsTheTextsOfTheBoardInTheOrderOfTheFormat) {
    EXPECT_THAT(Texts(BuildFruImage(SampleFRU()), 8 + 6), ElementsAre("Maker", "Board", "S-1", "P-1", ""));
}

TEST(FruImage, HoldsTheTextsOfTheProductInTheOrderOfTheFormat) {
    const BYTES l_Image = BuildFruImage(SampleFRU());
    EXPECT_THAT(Texts(l_Image, l_Image[4] * 8U + 3), ElementsAre("Seller", "Product", "Model", "V1", "S-2", "Tag", ""));
}

TEST(FruImage, HasInfoAreasThatSumToZeroOverTheirOwnLength) {
    const BYTES l_Image = BuildFruImage(SampleFRU());
    for (const size_t l_HeaderByte : {3U, 4U}) {
        const size_t l_Offset = l_Image[l_HeaderByte] * 8U;
        EXPECT_EQ(l_Image[l_Offset], 1) << "version";
        EXPECT_EQ(Sum(Slice(l_Image, l_Offset, l_Image[l_Offset + 1] * 8U)), 0);
    }
}

TEST(FruImage, HasASizeThatIsAMultipleOfSixteenWhateverTheTexts) {
    FRU l_FRU = SampleFRU();
    for (size_t l_Length = 2; l_Length <= g_MaxFruText; ++l_Length) {
        l_FRU.m_Product.m_AssetTag.assign(l_Length, 'x');
        EXPECT_EQ(BuildFruImage(l_FRU).size() % 16, 0U) << l_Length;
    }
}

TEST(FruImage, WritesAnEmptyTextAsAFieldOfLengthZero) {
    FRU l_FRU = SampleFRU();
    l_FRU.m_Board.m_Manufacturer.clear();
    EXPECT_EQ(BuildFruImage(l_FRU)[8 + 6], 0xC0);
}

TEST(FruImage, HoldsTextsOfTheGreatestLength) {
    FRU l_FRU = SampleFRU();
    const std::string l_Longest(g_MaxFruText, 'm');
    l_FRU.m_Board = {l_Longest, l_Longest, l_Longest, l_Longest};
    EXPECT_THAT(Texts(BuildFruImage(l_FRU), 8 + 6), ElementsAre(l_Longest, l_Longest, l_Longest, l_Longest, ""));
}

TEST(FruImage, PutsTheMultirecordsBehindTheInfoAreasAndMarksTheLast) {
    FRU l_FRU = SampleFRU();
    l_FRU.m_MultiRecords = {{0xC0, {0x57, 0x01}}, {0xD1, {}}};
    const BYTES l_Image = BuildFruImage(l_FRU);
    const size_t l_Offset = l_Image[5] * 8U;
    ASSERT_NE(l_Offset, 0U);
    EXPECT_THAT(Slice(l_Image, l_Offset, 7), ElementsAre(0xC0, 0x02, 0x02, 0xA8, 0x94, 0x57, 0x01));
    EXPECT_THAT(Slice(l_Image, l_Offset + 7, 5), ElementsAre(0xD1, 0x82, 0x00, 0x00, 0xAD));
}
