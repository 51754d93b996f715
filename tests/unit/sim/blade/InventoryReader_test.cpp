// Blade files: what stands in an inventory area, and what is said about bad ones.
#include "BladeFileTest.h"

using namespace BLADESIM;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class BladeFileInventory : public BLADE_FILE_TEST {
protected:
    INVENTORY ReadWithInventory(const nlohmann::json& a_Inventory) {
        return ReadWith("/frus/1/inventory", a_Inventory).m_FRUs.at(1).m_Inventory.value();
    }
};

class BladeFileInventoryValue : public BLADE_FILE_VALUE_TEST {};

} // namespace

TEST_F(BladeFileInventory, HasTheTextsOfBoardAndProduct) {
    const INVENTORY l_Inventory = ReadSample().m_FRUs.at(0).m_Inventory.value();
    ASSERT_TRUE(l_Inventory.m_Board && l_Inventory.m_Product);
    EXPECT_EQ(l_Inventory.m_Board->m_Manufacturer, "Maker");
    EXPECT_EQ(l_Inventory.m_Board->m_ProductName, "Board");
    EXPECT_EQ(l_Inventory.m_Board->m_SerialNumber, "S-1");
    EXPECT_EQ(l_Inventory.m_Board->m_PartNumber, "P-1");
    EXPECT_EQ(l_Inventory.m_Product->m_Manufacturer, "Seller");
    EXPECT_EQ(l_Inventory.m_Product->m_Name, "Product");
    EXPECT_EQ(l_Inventory.m_Product->m_PartNumber, "Model");
    EXPECT_EQ(l_Inventory.m_Product->m_Version, "V1");
    EXPECT_EQ(l_Inventory.m_Product->m_SerialNumber, "S-2");
    EXPECT_EQ(l_Inventory.m_Product->m_AssetTag, "Tag");
}

TEST_F(BladeFileInventory, HasOnlyTheAreasThatTheFileNames) {
    const INVENTORY l_Inventory = ReadWithInventory(nlohmann::json::object());
    EXPECT_FALSE(l_Inventory.m_Board);
    EXPECT_FALSE(l_Inventory.m_Product);
    EXPECT_THAT(l_Inventory.m_MultiRecords, IsEmpty());
    EXPECT_FALSE(l_Inventory.m_Size);
    EXPECT_FALSE(l_Inventory.m_Raw);
}

TEST_F(BladeFileInventory, TurnsTextsIntoTheBytesOfTheImage) {
    const BLADE l_Blade = ReadWith("/frus/0/inventory/board/manufacturer", "G\u00f6teborg \u00ff");
    EXPECT_EQ(l_Blade.m_FRUs.at(0).m_Inventory->m_Board->m_Manufacturer, "G\xf6teborg \xff");
}

TEST_F(BladeFileInventory, TurnsDSPsAndFramersIntoVendorRecordsBeforeTheFurtherRecords) {
    const auto l_Records = ReadSample().m_FRUs.at(0).m_Inventory->m_MultiRecords;
    ASSERT_EQ(l_Records.size(), 3U);
    EXPECT_EQ(l_Records[0].m_Type, 0xC0);
    EXPECT_THAT(l_Records[0].m_Data, ElementsAre(0x57, 0x01, 0x00, 2, 0, 2,                //
                                                 1, 0x02, 0x00, 0x5E, 0x10, 0x00, 0x01, 0, //
                                                 2, 0x02, 0x00, 0x5E, 0x10, 0x00, 0x02, 0));
    EXPECT_EQ(l_Records[1].m_Type, 0xC0);
    EXPECT_THAT(l_Records[1].m_Data, ElementsAre(0x57, 0x01, 0x00, 3, 0, 2, 1, 4));
    EXPECT_EQ(l_Records[2].m_Type, 0xD1);
    EXPECT_THAT(l_Records[2].m_Data, ElementsAre(0x01, 0xA2, 0xFF));
}

TEST_F(BladeFileInventory, HasAsManyDSPsAsFitIntoARecord) {
    const nlohmann::json l_DSP = {{"type", 1}, {"mac", "02:00:00:00:00:01"}};
    const auto l_Records = ReadWithInventory({{"dsps", nlohmann::json(31, l_DSP)}}).m_MultiRecords;
    EXPECT_EQ(l_Records.at(0).m_Data.size(), 6U + 31 * 8);
}

TEST_F(BladeFileInventory, TellsWhichChecksumsAreBad) {
    const BAD_CHECKSUMS l_Bad = ReadWithInventory({{"bad_checksums", {"areas", "record-data"}}}).m_BadChecksums;
    EXPECT_FALSE(l_Bad.m_Header);
    EXPECT_TRUE(l_Bad.m_Areas);
    EXPECT_FALSE(l_Bad.m_RecordHeaders);
    EXPECT_TRUE(l_Bad.m_RecordData);
}

TEST_F(BladeFileInventory, HasASizeWhenTheFileSaysOne) {
    EXPECT_EQ(ReadWithInventory({{"size", 40}}).m_Size, 40U);
}

TEST_F(BladeFileInventory, IsARawImageInOneTextOrInLines) {
    EXPECT_THAT(ReadWithInventory({{"raw", "01 0a ff"}}).m_Raw.value(), ElementsAre(0x01, 0x0A, 0xFF));
    EXPECT_THAT(ReadWithInventory({{"raw", {"01 0a", "ff"}}}).m_Raw.value(), ElementsAre(0x01, 0x0A, 0xFF));
    EXPECT_THAT(ReadWithInventory({{"raw", ""}}).m_Raw.value(), IsEmpty());
}

TEST_P(BladeFileInventoryValue, IsRefusedWithItsKeyAndWhatWasExpected) {
    ExpectRefusal();
}

#define INVENTORY_KEY "frus[0].inventory"

INSTANTIATE_TEST_SUITE_P(
    Texts, BladeFileInventoryValue,
    testing::Values(
        BAD_VALUE{"/frus/0/inventory/board", "none", INVENTORY_KEY ".board", "expected an object"},
        BAD_VALUE{"/frus/0/inventory/board/manufacturer", 5, INVENTORY_KEY ".board.manufacturer", "expected a text"},
        BAD_VALUE{"/frus/0/inventory/board/manufacturer", "M", INVENTORY_KEY ".board.manufacturer", "one character"},
        BAD_VALUE{"/frus/0/inventory/board/manufacturer", std::string(64, 'x'), INVENTORY_KEY ".board.manufacturer",
                  "has 64 characters"},
        BAD_VALUE{"/frus/0/inventory/product/name", "5 \u20ac", INVENTORY_KEY ".product.name", "ISO 8859-1"},
        BAD_VALUE{"/frus/0/inventory/product/nam", "x", INVENTORY_KEY ".product.nam", "nothing is known"},
        BAD_VALUE{"/frus/0/inventory/chassis", 0, INVENTORY_KEY ".chassis", "nothing is known"}));

INSTANTIATE_TEST_SUITE_P(
    Records, BladeFileInventoryValue,
    testing::Values(
        BAD_VALUE{"/frus/0/inventory/dsps", nlohmann::json::array(), INVENTORY_KEY ".dsps", "1 to 31 DSPs, found 0"},
        BAD_VALUE{"/frus/0/inventory/dsps", nlohmann::json(32, nlohmann::json::object()), INVENTORY_KEY ".dsps",
                  "1 to 31 DSPs, found 32"},
        BAD_VALUE{"/frus/0/inventory/dsps/1/type", 256, INVENTORY_KEY ".dsps[1].type", "from 0 to 255"},
        BAD_VALUE{"/frus/0/inventory/dsps/1/mac", "02:00:5e:10:00", INVENTORY_KEY ".dsps[1].mac", "six bytes"},
        BAD_VALUE{"/frus/0/inventory/dsps/1/mac", "02-00-5e-10-00-01", INVENTORY_KEY ".dsps[1].mac", "six bytes"},
        BAD_VALUE{"/frus/0/inventory/dsps/1/mac", "02:00:5e:10:00:0g", INVENTORY_KEY ".dsps[1].mac", "six bytes"},
        BAD_VALUE{"/frus/0/inventory/dsps/1/mac", "02:00:5e:10:00 :1", INVENTORY_KEY ".dsps[1].mac", "six bytes"},
        BAD_VALUE{"/frus/0/inventory/dsps/1/ip", "10.0.0.1", INVENTORY_KEY ".dsps[1].ip", "nothing is known"},
        BAD_VALUE{"/frus/0/inventory/framers/count", -1, INVENTORY_KEY ".framers.count", "from 0 to 255"},
        BAD_VALUE{"/frus/0/inventory/multirecords/0/data", "57 1", INVENTORY_KEY ".multirecords[0].data", "pairs of"},
        BAD_VALUE{"/frus/0/inventory/multirecords/0/data", "+5", INVENTORY_KEY ".multirecords[0].data", "pairs of"},
        BAD_VALUE{"/frus/0/inventory/multirecords/0/data", "5701", INVENTORY_KEY ".multirecords[0].data", "pairs of"},
        BAD_VALUE{"/frus/0/inventory/multirecords/0/type", "C0", INVENTORY_KEY ".multirecords[0].type", "0 to 255"}));

INSTANTIATE_TEST_SUITE_P(
    Image, BladeFileInventoryValue,
    testing::Values(
        BAD_VALUE{"/frus/0/inventory/bad_checksums", true, INVENTORY_KEY ".bad_checksums", "expected a list"},
        BAD_VALUE{"/frus/0/inventory/bad_checksums", {"all"}, INVENTORY_KEY ".bad_checksums", "header, areas"},
        BAD_VALUE{"/frus/0/inventory/size", 65536, INVENTORY_KEY ".size", "from 0 to 65535"},
        BAD_VALUE{"/frus/0/inventory/size", 40, INVENTORY_KEY ".size", "texts and records need "},
        BAD_VALUE{"/frus/0/inventory/multirecords",
                  nlohmann::json(5000, {{"type", 0}, {"data", "00 00 00 00 00 00 00 00 00"}}),
                  INVENTORY_KEY ".multirecords", "65535 are the most"},
        BAD_VALUE{"/frus/0/inventory/raw", "00", INVENTORY_KEY ".board", "cannot stand beside raw"},
        BAD_VALUE{"/frus/0/inventory", {{"raw", "0"}}, INVENTORY_KEY ".raw", "pairs of"},
        BAD_VALUE{"/frus/0/inventory", {{"raw", {"00", 1}}}, INVENTORY_KEY ".raw[1]", "expected a text"}));
