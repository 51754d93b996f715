// Blade files: what is read from them, and what is said about a bad one.
#include "sim/BladeFile.h"

#include "sim/Error.h"
#include "sim/JsonReader.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace BLADESIM;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

nlohmann::json SampleJson() {
    return nlohmann::json::parse(R"({
        "controller": { "address": "0x20", "device_id": 53, "device_revision": 1, "manufacturer_id": 32473,
                        "product_id": "0x0B1A", "firmware": { "major": 3, "minor": "0x12" } },
        "frus": [ { "id": 0, "site": { "hardware_address": 16, "type": 0, "number": 5 }, "leds": 2,
                    "board": { "manufacturer": "Maker", "product_name": "Board", "serial_number": "S-1", "part_number": "P-1" },
                    "product": { "manufacturer": "Seller", "name": "Product", "part_number": "Model", "version": "V1",
                                 "serial_number": "S-2", "asset_tag": "Tag" },
                    "multirecords": [ { "type": "0xC0", "data": "57 01 00" } ] } ]
    })");
}

} // namespace

class BladeFile : public testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(m_File); }

    BLADE Read(const std::string& a_Text) {
        std::ofstream(m_File) << a_Text;
        return ReadBladeFile(m_File);
    }

    /// What is said about the sample with another value at this place.
    std::string ErrorWith(const char* a_Pointer, const nlohmann::json& a_Value) {
        nlohmann::json l_Json = SampleJson();
        l_Json[nlohmann::json::json_pointer(a_Pointer)] = a_Value;
        return ErrorOf(l_Json.dump());
    }

    std::string ErrorOf(const std::string& a_Text) {
        try {
            Read(a_Text);
        } catch (const BLADE_ERROR& l_Error) {
            return l_Error.what();
        }
        return "no error";
    }

    std::string m_File = testing::TempDir() + "blade-" + std::to_string(::getpid()) + ".json";
};

TEST_F(BladeFile, GivesTheControllerRecord) {
    const CONTROLLER l_Controller = Read(SampleJson().dump()).m_Controller;
    EXPECT_EQ(l_Controller.m_Address, 0x20);
    EXPECT_EQ(l_Controller.m_DeviceId, 0x35);
    EXPECT_EQ(l_Controller.m_DeviceRevision, 1);
    EXPECT_EQ(l_Controller.m_FirmwareMajor, 3);
    EXPECT_EQ(l_Controller.m_FirmwareMinor, 0x12);
    EXPECT_EQ(l_Controller.m_ManufacturerId, 32473U);
    EXPECT_EQ(l_Controller.m_ProductId, 0x0B1A);
}

TEST_F(BladeFile, GivesSiteLEDsAndTextsOfAFRU) {
    const BLADE l_Blade = Read(SampleJson().dump());
    ASSERT_EQ(l_Blade.m_FRUs.size(), 1U);
    const FRU& l_FRU = l_Blade.m_FRUs[0];
    EXPECT_EQ(l_FRU.m_Site.m_HardwareAddress, 0x10);
    EXPECT_EQ(l_FRU.m_Site.m_Number, 5);
    EXPECT_EQ(l_FRU.m_LEDs, 2);
    EXPECT_EQ(l_FRU.m_Board.m_Manufacturer, "Maker");
    EXPECT_EQ(l_FRU.m_Board.m_PartNumber, "P-1");
    EXPECT_EQ(l_FRU.m_Product.m_PartNumber, "Model");
    EXPECT_EQ(l_FRU.m_Product.m_AssetTag, "Tag");
    ASSERT_EQ(l_FRU.m_MultiRecords.size(), 1U);
    EXPECT_EQ(l_FRU.m_MultiRecords[0].m_Type, 0xC0);
    EXPECT_THAT(l_FRU.m_MultiRecords[0].m_Data, testing::ElementsAre(0x57, 0x01, 0x00));
}

TEST_F(BladeFile, TurnsTextsIntoTheBytesOfTheImage) {
    nlohmann::json l_Json = SampleJson();
    l_Json["frus"][0]["board"]["manufacturer"] = "G\u00f6teborg \u00ff";
    EXPECT_EQ(Read(l_Json.dump()).m_FRUs[0].m_Board.m_Manufacturer, "G\xf6teborg \xff");
}

TEST_F(BladeFile, NamesTheLineOfASyntaxError) {
    EXPECT_THAT(ErrorOf("{\n  \"controller\": {},\n  \"frus\": [,]\n}\n"), StartsWith(m_File + ":3: "));
}

TEST_F(BladeFile, SaysThatAFileCannotBeRead) {
    try {
        ReadBladeFile("/nowhere/blade.json");
        FAIL() << "no error";
    } catch (const BLADE_ERROR& l_Error) {
        EXPECT_STREQ(l_Error.what(), "/nowhere/blade.json: cannot be read: No such file or directory");
    }
}

TEST_F(BladeFile, NamesAMissingKey) {
    nlohmann::json l_Json = SampleJson();
    l_Json["controller"]["firmware"].erase("minor");
    EXPECT_EQ(ErrorOf(l_Json.dump()), m_File + ": controller.firmware.minor: is missing");
}

TEST_F(BladeFile, WantsExactlyOneFRU) {
    EXPECT_THAT(ErrorWith("/frus", nlohmann::json::array()), HasSubstr(": frus: expected one FRU"));
}

struct BAD_VALUE {
    const char* m_Pointer;
    nlohmann::json m_Value;
    const char* m_Key;
    const char* m_Reason;
};

class BladeFileValue : public BladeFile, public testing::WithParamInterface<BAD_VALUE> {};

TEST_P(BladeFileValue, IsRefusedWithItsKeyAndWhatWasExpected) {
    const std::string l_Error = ErrorWith(GetParam().m_Pointer, GetParam().m_Value);
    EXPECT_THAT(l_Error, AllOf(StartsWith(m_File + ": " + GetParam().m_Key + ": "), HasSubstr(GetParam().m_Reason)));
}

INSTANTIATE_TEST_SUITE_P(
    Values, BladeFileValue,
    testing::Values(BAD_VALUE{"/controller", 5, "controller", "expected an object"},
                    BAD_VALUE{"/controller/address", "0x21", "controller.address", "even"},
                    BAD_VALUE{"/controller/address", "20h", "controller.address", "from 0 to 255"},
                    BAD_VALUE{"/controller/address", 256, "controller.address", "found 256"},
                    BAD_VALUE{"/controller/address", "", "controller.address", "from 0 to 255"},
                    BAD_VALUE{"/controller/device_id", -1, "controller.device_id", "found -1"},
                    BAD_VALUE{"/controller/device_id", 1.5, "controller.device_id", "found 1.5"},
                    BAD_VALUE{"/controller/device_id", 18446744073709551615U, "controller.device_id", "from 0 to 255"},
                    BAD_VALUE{"/controller/firmware/major", 128, "controller.firmware.major", "from 0 to 127"},
                    BAD_VALUE{"/controller/colour", 1, "controller.colour", "nothing is known by this name"},
                    BAD_VALUE{"/frus", "none", "frus", "expected a list"},
                    BAD_VALUE{"/frus/0/id", 1, "frus[0].id", "from 0 to 0"},
                    BAD_VALUE{"/frus/0/leds", 1, "frus[0].leds", "from 2 to 4"},
                    BAD_VALUE{"/frus/0/site/hardware_address", "0x41", "frus[0].site.hardware_address",
                              "half of controller.address"},
                    BAD_VALUE{"/frus/0/board/manufacturer", 5, "frus[0].board.manufacturer", "expected a text"},
                    BAD_VALUE{"/frus/0/board/manufacturer", "M", "frus[0].board.manufacturer", "one character"},
                    BAD_VALUE{"/frus/0/board/manufacturer", std::string(64, 'x'), "frus[0].board.manufacturer",
                              "has 64 characters"},
                    BAD_VALUE{"/frus/0/board/manufacturer", "5 \u20ac", "frus[0].board.manufacturer", "ISO 8859-1"},
                    BAD_VALUE{"/frus/0/multirecords/0/data", "57 1", "frus[0].multirecords[0].data", "found \"1\""},
                    BAD_VALUE{"/frus/0/multirecords/0/data", "+5", "frus[0].multirecords[0].data", "found \"+5\""}));
