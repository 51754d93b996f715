// FRU images built from texts: layout, checksums, padding.
#include "sim/blade/FruImage.h"

#include "sim/base/Bytes.h"

#include <gmock/gmock.h>

#include <numeric>

using namespace bladesim;
using testing::ElementsAre;

namespace {

Inventory SampleInventory() {
    Inventory inventory;
    inventory.m_board = {"Maker", "Board", "S-1", "P-1"};
    inventory.m_product = {"Seller", "Product", "Model", "V1", "S-2", "Tag"};
    return inventory;
}

Bytes Slice(const Bytes& image, size_t offset, size_t length) {
    return {image.begin() + static_cast<ptrdiff_t>(offset), image.begin() + static_cast<ptrdiff_t>(offset + length)};
}

uint8_t Sum(const Bytes& bytes) {
    return static_cast<uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U));
}

/// The texts of an info area, up to its end marker.
std::vector<std::string> Texts(const Bytes& image, size_t cursor) {
    std::vector<std::string> texts;
    while (image.at(cursor) != 0xC1) {
        EXPECT_EQ(image[cursor] >> 6, 3) << "not 8-bit text";
        const size_t length = image[cursor] & 0x3F;
        const Bytes text = Slice(image, cursor + 1, length);
        texts.emplace_back(text.begin(), text.end());
        cursor += length + 1;
    }
    return texts;
}

} // namespace

TEST(FruImage, BeginsWithACommonHeaderThatSumsToZero) {
    const Bytes header = Slice(BuildFruImage(SampleInventory()), 0, 8);
    EXPECT_EQ(header[0], 1);
    EXPECT_EQ(header[1], 0) << "internal use area";
    EXPECT_EQ(header[2], 0) << "chassis info area";
    EXPECT_EQ(header[3], 1) << "board info area right behind the header";
    EXPECT_EQ(header[5], 0) << "no multirecords";
    EXPECT_EQ(header[6], 0) << "pad";
    EXPECT_EQ(Sum(header), 0);
}

TEST(FruImage, HoldsTheTextsOfTheBoardInTheOrderOfTheFormat) {
    EXPECT_THAT(Texts(BuildFruImage(SampleInventory()), 8 + 6), ElementsAre("Maker", "Board", "S-1", "P-1", ""));
}

TEST(FruImage, HoldsTheTextsOfTheProductInTheOrderOfTheFormat) {
    const Bytes image = BuildFruImage(SampleInventory());
    EXPECT_THAT(Texts(image, image[4] * 8U + 3), ElementsAre("Seller", "Product", "Model", "V1", "S-2", "Tag", ""));
}

TEST(FruImage, HasInfoAreasThatSumToZeroOverTheirOwnLength) {
    const Bytes image = BuildFruImage(SampleInventory());
    for (const size_t headerByte : {3U, 4U}) {
        const size_t offset = image[headerByte] * 8U;
        EXPECT_EQ(image[offset], 1) << "version";
        EXPECT_EQ(Sum(Slice(image, offset, image[offset + 1] * 8U)), 0);
    }
}

TEST(FruImage, HasASizeThatIsAMultipleOfSixteenWhateverTheTexts) {
    Inventory inventory = SampleInventory();
    for (size_t length = 2; length <= MaxFruText; ++length) {
        inventory.m_product->m_assetTag.assign(length, 'x');
        EXPECT_EQ(BuildFruImage(inventory).size() % 16, 0U) << length;
    }
}

TEST(FruImage, WritesAnEmptyTextAsAFieldOfLengthZero) {
    Inventory inventory = SampleInventory();
    inventory.m_board->m_manufacturer.clear();
    EXPECT_EQ(BuildFruImage(inventory)[8 + 6], 0xC0);
}

TEST(FruImage, HoldsTextsOfTheGreatestLength) {
    Inventory inventory = SampleInventory();
    const std::string longest(MaxFruText, 'm');
    inventory.m_board = {longest, longest, longest, longest};
    EXPECT_THAT(Texts(BuildFruImage(inventory), 8 + 6), ElementsAre(longest, longest, longest, longest, ""));
}

TEST(FruImage, PutsTheMultirecordsBehindTheInfoAreasAndMarksTheLast) {
    Inventory inventory = SampleInventory();
    inventory.m_multiRecords = {{0xC0, {0x57, 0x01}}, {0xD1, {}}};
    const Bytes image = BuildFruImage(inventory);
    const size_t offset = image[5] * 8U;
    ASSERT_NE(offset, 0U);
    EXPECT_THAT(Slice(image, offset, 7), ElementsAre(0xC0, 0x02, 0x02, 0xA8, 0x94, 0x57, 0x01));
    EXPECT_THAT(Slice(image, offset + 7, 5), ElementsAre(0xD1, 0x82, 0x00, 0x00, 0xAD));
}

TEST(FruImage, HasNoAreaThatNobodyNamed) {
    EXPECT_THAT(BuildFruImage({}), ElementsAre(1, 0, 0, 0, 0, 0, 0, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0));
    Inventory inventory = SampleInventory();
    inventory.m_board.reset();
    const Bytes image = BuildFruImage(inventory);
    EXPECT_EQ(image[3], 0);
    EXPECT_EQ(image[4], 1) << "product info area right behind the header";
}

TEST(FruImage, HasTheSizeWantedUnlessThatIsTooSmall) {
    Inventory inventory;
    inventory.m_board = {"Maker", "Board", "S-1", "P-1"};
    inventory.m_size = 41;
    EXPECT_EQ(BuildFruImage(inventory).size(), 41U);
    inventory.m_size = 0;
    EXPECT_EQ(BuildFruImage(inventory).size(), 8U + 32);
}

TEST(FruImage, IsARawImageAsItStands) {
    Inventory inventory = SampleInventory();
    inventory.m_raw = Bytes{1, 2, 3};
    EXPECT_THAT(BuildFruImage(inventory), ElementsAre(1, 2, 3));
    inventory.m_raw = Bytes{};
    EXPECT_TRUE(BuildFruImage(inventory).empty());
}

TEST(FruImage, HasExactlyTheBadChecksumsThatAreWanted) {
    Inventory inventory = SampleInventory();
    inventory.m_multiRecords = {{0xC0, {0x57, 0x01}}, {0xD1, {0x01}}};
    const Bytes good = BuildFruImage(inventory);
    const size_t board = good[3] * 8U;
    const size_t product = good[4] * 8U;
    const size_t records = good[5] * 8U;
    struct Row {
        BadChecksums m_bad;
        std::vector<size_t> m_places;
    };
    const Row rows[] = {
        {{true, false, false, false}, {7}},
        {{false, true, false, false}, {product - 1, records - 1}},
        {{false, false, true, false}, {records + 4, records + 7 + 4}},
        // The data checksum is part of the header, whose sum must be zero.
        {{false, false, false, true}, {records + 3, records + 4, records + 7 + 3, records + 7 + 4}},
    };
    ASSERT_GT(board, 0U);
    for (const Row& row : rows) {
        inventory.m_badChecksums = row.m_bad;
        const Bytes image = BuildFruImage(inventory);
        ASSERT_EQ(image.size(), good.size());
        std::vector<size_t> differ;
        for (size_t index = 0; index < image.size(); ++index) {
            if (image[index] != good[index]) differ.push_back(index);
        }
        EXPECT_EQ(differ, row.m_places);
    }
}
