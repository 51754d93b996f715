// FRU images built from texts: layout, checksums, padding.
#include "sim/blade/FruImage.h"

#include <gmock/gmock.h>

#include <numeric>

using namespace BLADESIM;
using testing::ElementsAre;

namespace {

using BYTES = std::vector<uint8_t>;

INVENTORY SampleInventory() {
    INVENTORY l_Inventory;
    l_Inventory.m_Board = {"Maker", "Board", "S-1", "P-1"};
    l_Inventory.m_Product = {"Seller", "Product", "Model", "V1", "S-2", "Tag"};
    return l_Inventory;
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
    const BYTES l_Header = Slice(BuildFruImage(SampleInventory()), 0, 8);
    EXPECT_EQ(l_Header[0], 1);
    EXPECT_EQ(l_Header[1], 0) << "internal use area";
    EXPECT_EQ(l_Header[2], 0) << "chassis info area";
    EXPECT_EQ(l_Header[3], 1) << "board info area right behind the header";
    EXPECT_EQ(l_Header[5], 0) << "no multirecords";
    EXPECT_EQ(l_Header[6], 0) << "pad";
    EXPECT_EQ(Sum(l_Header), 0);
}

TEST(FruImage, HoldsTheTextsOfTheBoardInTheOrderOfTheFormat) {
    EXPECT_THAT(Texts(BuildFruImage(SampleInventory()), 8 + 6), ElementsAre("Maker", "Board", "S-1", "P-1", ""));
}

TEST(FruImage, HoldsTheTextsOfTheProductInTheOrderOfTheFormat) {
    const BYTES l_Image = BuildFruImage(SampleInventory());
    EXPECT_THAT(Texts(l_Image, l_Image[4] * 8U + 3), ElementsAre("Seller", "Product", "Model", "V1", "S-2", "Tag", ""));
}

TEST(FruImage, HasInfoAreasThatSumToZeroOverTheirOwnLength) {
    const BYTES l_Image = BuildFruImage(SampleInventory());
    for (const size_t l_HeaderByte : {3U, 4U}) {
        const size_t l_Offset = l_Image[l_HeaderByte] * 8U;
        EXPECT_EQ(l_Image[l_Offset], 1) << "version";
        EXPECT_EQ(Sum(Slice(l_Image, l_Offset, l_Image[l_Offset + 1] * 8U)), 0);
    }
}

TEST(FruImage, HasASizeThatIsAMultipleOfSixteenWhateverTheTexts) {
    INVENTORY l_Inventory = SampleInventory();
    for (size_t l_Length = 2; l_Length <= g_MaxFruText; ++l_Length) {
        l_Inventory.m_Product->m_AssetTag.assign(l_Length, 'x');
        EXPECT_EQ(BuildFruImage(l_Inventory).size() % 16, 0U) << l_Length;
    }
}

TEST(FruImage, WritesAnEmptyTextAsAFieldOfLengthZero) {
    INVENTORY l_Inventory = SampleInventory();
    l_Inventory.m_Board->m_Manufacturer.clear();
    EXPECT_EQ(BuildFruImage(l_Inventory)[8 + 6], 0xC0);
}

TEST(FruImage, HoldsTextsOfTheGreatestLength) {
    INVENTORY l_Inventory = SampleInventory();
    const std::string l_Longest(g_MaxFruText, 'm');
    l_Inventory.m_Board = {l_Longest, l_Longest, l_Longest, l_Longest};
    EXPECT_THAT(Texts(BuildFruImage(l_Inventory), 8 + 6), ElementsAre(l_Longest, l_Longest, l_Longest, l_Longest, ""));
}

TEST(FruImage, PutsTheMultirecordsBehindTheInfoAreasAndMarksTheLast) {
    INVENTORY l_Inventory = SampleInventory();
    l_Inventory.m_MultiRecords = {{0xC0, {0x57, 0x01}}, {0xD1, {}}};
    const BYTES l_Image = BuildFruImage(l_Inventory);
    const size_t l_Offset = l_Image[5] * 8U;
    ASSERT_NE(l_Offset, 0U);
    EXPECT_THAT(Slice(l_Image, l_Offset, 7), ElementsAre(0xC0, 0x02, 0x02, 0xA8, 0x94, 0x57, 0x01));
    EXPECT_THAT(Slice(l_Image, l_Offset + 7, 5), ElementsAre(0xD1, 0x82, 0x00, 0x00, 0xAD));
}

TEST(FruImage, HasNoAreaThatNobodyNamed) {
    EXPECT_THAT(BuildFruImage({}), ElementsAre(1, 0, 0, 0, 0, 0, 0, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0));
    INVENTORY l_Inventory = SampleInventory();
    l_Inventory.m_Board.reset();
    const BYTES l_Image = BuildFruImage(l_Inventory);
    EXPECT_EQ(l_Image[3], 0);
    EXPECT_EQ(l_Image[4], 1) << "product info area right behind the header";
}

TEST(FruImage, HasTheSizeWantedUnlessThatIsTooSmall) {
    INVENTORY l_Inventory;
    l_Inventory.m_Board = {"Maker", "Board", "S-1", "P-1"};
    l_Inventory.m_Size = 41;
    EXPECT_EQ(BuildFruImage(l_Inventory).size(), 41U);
    l_Inventory.m_Size = 0;
    EXPECT_EQ(BuildFruImage(l_Inventory).size(), 8U + 32);
}

TEST(FruImage, IsARawImageAsItStands) {
    INVENTORY l_Inventory = SampleInventory();
    l_Inventory.m_Raw = BYTES{1, 2, 3};
    EXPECT_THAT(BuildFruImage(l_Inventory), ElementsAre(1, 2, 3));
    l_Inventory.m_Raw = BYTES{};
    EXPECT_TRUE(BuildFruImage(l_Inventory).empty());
}

TEST(FruImage, HasExactlyTheBadChecksumsThatAreWanted) {
    INVENTORY l_Inventory = SampleInventory();
    l_Inventory.m_MultiRecords = {{0xC0, {0x57, 0x01}}, {0xD1, {0x01}}};
    const BYTES l_Good = BuildFruImage(l_Inventory);
    const size_t l_Board = l_Good[3] * 8U;
    const size_t l_Product = l_Good[4] * 8U;
    const size_t l_Records = l_Good[5] * 8U;
    struct ROW {
        BAD_CHECKSUMS m_Bad;
        std::vector<size_t> m_Places;
    };
    const ROW l_Rows[] = {
        {{true, false, false, false}, {7}},
        {{false, true, false, false}, {l_Product - 1, l_Records - 1}},
        {{false, false, true, false}, {l_Records + 4, l_Records + 7 + 4}},
        // A data checksum stands in the header, which must sum to zero with it.
        {{false, false, false, true}, {l_Records + 3, l_Records + 4, l_Records + 7 + 3, l_Records + 7 + 4}},
    };
    ASSERT_GT(l_Board, 0U);
    for (const ROW& l_Row : l_Rows) {
        l_Inventory.m_BadChecksums = l_Row.m_Bad;
        const BYTES l_Image = BuildFruImage(l_Inventory);
        ASSERT_EQ(l_Image.size(), l_Good.size());
        std::vector<size_t> l_Differ;
        for (size_t l_Index = 0; l_Index < l_Image.size(); ++l_Index) {
            if (l_Image[l_Index] != l_Good[l_Index]) l_Differ.push_back(l_Index);
        }
        EXPECT_EQ(l_Differ, l_Row.m_Places);
    }
}
