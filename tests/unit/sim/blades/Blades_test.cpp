// The blade files that come with bladesim: each can be read, and the plug-in's own parser reads from the images what
// the files say.
#include "sim/blade/BladeFile.h"
#include "sim/blade/FruImage.h"

#include "ipmi/IPMI_FRUParse.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <map>

using namespace bladesim;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

namespace {

const char* const BladeNames[] = {"full",          "typical",  "front-board-only", "no-rtm",    "no-leds",
                                  "no-dsp",        "no-eth6",  "no-pstn-driver",   "no-trunks", "odd-area",
                                  "bad-checksums", "refusing", "not-atca",         "hostile",   "lost-late"};

Blade NamedBlade(const std::string& name) {
    return ReadBladeFile(BLADES_FOLDER "/" + name + ".json");
}

const Fru& FindFRU(const Blade& blade, uint8_t id) {
    for (const Fru& fru : blade.m_frus) {
        if (fru.m_id == id) return fru;
    }
    throw std::out_of_range("no such FRU");
}

/// What the plug-in's parser makes of an image, and its result.
struct Parsed {
    explicit Parsed(const std::vector<uint8_t>& image) {
        std::vector<unsigned char> area = image;
        area.resize(area.size() + BM_ADAPTOR::FRU_PARSE_SLACK, 0xFF);
        m_result = BM_ADAPTOR::ParseFRUData(area.data(), &m_fru);
    }

    std::vector<std::vector<uint8_t>> Records() const {
        std::vector<std::vector<uint8_t>> records;
        for (const MULTIRECORD* record : m_fru.m_MultiRecords)
            records.emplace_back(record->m_Data, record->m_Data + record->m_Length);
        return records;
    }

    IPMI_FRU m_fru{IPMI_ENTITY_ADDRESS(), "sample"};
    int m_result = 0;
};

void ExpectTexts(const Inventory& inventory, const IPMI_FRU& fru) {
    const BoardTexts board = inventory.m_board.value_or(BoardTexts());
    EXPECT_EQ(fru.m_BoardManufacturer, board.m_manufacturer);
    EXPECT_EQ(fru.m_BoardProductName, board.m_productName);
    EXPECT_EQ(fru.m_BoardSerialNumber, board.m_serialNumber);
    EXPECT_EQ(fru.m_BoardPartNumber, board.m_partNumber);
    const ProductTexts product = inventory.m_product.value_or(ProductTexts());
    EXPECT_EQ(fru.m_ProductManufacturer, product.m_assetTag) << "the parser puts the asset tag there";
    EXPECT_EQ(fru.m_ProductName, product.m_name);
    EXPECT_EQ(fru.m_ProductPartModelNumber, product.m_partNumber);
    EXPECT_EQ(fru.m_ProductVersion, product.m_version);
    EXPECT_EQ(fru.m_ProductSerialNumber, product.m_serialNumber);
}

bool IsWellFormed(const Inventory& inventory) {
    const BadChecksums& bad = inventory.m_badChecksums;
    return !inventory.m_raw && !bad.m_header && !bad.m_areas && !bad.m_recordHeaders && !bad.m_recordData;
}

class BladesFile : public testing::TestWithParam<const char*> {};

} // namespace

TEST(Blades, AreThoseThatAreTested) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(BLADES_FOLDER)) {
        if (!entry.path().string().ends_with(".schema.json")) files.push_back(entry.path().stem());
    }
    EXPECT_THAT(files, UnorderedElementsAreArray(BladeNames));
}

TEST_P(BladesFile, HasFRUIdsWithoutGapsFromTheFrontBoardOn) {
    const Blade blade = NamedBlade(GetParam());
    for (size_t index = 0; index < blade.m_frus.size(); ++index)
        EXPECT_EQ(blade.m_frus[index].m_id, index);
    EXPECT_EQ(blade.m_frus.at(0).m_site.m_type, 0);
}

TEST_P(BladesFile, HasImagesInWhichThePlugInFindsItsTextsAndRecords) {
    for (const Fru& fru : NamedBlade(GetParam()).m_frus) {
        SCOPED_TRACE("FRU " + std::to_string(fru.m_id));
        if (!fru.m_inventory || !IsWellFormed(*fru.m_inventory)) continue;
        const Parsed parsed(BuildFruImage(*fru.m_inventory));
        ASSERT_EQ(parsed.m_result, BM_ADAPTOR::FRU_PARSE_OK);
        ExpectTexts(*fru.m_inventory, parsed.m_fru);
        std::vector<std::vector<uint8_t>> records;
        for (const RawMultirecord& record : fru.m_inventory->m_multiRecords)
            records.push_back(record.m_data);
        EXPECT_EQ(parsed.Records(), records);
    }
}

INSTANTIATE_TEST_SUITE_P(All, BladesFile, testing::ValuesIn(BladeNames));

TEST(Blades, HaveAnAMCWithDSPsInEachOfTheEightBaysAndAnRTMWhenFull) {
    const Blade blade = NamedBlade("full");
    ASSERT_EQ(blade.m_frus.size(), 10U);
    for (uint8_t bay = 1; bay <= 8; ++bay) {
        const Fru& amc = FindFRU(blade, bay);
        EXPECT_EQ(amc.m_site.m_type, 7);
        EXPECT_EQ(amc.m_site.m_number, bay);
        EXPECT_EQ(amc.m_leds.size(), 4U);
        const Parsed parsed(BuildFruImage(amc.m_inventory.value()));
        const auto record = BM_ADAPTOR::FindVendorRecord(parsed.m_fru, BM_ADAPTOR::VENDOR_RECORD_AMC);
        ASSERT_TRUE(record);
        EXPECT_TRUE(record->DSP(record->NumDSPs() - 1));
    }
    EXPECT_EQ(FindFRU(blade, 9).m_site.m_type, 9);
}

TEST(Blades, HaveFourDSPsOnOneAMCAndNoneOnTheOtherAndFramersWhenTypical) {
    const Blade blade = NamedBlade("typical");
    ASSERT_EQ(blade.m_frus.size(), 4U);
    const Parsed media(BuildFruImage(blade.m_frus[1].m_inventory.value()));
    const auto dsps = BM_ADAPTOR::FindVendorRecord(media.m_fru, BM_ADAPTOR::VENDOR_RECORD_AMC);
    ASSERT_TRUE(dsps);
    EXPECT_EQ(dsps->NumDSPs(), 4);
    EXPECT_EQ(dsps->FirstDSPType(), 2);
    EXPECT_THAT(dsps->DSP(3).value().m_Mac, ElementsAre(0x02, 0x4D, 0x71, 0x00, 0x03, 0x13));
    const Parsed other(BuildFruImage(blade.m_frus[2].m_inventory.value()));
    EXPECT_FALSE(BM_ADAPTOR::FindVendorRecord(other.m_fru, BM_ADAPTOR::VENDOR_RECORD_AMC));
    const Parsed rtm(BuildFruImage(blade.m_frus[3].m_inventory.value()));
    const auto framers = BM_ADAPTOR::FindVendorRecord(rtm.m_fru, BM_ADAPTOR::VENDOR_RECORD_RTM);
    ASSERT_TRUE(framers);
    EXPECT_EQ(framers->NumFramers(), 2);
    EXPECT_EQ(framers->FramerType(), 1);
    EXPECT_EQ(framers->TrunksPerFramer(), 4);
}

TEST(Blades, LightEveryColorOnTheFrontBoardWhenFullOrTypical) {
    for (const char* name : {"full", "typical"}) {
        const auto leds = NamedBlade(name).m_frus.at(0).m_leds;
        ASSERT_EQ(leds.size(), 4U);
        EXPECT_EQ(leds[0].m_colors, 1U << 1) << "the blue LED";
        for (const size_t id : {1U, 2U, 3U})
            EXPECT_EQ(leds[id].m_colors, 0x7E);
    }
}

TEST_P(BladesFile, HasEth6AndTheDriverFileUnlessItsNameSaysOtherwise) {
    const Board board = NamedBlade(GetParam()).m_board;
    const std::string name = GetParam();
    EXPECT_EQ(board.m_driverFile.has_value(), name != "no-pstn-driver");
    EXPECT_EQ(board.m_interfaces.size(), name == "no-eth6" ? 0U : 1U);
    for (const EthernetInterface& interface : board.m_interfaces)
        EXPECT_EQ(interface.m_name, "eth6");
}

TEST(Blades, LackWhatTheirNamesSay) {
    for (const Fru& fru : NamedBlade("no-rtm").m_frus)
        EXPECT_NE(fru.m_site.m_type, 9);
    for (const Fru& fru : NamedBlade("no-leds").m_frus)
        EXPECT_TRUE(fru.m_leds.empty());
    for (const Fru& fru : NamedBlade("no-dsp").m_frus) {
        const Parsed parsed(BuildFruImage(fru.m_inventory.value()));
        EXPECT_FALSE(BM_ADAPTOR::FindVendorRecord(parsed.m_fru, BM_ADAPTOR::VENDOR_RECORD_AMC));
    }
    const Parsed noTrunks(BuildFruImage(NamedBlade("no-trunks").m_frus.at(3).m_inventory.value()));
    const auto framers = BM_ADAPTOR::FindVendorRecord(noTrunks.m_fru, BM_ADAPTOR::VENDOR_RECORD_RTM);
    ASSERT_TRUE(framers);
    EXPECT_EQ(framers->NumFramers(), 2);
    EXPECT_EQ(framers->TrunksPerFramer(), 0);
    EXPECT_FALSE(NamedBlade("not-atca").m_controller.m_picmg);
    EXPECT_TRUE(NamedBlade("no-eth6").m_board.m_interfaces.empty());
    EXPECT_FALSE(NamedBlade("no-pstn-driver").m_board.m_driverFile);
}

TEST(Blades, HaveOneAreaOfFortyBytesWhenOdd) {
    std::vector<size_t> odd;
    for (const Fru& fru : NamedBlade("odd-area").m_frus) {
        const size_t size = BuildFruImage(fru.m_inventory.value()).size();
        if (size % FruImageUnit != 0) odd.push_back(size);
    }
    EXPECT_THAT(odd, ElementsAre(40U));
}

TEST(Blades, LoseOneReplyOfFRU1BehindTheEndOfFRU0WhenItIsLostLate) {
    const Blade blade = NamedBlade("lost-late");
    ASSERT_EQ(blade.m_faults.size(), 1U);
    const Fault& fault = blade.m_faults[0];
    EXPECT_EQ(fault.m_kind, FaultKind::Lost);
    EXPECT_EQ(fault.m_count, 1U);
    EXPECT_THAT(fault.m_request, ElementsAre(0x0A, 0x11, 1, BuildFruImage(*blade.m_frus[0].m_inventory).size(), 0, 16))
        << "the first chunk that FRU 0 does not have";
    EXPECT_LE(BuildFruImage(*blade.m_frus[0].m_inventory).size() + 16,
              BuildFruImage(*blade.m_frus[1].m_inventory).size());
}

TEST(Blades, RefuseFRU2AndGiveFRU3NoLengthWhenRefusing) {
    const Blade blade = NamedBlade("refusing");
    EXPECT_FALSE(FindFRU(blade, 2).m_inventory);
    EXPECT_TRUE(BuildFruImage(FindFRU(blade, 3).m_inventory.value()).empty());
}

TEST(Blades, CostThePlugInWhatTheirBadChecksumsProtect) {
    struct Row {
        uint8_t m_id;
        int m_result;
        bool m_texts;
        size_t m_records;
    };
    // The plug-in checks the checksums of header and records, not those of the info areas.
    constexpr Row rows[] = {
        {0, BM_ADAPTOR::FRU_PARSE_OK, true, 0},
        {1, BM_ADAPTOR::FRU_PARSE_OK, true, 0},
        {2, BM_ADAPTOR::FRU_PARSE_BAD_CHECKSUM, false, 0},
        {3, BM_ADAPTOR::FRU_PARSE_OK, true, 0},
        {4, BM_ADAPTOR::FRU_PARSE_OK, true, 0},
    };
    const Blade blade = NamedBlade("bad-checksums");
    ASSERT_EQ(blade.m_frus.size(), std::size(rows));
    for (const Row& row : rows) {
        const Inventory& inventory = FindFRU(blade, row.m_id).m_inventory.value();
        EXPECT_FALSE(IsWellFormed(inventory));
        const Parsed parsed(BuildFruImage(inventory));
        EXPECT_EQ(parsed.m_result, row.m_result) << int{row.m_id};
        EXPECT_EQ(parsed.m_fru.m_BoardSerialNumber == inventory.m_board->m_serialNumber, row.m_texts);
        EXPECT_EQ(parsed.m_fru.m_MultiRecords.size(), row.m_records);
    }
}

TEST(Blades, AreReadOrRefusedByThePlugInWhenHostile) {
    struct Row {
        int m_result;
        size_t m_records;
    };
    constexpr int ok = BM_ADAPTOR::FRU_PARSE_OK;
    constexpr Row rows[] = {
        {ok, 0},
        {ok, 0},
        {ok, 1},
        {ok, 11},
        {ok, 1},
        {ok, 3},
        {ok, 0},
        {ok, 0},
        {BM_ADAPTOR::FRU_PARSE_BAD_PAD, 0},
        {ok, 2},
        {BM_ADAPTOR::FRU_PARSE_BAD_CHECKSUM, 0},
        {BM_ADAPTOR::FRU_PARSE_BAD_PAD, 0},
    };
    const Blade blade = NamedBlade("hostile");
    ASSERT_EQ(blade.m_frus.size(), std::size(rows));
    for (const Fru& fru : blade.m_frus) {
        SCOPED_TRACE("FRU " + std::to_string(fru.m_id));
        const auto image = BuildFruImage(fru.m_inventory.value());
        EXPECT_EQ(image.size() % FruImageUnit, 0U) << "or reading it would never end";
        const Parsed parsed(image);
        EXPECT_EQ(parsed.m_result, rows[fru.m_id].m_result);
        EXPECT_EQ(parsed.m_fru.m_MultiRecords.size(), rows[fru.m_id].m_records);
    }
}
