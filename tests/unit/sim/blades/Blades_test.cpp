// The blade files that come with bladesim: each can be read, and the plug-in's own parser finds in the images what the
// files say.
#include "sim/blade/BladeFile.h"
#include "sim/blade/FruImage.h"

#include "ipmi/IPMI_FRUParse.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <map>

using namespace BLADESIM;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

namespace {

const char* const g_names[] = {"full",          "typical",  "front-board-only", "no-rtm",    "no-leds",
                               "no-dsp",        "no-eth6",  "no-pstn-driver",   "no-trunks", "odd-area",
                               "bad-checksums", "refusing", "not-atca",         "hostile",   "lost-late"};

BLADE Blade(const std::string& a_Name) {
    return ReadBladeFile(BLADES_FOLDER "/" + a_Name + ".json");
}

const FRU& FindFRU(const BLADE& a_Blade, uint8_t a_Id) {
    for (const FRU& l_FRU : a_Blade.m_FRUs) {
        if (l_FRU.m_Id == a_Id) return l_FRU;
    }
    throw std::out_of_range("no such FRU");
}

/// What the plug-in's parser makes of an image, and its result.
struct PARSED {
    explicit PARSED(const std::vector<uint8_t>& a_Image) {
        std::vector<unsigned char> l_Area = a_Image;
        l_Area.resize(l_Area.size() + BM_ADAPTOR::FRU_PARSE_SLACK, 0xFF);
        m_Result = BM_ADAPTOR::ParseFRUData(l_Area.data(), &m_FRU);
    }

    std::vector<std::vector<uint8_t>> Records() const {
        std::vector<std::vector<uint8_t>> l_Records;
        for (const MULTIRECORD* l_Record : m_FRU.m_MultiRecords)
            l_Records.emplace_back(l_Record->m_Data, l_Record->m_Data + l_Record->m_Length);
        return l_Records;
    }

    IPMI_FRU m_FRU{IPMI_ENTITY_ADDRESS(), "sample"};
    int m_Result = 0;
};

void ExpectTexts(const INVENTORY& a_Inventory, const IPMI_FRU& a_FRU) {
    const BOARD_TEXTS l_Board = a_Inventory.m_Board.value_or(BOARD_TEXTS());
    EXPECT_EQ(a_FRU.m_BoardManufacturer, l_Board.m_Manufacturer);
    EXPECT_EQ(a_FRU.m_BoardProductName, l_Board.m_ProductName);
    EXPECT_EQ(a_FRU.m_BoardSerialNumber, l_Board.m_SerialNumber);
    EXPECT_EQ(a_FRU.m_BoardPartNumber, l_Board.m_PartNumber);
    const PRODUCT_TEXTS l_Product = a_Inventory.m_Product.value_or(PRODUCT_TEXTS());
    EXPECT_EQ(a_FRU.m_ProductManufacturer, l_Product.m_AssetTag) << "the parser puts the asset tag there";
    EXPECT_EQ(a_FRU.m_ProductName, l_Product.m_Name);
    EXPECT_EQ(a_FRU.m_ProductPartModelNumber, l_Product.m_PartNumber);
    EXPECT_EQ(a_FRU.m_ProductVersion, l_Product.m_Version);
    EXPECT_EQ(a_FRU.m_ProductSerialNumber, l_Product.m_SerialNumber);
}

bool IsWellFormed(const INVENTORY& a_Inventory) {
    const BAD_CHECKSUMS& l_Bad = a_Inventory.m_BadChecksums;
    return !a_Inventory.m_Raw && !l_Bad.m_Header && !l_Bad.m_Areas && !l_Bad.m_RecordHeaders && !l_Bad.m_RecordData;
}

class BladesFile : public testing::TestWithParam<const char*> {};

} // namespace

TEST(Blades, AreThoseThatAreTested) {
    std::vector<std::string> l_Files;
    for (const auto& l_Entry : std::filesystem::directory_iterator(BLADES_FOLDER)) {
        if (!l_Entry.path().string().ends_with(".schema.json")) l_Files.push_back(l_Entry.path().stem());
    }
    EXPECT_THAT(l_Files, UnorderedElementsAreArray(g_names));
}

TEST_P(BladesFile, HasFRUIdsWithoutGapsFromTheFrontBoardOn) {
    const BLADE l_Blade = Blade(GetParam());
    for (size_t l_Index = 0; l_Index < l_Blade.m_FRUs.size(); ++l_Index)
        EXPECT_EQ(l_Blade.m_FRUs[l_Index].m_Id, l_Index);
    EXPECT_EQ(l_Blade.m_FRUs.at(0).m_Site.m_Type, 0);
}

TEST_P(BladesFile, HasImagesInWhichThePlugInFindsItsTextsAndRecords) {
    for (const FRU& l_FRU : Blade(GetParam()).m_FRUs) {
        SCOPED_TRACE("FRU " + std::to_string(l_FRU.m_Id));
        if (!l_FRU.m_Inventory || !IsWellFormed(*l_FRU.m_Inventory)) continue;
        const PARSED l_Parsed(BuildFruImage(*l_FRU.m_Inventory));
        ASSERT_EQ(l_Parsed.m_Result, BM_ADAPTOR::FRU_PARSE_OK);
        ExpectTexts(*l_FRU.m_Inventory, l_Parsed.m_FRU);
        std::vector<std::vector<uint8_t>> l_Records;
        for (const RAW_MULTIRECORD& l_Record : l_FRU.m_Inventory->m_MultiRecords)
            l_Records.push_back(l_Record.m_Data);
        EXPECT_EQ(l_Parsed.Records(), l_Records);
    }
}

INSTANTIATE_TEST_SUITE_P(All, BladesFile, testing::ValuesIn(g_names));

TEST(Blades, HaveAnAMCWithDSPsInEachOfTheEightBaysAndAnRTMWhenFull) {
    const BLADE l_Blade = Blade("full");
    ASSERT_EQ(l_Blade.m_FRUs.size(), 10U);
    for (uint8_t l_Bay = 1; l_Bay <= 8; ++l_Bay) {
        const FRU& l_AMC = FindFRU(l_Blade, l_Bay);
        EXPECT_EQ(l_AMC.m_Site.m_Type, 7);
        EXPECT_EQ(l_AMC.m_Site.m_Number, l_Bay);
        EXPECT_EQ(l_AMC.m_LEDs.size(), 4U);
        const PARSED l_Parsed(BuildFruImage(l_AMC.m_Inventory.value()));
        const auto l_Record = BM_ADAPTOR::FindVendorRecord(l_Parsed.m_FRU, BM_ADAPTOR::VENDOR_RECORD_AMC);
        ASSERT_TRUE(l_Record);
        EXPECT_TRUE(l_Record->DSP(l_Record->NumDSPs() - 1));
    }
    EXPECT_EQ(FindFRU(l_Blade, 9).m_Site.m_Type, 9);
}

TEST(Blades, HaveFourDSPsOnOneAMCAndNoneOnTheOtherAndFramersWhenTypical) {
    const BLADE l_Blade = Blade("typical");
    ASSERT_EQ(l_Blade.m_FRUs.size(), 4U);
    const PARSED l_Media(BuildFruImage(l_Blade.m_FRUs[1].m_Inventory.value()));
    const auto l_DSPs = BM_ADAPTOR::FindVendorRecord(l_Media.m_FRU, BM_ADAPTOR::VENDOR_RECORD_AMC);
    ASSERT_TRUE(l_DSPs);
    EXPECT_EQ(l_DSPs->NumDSPs(), 4);
    EXPECT_EQ(l_DSPs->FirstDSPType(), 2);
    EXPECT_THAT(l_DSPs->DSP(3).value().m_Mac, ElementsAre(0x02, 0x4D, 0x71, 0x00, 0x03, 0x13));
    const PARSED l_Other(BuildFruImage(l_Blade.m_FRUs[2].m_Inventory.value()));
    EXPECT_FALSE(BM_ADAPTOR::FindVendorRecord(l_Other.m_FRU, BM_ADAPTOR::VENDOR_RECORD_AMC));
    const PARSED l_RTM(BuildFruImage(l_Blade.m_FRUs[3].m_Inventory.value()));
    const auto l_Framers = BM_ADAPTOR::FindVendorRecord(l_RTM.m_FRU, BM_ADAPTOR::VENDOR_RECORD_RTM);
    ASSERT_TRUE(l_Framers);
    EXPECT_EQ(l_Framers->NumFramers(), 2);
    EXPECT_EQ(l_Framers->FramerType(), 1);
    EXPECT_EQ(l_Framers->TrunksPerFramer(), 4);
}

TEST(Blades, LightEveryColorOnTheFrontBoardWhenFullOrTypical) {
    for (const char* l_Name : {"full", "typical"}) {
        const auto l_LEDs = Blade(l_Name).m_FRUs.at(0).m_LEDs;
        ASSERT_EQ(l_LEDs.size(), 4U);
        EXPECT_EQ(l_LEDs[0].m_Colors, 1U << 1) << "the blue LED";
        for (const size_t l_Id : {1U, 2U, 3U})
            EXPECT_EQ(l_LEDs[l_Id].m_Colors, 0x7E);
    }
}

TEST_P(BladesFile, HasEth6AndTheDriverFileUnlessItsNameSaysOtherwise) {
    const BOARD l_Board = Blade(GetParam()).m_Board;
    const std::string l_Name = GetParam();
    EXPECT_EQ(l_Board.m_DriverFile.has_value(), l_Name != "no-pstn-driver");
    EXPECT_EQ(l_Board.m_Interfaces.size(), l_Name == "no-eth6" ? 0U : 1U);
    for (const ETHERNET_INTERFACE& l_Interface : l_Board.m_Interfaces)
        EXPECT_EQ(l_Interface.m_Name, "eth6");
}

TEST(Blades, LackWhatTheirNamesSay) {
    for (const FRU& l_FRU : Blade("no-rtm").m_FRUs)
        EXPECT_NE(l_FRU.m_Site.m_Type, 9);
    for (const FRU& l_FRU : Blade("no-leds").m_FRUs)
        EXPECT_TRUE(l_FRU.m_LEDs.empty());
    for (const FRU& l_FRU : Blade("no-dsp").m_FRUs) {
        const PARSED l_Parsed(BuildFruImage(l_FRU.m_Inventory.value()));
        EXPECT_FALSE(BM_ADAPTOR::FindVendorRecord(l_Parsed.m_FRU, BM_ADAPTOR::VENDOR_RECORD_AMC));
    }
    const PARSED l_NoTrunks(BuildFruImage(Blade("no-trunks").m_FRUs.at(3).m_Inventory.value()));
    const auto l_Framers = BM_ADAPTOR::FindVendorRecord(l_NoTrunks.m_FRU, BM_ADAPTOR::VENDOR_RECORD_RTM);
    ASSERT_TRUE(l_Framers);
    EXPECT_EQ(l_Framers->NumFramers(), 2);
    EXPECT_EQ(l_Framers->TrunksPerFramer(), 0);
    EXPECT_FALSE(Blade("not-atca").m_Controller.m_PICMG);
    EXPECT_TRUE(Blade("no-eth6").m_Board.m_Interfaces.empty());
    EXPECT_FALSE(Blade("no-pstn-driver").m_Board.m_DriverFile);
}

TEST(Blades, HaveOneAreaOfFortyBytesWhenOdd) {
    std::vector<size_t> l_Odd;
    for (const FRU& l_FRU : Blade("odd-area").m_FRUs) {
        const size_t l_Size = BuildFruImage(l_FRU.m_Inventory.value()).size();
        if (l_Size % g_FruImageUnit != 0) l_Odd.push_back(l_Size);
    }
    EXPECT_THAT(l_Odd, ElementsAre(40U));
}

TEST(Blades, LoseOneReplyOfFRU1BehindTheEndOfFRU0WhenItIsLostLate) {
    const BLADE l_Blade = Blade("lost-late");
    ASSERT_EQ(l_Blade.m_Faults.size(), 1U);
    const FAULT& l_Fault = l_Blade.m_Faults[0];
    EXPECT_EQ(l_Fault.m_Kind, FAULT_KIND::LOST);
    EXPECT_EQ(l_Fault.m_Count, 1U);
    EXPECT_THAT(l_Fault.m_Request,
                ElementsAre(0x0A, 0x11, 1, BuildFruImage(*l_Blade.m_FRUs[0].m_Inventory).size(), 0, 16))
        << "the first chunk that FRU 0 does not have";
    EXPECT_LE(BuildFruImage(*l_Blade.m_FRUs[0].m_Inventory).size() + 16,
              BuildFruImage(*l_Blade.m_FRUs[1].m_Inventory).size());
}

TEST(Blades, RefuseFRU2AndGiveFRU3NoLengthWhenRefusing) {
    const BLADE l_Blade = Blade("refusing");
    EXPECT_FALSE(FindFRU(l_Blade, 2).m_Inventory);
    EXPECT_TRUE(BuildFruImage(FindFRU(l_Blade, 3).m_Inventory.value()).empty());
}

TEST(Blades, CostThePlugInWhatTheirBadChecksumsProtect) {
    struct ROW {
        uint8_t m_Id;
        int m_Result;
        bool m_Texts;
        size_t m_Records;
    };
    // The plug-in looks at the checksums of header and records, not at those of the info areas.
    constexpr ROW l_Rows[] = {
        {0, BM_ADAPTOR::FRU_PARSE_OK, true, 0},
        {1, BM_ADAPTOR::FRU_PARSE_OK, true, 0},
        {2, BM_ADAPTOR::FRU_PARSE_BAD_CHECKSUM, false, 0},
        {3, BM_ADAPTOR::FRU_PARSE_OK, true, 0},
        {4, BM_ADAPTOR::FRU_PARSE_OK, true, 0},
    };
    const BLADE l_Blade = Blade("bad-checksums");
    ASSERT_EQ(l_Blade.m_FRUs.size(), std::size(l_Rows));
    for (const ROW& l_Row : l_Rows) {
        const INVENTORY& l_Inventory = FindFRU(l_Blade, l_Row.m_Id).m_Inventory.value();
        EXPECT_FALSE(IsWellFormed(l_Inventory));
        const PARSED l_Parsed(BuildFruImage(l_Inventory));
        EXPECT_EQ(l_Parsed.m_Result, l_Row.m_Result) << int{l_Row.m_Id};
        EXPECT_EQ(l_Parsed.m_FRU.m_BoardSerialNumber == l_Inventory.m_Board->m_SerialNumber, l_Row.m_Texts);
        EXPECT_EQ(l_Parsed.m_FRU.m_MultiRecords.size(), l_Row.m_Records);
    }
}

TEST(Blades, AreReadOrRefusedByThePlugInWhenHostile) {
    struct ROW {
        int m_Result;
        size_t m_Records;
    };
    constexpr int l_Ok = BM_ADAPTOR::FRU_PARSE_OK;
    constexpr ROW l_Rows[] = {
        {l_Ok, 0},
        {l_Ok, 0},
        {l_Ok, 1},
        {l_Ok, 11},
        {l_Ok, 1},
        {l_Ok, 3},
        {l_Ok, 0},
        {l_Ok, 0},
        {BM_ADAPTOR::FRU_PARSE_BAD_PAD, 0},
        {l_Ok, 2},
        {BM_ADAPTOR::FRU_PARSE_BAD_CHECKSUM, 0},
        {BM_ADAPTOR::FRU_PARSE_BAD_PAD, 0},
    };
    const BLADE l_Blade = Blade("hostile");
    ASSERT_EQ(l_Blade.m_FRUs.size(), std::size(l_Rows));
    for (const FRU& l_FRU : l_Blade.m_FRUs) {
        SCOPED_TRACE("FRU " + std::to_string(l_FRU.m_Id));
        const auto l_Image = BuildFruImage(l_FRU.m_Inventory.value());
        EXPECT_EQ(l_Image.size() % g_FruImageUnit, 0U) << "or reading it would never end";
        const PARSED l_Parsed(l_Image);
        EXPECT_EQ(l_Parsed.m_Result, l_Rows[l_FRU.m_Id].m_Result);
        EXPECT_EQ(l_Parsed.m_FRU.m_MultiRecords.size(), l_Rows[l_FRU.m_Id].m_Records);
    }
}
