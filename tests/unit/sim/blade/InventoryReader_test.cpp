// Blade files: inventory areas, and the errors of bad ones.
#include "BladeFileTest.h"

using namespace bladesim;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class BladeFileInventory : public BladeFileTest {
protected:
    Inventory ReadWithInventory(const nlohmann::json& inventory) {
        return ReadWith("/frus/1/inventory", inventory).m_frus.at(1).m_inventory.value();
    }
};

class BladeFileInventoryValue : public BladeFileValueTest {};

} // namespace

TEST_F(BladeFileInventory, HasTheTextsOfBoardAndProduct) {
    const Inventory inventory = ReadSample().m_frus.at(0).m_inventory.value();
    ASSERT_TRUE(inventory.m_board && inventory.m_product);
    EXPECT_EQ(inventory.m_board->m_manufacturer, "Maker");
    EXPECT_EQ(inventory.m_board->m_productName, "Board");
    EXPECT_EQ(inventory.m_board->m_serialNumber, "S-1");
    EXPECT_EQ(inventory.m_board->m_partNumber, "P-1");
    EXPECT_EQ(inventory.m_product->m_manufacturer, "Seller");
    EXPECT_EQ(inventory.m_product->m_name, "Product");
    EXPECT_EQ(inventory.m_product->m_partNumber, "Model");
    EXPECT_EQ(inventory.m_product->m_version, "V1");
    EXPECT_EQ(inventory.m_product->m_serialNumber, "S-2");
    EXPECT_EQ(inventory.m_product->m_assetTag, "Tag");
}

TEST_F(BladeFileInventory, HasOnlyTheAreasThatTheFileNames) {
    const Inventory inventory = ReadWithInventory(nlohmann::json::object());
    EXPECT_FALSE(inventory.m_board);
    EXPECT_FALSE(inventory.m_product);
    EXPECT_THAT(inventory.m_multiRecords, IsEmpty());
    EXPECT_FALSE(inventory.m_size);
    EXPECT_FALSE(inventory.m_raw);
}

TEST_F(BladeFileInventory, TurnsTextsIntoTheBytesOfTheImage) {
    const Blade blade = ReadWith("/frus/0/inventory/board/manufacturer", "G\u00f6teborg \u00ff");
    EXPECT_EQ(blade.m_frus.at(0).m_inventory->m_board->m_manufacturer, "G\xf6teborg \xff");
}

TEST_F(BladeFileInventory, TurnsDSPsAndFramersIntoVendorRecordsBeforeTheFurtherRecords) {
    const auto records = ReadSample().m_frus.at(0).m_inventory->m_multiRecords;
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].m_type, 0xC0);
    EXPECT_THAT(records[0].m_data, ElementsAre(0x57, 0x01, 0x00, 2, 0, 2,                //
                                               1, 0x02, 0x00, 0x5E, 0x10, 0x00, 0x01, 0, //
                                               2, 0x02, 0x00, 0x5E, 0x10, 0x00, 0x02, 0));
    EXPECT_EQ(records[1].m_type, 0xC0);
    EXPECT_THAT(records[1].m_data, ElementsAre(0x57, 0x01, 0x00, 3, 0, 2, 1, 4));
    EXPECT_EQ(records[2].m_type, 0xD1);
    EXPECT_THAT(records[2].m_data, ElementsAre(0x01, 0xA2, 0xFF));
}

TEST_F(BladeFileInventory, HasAsManyDSPsAsFitIntoARecord) {
    const nlohmann::json dsp = {{"type", 1}, {"mac", "02:00:00:00:00:01"}};
    const auto records = ReadWithInventory({{"dsps", nlohmann::json(31, dsp)}}).m_multiRecords;
    EXPECT_EQ(records.at(0).m_data.size(), 6U + 31 * 8);
}

TEST_F(BladeFileInventory, TellsWhichChecksumsAreBad) {
    const BadChecksums bad = ReadWithInventory({{"bad_checksums", {"areas", "record-data"}}}).m_badChecksums;
    EXPECT_FALSE(bad.m_header);
    EXPECT_TRUE(bad.m_areas);
    EXPECT_FALSE(bad.m_recordHeaders);
    EXPECT_TRUE(bad.m_recordData);
}

TEST_F(BladeFileInventory, HasASizeWhenTheFileSaysOne) {
    EXPECT_EQ(ReadWithInventory({{"size", 40}}).m_size, 40U);
}

TEST_F(BladeFileInventory, IsARawImageInOneTextOrInLines) {
    EXPECT_THAT(ReadWithInventory({{"raw", "01 0a ff"}}).m_raw.value(), ElementsAre(0x01, 0x0A, 0xFF));
    EXPECT_THAT(ReadWithInventory({{"raw", {"01 0a", "ff"}}}).m_raw.value(), ElementsAre(0x01, 0x0A, 0xFF));
    EXPECT_THAT(ReadWithInventory({{"raw", ""}}).m_raw.value(), IsEmpty());
}

TEST_P(BladeFileInventoryValue, IsRefusedWithItsKeyAndWhatWasExpected) {
    ExpectRefusal();
}

#define INVENTORY_KEY "frus[0].inventory"

INSTANTIATE_TEST_SUITE_P(
    Texts, BladeFileInventoryValue,
    testing::Values(
        BadValue{"/frus/0/inventory/board", "none", INVENTORY_KEY ".board", "expected an object"},
        BadValue{"/frus/0/inventory/board/manufacturer", 5, INVENTORY_KEY ".board.manufacturer", "expected a text"},
        BadValue{"/frus/0/inventory/board/manufacturer", "M", INVENTORY_KEY ".board.manufacturer", "one character"},
        BadValue{"/frus/0/inventory/board/manufacturer", std::string(64, 'x'), INVENTORY_KEY ".board.manufacturer",
                 "has 64 characters"},
        BadValue{"/frus/0/inventory/product/name", "5 \u20ac", INVENTORY_KEY ".product.name", "ISO 8859-1"},
        BadValue{"/frus/0/inventory/product/nam", "x", INVENTORY_KEY ".product.nam", "nothing is known"},
        BadValue{"/frus/0/inventory/chassis", 0, INVENTORY_KEY ".chassis", "nothing is known"}));

INSTANTIATE_TEST_SUITE_P(
    Records, BladeFileInventoryValue,
    testing::Values(
        BadValue{"/frus/0/inventory/dsps", nlohmann::json::array(), INVENTORY_KEY ".dsps", "1 to 31 DSPs, found 0"},
        BadValue{"/frus/0/inventory/dsps", nlohmann::json(32, nlohmann::json::object()), INVENTORY_KEY ".dsps",
                 "1 to 31 DSPs, found 32"},
        BadValue{"/frus/0/inventory/dsps/1/type", 256, INVENTORY_KEY ".dsps[1].type", "from 0 to 255"},
        BadValue{"/frus/0/inventory/dsps/1/mac", "02:00:5e:10:00", INVENTORY_KEY ".dsps[1].mac", "six bytes"},
        BadValue{"/frus/0/inventory/dsps/1/mac", "02-00-5e-10-00-01", INVENTORY_KEY ".dsps[1].mac", "six bytes"},
        BadValue{"/frus/0/inventory/dsps/1/mac", "02:00:5e:10:00:0g", INVENTORY_KEY ".dsps[1].mac", "six bytes"},
        BadValue{"/frus/0/inventory/dsps/1/mac", "02:00:5e:10:00 :1", INVENTORY_KEY ".dsps[1].mac", "six bytes"},
        BadValue{"/frus/0/inventory/dsps/1/ip", "10.0.0.1", INVENTORY_KEY ".dsps[1].ip", "nothing is known"},
        BadValue{"/frus/0/inventory/framers/count", -1, INVENTORY_KEY ".framers.count", "from 0 to 255"},
        BadValue{"/frus/0/inventory/multirecords/0/data", "57 1", INVENTORY_KEY ".multirecords[0].data", "pairs of"},
        BadValue{"/frus/0/inventory/multirecords/0/data", "+5", INVENTORY_KEY ".multirecords[0].data", "pairs of"},
        BadValue{"/frus/0/inventory/multirecords/0/data", "5701", INVENTORY_KEY ".multirecords[0].data", "pairs of"},
        BadValue{"/frus/0/inventory/multirecords/0/type", "C0", INVENTORY_KEY ".multirecords[0].type", "0 to 255"}));

INSTANTIATE_TEST_SUITE_P(
    Image, BladeFileInventoryValue,
    testing::Values(
        BadValue{"/frus/0/inventory/bad_checksums", true, INVENTORY_KEY ".bad_checksums", "expected a list"},
        BadValue{"/frus/0/inventory/bad_checksums", {"all"}, INVENTORY_KEY ".bad_checksums", "header, areas"},
        BadValue{"/frus/0/inventory/size", 65536, INVENTORY_KEY ".size", "from 0 to 65535"},
        BadValue{"/frus/0/inventory/size", 40, INVENTORY_KEY ".size", "texts and records need "},
        BadValue{"/frus/0/inventory/multirecords",
                 nlohmann::json(5000, {{"type", 0}, {"data", "00 00 00 00 00 00 00 00 00"}}),
                 INVENTORY_KEY ".multirecords", "65535 are the most"},
        BadValue{"/frus/0/inventory/raw", "00", INVENTORY_KEY ".board", "cannot be given with raw"},
        BadValue{"/frus/0/inventory", {{"raw", "0"}}, INVENTORY_KEY ".raw", "pairs of"},
        BadValue{"/frus/0/inventory", {{"raw", {"00", 1}}}, INVENTORY_KEY ".raw[1]", "expected a text"}));
