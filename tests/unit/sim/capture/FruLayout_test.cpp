// Where serial numbers, MAC addresses and checksums are, in sound images and in those that lie.
#include "sim/capture/FruLayout.h"

#include "sim/blade/FruImage.h"

#include <gmock/gmock.h>

#include <numeric>

using namespace bladesim;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

Bytes SampleImage() {
    Inventory inventory;
    inventory.m_board = {"Maker", "Board", "SERIAL-1", "Part"};
    inventory.m_product = {"Seller", "Product", "Part", "V1", "SERIAL-22", "Tag"};
    Bytes record = {0x57, 0x01, 0x00, 2, 0, 2, 1, 2, 0, 0, 0, 0, 1, 0, 1, 2, 0, 0, 0, 0, 2, 0};
    inventory.m_multiRecords = {{0xC0, record}, {0xD1, {1, 2}}};
    return BuildFruImage(inventory);
}

std::string TextAt(const Bytes& image, const SerialField& field) {
    return {image.begin() + static_cast<std::ptrdiff_t>(field.m_offset),
            image.begin() + static_cast<std::ptrdiff_t>(field.m_offset + field.m_size)};
}

} // namespace

TEST(FruLayout, KnowsTheSerialNumbersOfBoardAndProduct) {
    const Bytes image = SampleImage();
    const FruLayout layout = LayOut(image);
    ASSERT_THAT(layout.m_serials, SizeIs(2));
    EXPECT_EQ(TextAt(image, layout.m_serials[0]), "SERIAL-1");
    EXPECT_EQ(TextAt(image, layout.m_serials[1]), "SERIAL-22");
    EXPECT_EQ(layout.m_serials[0].m_code, FieldCode::EightBit);
}

TEST(FruLayout, KnowsThatOfTheChassis) {
    Bytes image = {1, 0, 1, 0, 0, 0, 0, 0xFE, 1, 2, 0x17, 0xC2, 'P', 'N', 0x82, 0x11, 0x22, 0xC1, 0, 0, 0, 0, 0, 0};
    ASSERT_THAT(LayOut(image).m_serials, SizeIs(1));
    EXPECT_EQ(LayOut(image).m_serials[0].m_offset, 15U);
    EXPECT_EQ(LayOut(image).m_serials[0].m_code, FieldCode::SixBit);
}

TEST(FruLayout, KnowsTheAddressesOfTheDSPs) {
    const Bytes image = SampleImage();
    const FruLayout layout = LayOut(image);
    ASSERT_THAT(layout.m_macs, SizeIs(2));
    for (const size_t place : layout.m_macs)
        EXPECT_EQ(image[place], 2);
    EXPECT_EQ(image[layout.m_macs[1] + 5], 2);
}

TEST(FruLayout, KnowsEveryChecksum) {
    const Bytes image = SampleImage();
    const FruLayout layout = LayOut(image);
    ASSERT_THAT(layout.m_checksums, SizeIs(6)) << "two areas, and data and header of two records";
    for (const ChecksumPlace& place : layout.m_checksums) {
        unsigned sum = std::accumulate(image.begin() + static_cast<std::ptrdiff_t>(place.m_begin),
                                       image.begin() + static_cast<std::ptrdiff_t>(place.m_end), 0U);
        if (place.m_checksum < place.m_begin) sum += image[place.m_checksum];
        EXPECT_EQ(sum & 0xFF, 0U) << place.m_checksum;
    }
}

TEST(FruLayout, StaysWithinAnImageThatLies) {
    EXPECT_THAT(LayOut(Bytes{}).m_serials, IsEmpty());
    for (size_t size = 0; size < 64; ++size) {
        const Bytes image(size, 0xFF);
        const FruLayout layout = LayOut(image);
        EXPECT_THAT(layout.m_serials, IsEmpty());
        EXPECT_THAT(layout.m_checksums, IsEmpty());
    }
    const Bytes whole = SampleImage();
    for (size_t size = 0; size < whole.size(); ++size) {
        const Bytes image(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        const FruLayout layout = LayOut(image);
        for (const SerialField& field : layout.m_serials)
            EXPECT_LE(field.m_offset + field.m_size, size);
        for (const size_t place : layout.m_macs)
            EXPECT_LE(place + 6, size);
        for (const ChecksumPlace& place : layout.m_checksums)
            EXPECT_LE(std::max(place.m_end, place.m_checksum + 1), size);
    }
}
