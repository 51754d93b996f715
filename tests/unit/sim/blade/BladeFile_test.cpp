// Blade files: the controller, its FRUs and their LEDs, and what is said about bad ones.
#include "BladeFileTest.h"

using namespace BLADESIM;
using testing::ElementsAre;

namespace {

class BladeFile : public BLADE_FILE_TEST {};
class BladeFileValue : public BLADE_FILE_VALUE_TEST {};

constexpr uint8_t Bit(LED_COLOR a_Color) {
    return static_cast<uint8_t>(1U << static_cast<unsigned>(a_Color));
}

} // namespace

TEST_F(BladeFile, GivesTheControllerRecord) {
    const CONTROLLER l_Controller = ReadSample().m_Controller;
    EXPECT_EQ(l_Controller.m_Address, 0x20);
    EXPECT_EQ(l_Controller.m_DeviceId, 0x35);
    EXPECT_EQ(l_Controller.m_DeviceRevision, 1);
    EXPECT_EQ(l_Controller.m_FirmwareMajor, 3);
    EXPECT_EQ(l_Controller.m_FirmwareMinor, 0x12);
    EXPECT_EQ(l_Controller.m_ManufacturerId, 32473U);
    EXPECT_EQ(l_Controller.m_ProductId, 0x0B1A);
    EXPECT_FALSE(l_Controller.m_AuxiliaryFirmware);
    EXPECT_TRUE(l_Controller.m_PICMG);
}

TEST_F(BladeFile, GivesTheAuxiliaryFirmwareRevisionWhenThereIsOne) {
    const auto l_Auxiliary = ReadWith("/controller/auxiliary_firmware", "01 0A ff 00").m_Controller.m_AuxiliaryFirmware;
    ASSERT_TRUE(l_Auxiliary);
    EXPECT_THAT(*l_Auxiliary, ElementsAre(0x01, 0x0A, 0xFF, 0x00));
}

TEST_F(BladeFile, SaysThatTheControllerKnowsNoPICMG) {
    EXPECT_FALSE(ReadWith("/controller/picmg", false).m_Controller.m_PICMG);
}

TEST_F(BladeFile, GivesItsOwnNameAndPlace) {
    const BLADE l_Blade = ReadSample();
    EXPECT_EQ(l_Blade.m_Name, std::filesystem::path(m_File).stem());
    EXPECT_EQ(l_Blade.m_File, std::filesystem::absolute(m_File));
}

TEST_F(BladeFile, MayNameItsSchemaAndDescribeItself) {
    nlohmann::json l_Json = SampleJson();
    l_Json["$schema"] = "blade.schema.json";
    l_Json["description"] = "A sample.";
    l_Json["frus"][1]["description"] = "An AMC.";
    EXPECT_EQ(Read(l_Json.dump()).m_FRUs.size(), 2U);
}

TEST_F(BladeFile, GivesEachFRUWithItsSite) {
    const BLADE l_Blade = ReadSample();
    ASSERT_EQ(l_Blade.m_FRUs.size(), 2U);
    EXPECT_EQ(l_Blade.m_FRUs[0].m_Id, 0);
    EXPECT_EQ(l_Blade.m_FRUs[0].m_Site.m_HardwareAddress, 0x10);
    EXPECT_EQ(l_Blade.m_FRUs[0].m_Site.m_Type, 0);
    EXPECT_EQ(l_Blade.m_FRUs[0].m_Site.m_Number, 5);
    EXPECT_EQ(l_Blade.m_FRUs[1].m_Id, 3);
    EXPECT_EQ(l_Blade.m_FRUs[1].m_Site.m_HardwareAddress, 0x10) << "the controller's, when the file does not say";
    EXPECT_EQ(l_Blade.m_FRUs[1].m_Site.m_Type, 7);
    EXPECT_EQ(l_Blade.m_FRUs[1].m_Site.m_Number, 1);
}

TEST_F(BladeFile, TakesAFRUWithoutInventoryForOneThatHasNone) {
    const BLADE l_Blade = ReadSample();
    EXPECT_TRUE(l_Blade.m_FRUs.at(0).m_Inventory);
    EXPECT_FALSE(l_Blade.m_FRUs.at(1).m_Inventory);
}

TEST_F(BladeFile, TakesANumberOfLEDsForTheUsualOnes) {
    const auto l_LEDs = ReadWith("/frus/0/leds", 4).m_FRUs.at(0).m_LEDs;
    ASSERT_EQ(l_LEDs.size(), 4U);
    constexpr LED_COLOR l_Usual[] = {LED_COLOR::BLUE, LED_COLOR::RED, LED_COLOR::GREEN, LED_COLOR::AMBER};
    for (size_t l_Id = 0; l_Id < l_LEDs.size(); ++l_Id) {
        EXPECT_EQ(l_LEDs[l_Id].m_Id, l_Id);
        EXPECT_EQ(l_LEDs[l_Id].m_Colors, Bit(l_Usual[l_Id]));
        EXPECT_EQ(l_LEDs[l_Id].m_DefaultLocalColor, l_Usual[l_Id]);
        EXPECT_EQ(l_LEDs[l_Id].m_DefaultOverrideColor, l_Usual[l_Id]);
        EXPECT_TRUE(l_LEDs[l_Id].m_LocalControl);
    }
}

TEST_F(BladeFile, GivesNoLEDsWhereThereAreNone) {
    EXPECT_TRUE(ReadWith("/frus/0/leds", 0).m_FRUs.at(0).m_LEDs.empty());
    EXPECT_TRUE(ReadWith("/frus/0/leds", nlohmann::json::array()).m_FRUs.at(0).m_LEDs.empty());
}

TEST_F(BladeFile, GivesListedLEDsWithTheirColorsAndControl) {
    const auto l_LEDs = ReadSample().m_FRUs.at(1).m_LEDs;
    ASSERT_EQ(l_LEDs.size(), 2U);
    EXPECT_EQ(l_LEDs[1].m_Id, 2);
    EXPECT_EQ(l_LEDs[1].m_Colors, Bit(LED_COLOR::RED) | Bit(LED_COLOR::WHITE));
    EXPECT_EQ(l_LEDs[1].m_DefaultLocalColor, LED_COLOR::RED);
    EXPECT_EQ(l_LEDs[1].m_DefaultOverrideColor, LED_COLOR::WHITE);
    EXPECT_FALSE(l_LEDs[1].m_LocalControl);
}

TEST_F(BladeFile, MakesTheFirstColorTheDefaultAndTheFRUTheDriver) {
    const auto l_LEDs =
        ReadWith("/frus/0/leds", nlohmann::json::parse(R"([{"id":1,"colors":["amber","red"]}])")).m_FRUs.at(0).m_LEDs;
    ASSERT_EQ(l_LEDs.size(), 1U);
    EXPECT_EQ(l_LEDs[0].m_DefaultLocalColor, LED_COLOR::AMBER);
    EXPECT_EQ(l_LEDs[0].m_DefaultOverrideColor, LED_COLOR::AMBER);
    EXPECT_TRUE(l_LEDs[0].m_LocalControl);
}

TEST_F(BladeFile, NamesAMissingKeyAndWhereTheObjectWithoutItBegins) {
    EXPECT_EQ(ErrorOf("{\n  \"controller\":\n  {\n    \"address\": 32 }\n}"),
              m_File + ":2: controller.device_id: is missing");
}

TEST_F(BladeFile, NamesTheLineOfEveryKeyInAFileWrittenForPeople) {
    nlohmann::json l_Json = SampleJson();
    l_Json["frus"][1]["leds"][1]["colors"][1] = "pink";
    const std::string l_Text = l_Json.dump(4);
    const auto l_Line =
        1 + std::count(l_Text.begin(), l_Text.begin() + static_cast<ptrdiff_t>(l_Text.find("pink")), '\n');
    // The list stands two lines above its second item.
    EXPECT_THAT(ErrorOf(l_Text), testing::StartsWith(m_File + ":" + std::to_string(l_Line - 2) +
                                                     ": frus[1].leds[1].colors: expected blue"));
}

TEST_P(BladeFileValue, IsRefusedWithItsKeyAndWhatWasExpected) {
    ExpectRefusal();
}

INSTANTIATE_TEST_SUITE_P(
    Controller, BladeFileValue,
    testing::Values(BAD_VALUE{"/controller", 5, "controller", "expected an object"},
                    BAD_VALUE{"/controller/address", "0x21", "controller.address", "even"},
                    BAD_VALUE{"/controller/address", "20h", "controller.address", "from 0 to 255"},
                    BAD_VALUE{"/controller/address", "0x-2", "controller.address", "from 0 to 255"},
                    BAD_VALUE{"/controller/address", 256, "controller.address", "found 256"},
                    BAD_VALUE{"/controller/address", "", "controller.address", "from 0 to 255"},
                    BAD_VALUE{"/controller/address", true, "controller.address", "found true"},
                    BAD_VALUE{"/controller/address", nullptr, "controller.address", "found null"},
                    BAD_VALUE{"/controller/device_id", -1, "controller.device_id", "found -1"},
                    BAD_VALUE{"/controller/device_id", 1.5, "controller.device_id", "found 1.5"},
                    BAD_VALUE{"/controller/device_id", 18446744073709551615U, "controller.device_id", "from 0 to 255"},
                    BAD_VALUE{"/controller/device_id", std::string(1000, 'x'), "controller.device_id", "xxx…"},
                    BAD_VALUE{"/controller/firmware/major", 128, "controller.firmware.major", "from 0 to 127"},
                    BAD_VALUE{"/controller/auxiliary_firmware", "01 02 03", "controller.auxiliary_firmware",
                              "four bytes"},
                    BAD_VALUE{"/controller/picmg", 1, "controller.picmg", "expected true or false"},
                    BAD_VALUE{"/controller/colour", 1, "controller.colour", "nothing is known by this name"},
                    BAD_VALUE{"/description", 1, "description", "expected a text"},
                    BAD_VALUE{"/frames", 1, "frames", "nothing is known by this name"}));

INSTANTIATE_TEST_SUITE_P(FRUs, BladeFileValue,
                         testing::Values(BAD_VALUE{"/frus", "none", "frus", "expected a list"},
                                         BAD_VALUE{"/frus", nlohmann::json::array(), "frus", "expected FRU 0"},
                                         BAD_VALUE{"/frus/1", nullptr, "frus[1]", "expected an object"},
                                         BAD_VALUE{"/frus/0/id", 1, "frus[0].id", "expected 0"},
                                         BAD_VALUE{"/frus/1/id", 0, "frus[1].id", "expected more than 0"},
                                         BAD_VALUE{"/frus/1/id", 255, "frus[1].id", "from 0 to 254"},
                                         BAD_VALUE{"/frus/0/site/hardware_address", "0x41",
                                                   "frus[0].site.hardware_address", "half of controller.address"},
                                         BAD_VALUE{"/frus/1/site/number", 256, "frus[1].site.number", "from 0 to 255"},
                                         BAD_VALUE{"/frus/1/description", 5, "frus[1].description", "expected a text"},
                                         BAD_VALUE{"/frus/1/inventory", nullptr, "frus[1].inventory",
                                                   "expected an object"}));

INSTANTIATE_TEST_SUITE_P(
    LEDs, BladeFileValue,
    testing::Values(
        BAD_VALUE{"/frus/0/leds", 5, "frus[0].leds", "from 0 to 4"},
        BAD_VALUE{"/frus/0/leds", "blue", "frus[0].leds", "from 0 to 4"},
        BAD_VALUE{"/frus/1/leds/1/id", 0, "frus[1].leds[1].id", "expected more than 0"},
        BAD_VALUE{"/frus/1/leds/1/id", 255, "frus[1].leds[1].id", "from 0 to 254"},
        BAD_VALUE{"/frus/1/leds/0/colors", "blue", "frus[1].leds[0].colors", "expected a list"},
        BAD_VALUE{"/frus/1/leds/0/colors", nlohmann::json::array(), "frus[1].leds[0].colors", "one color"},
        BAD_VALUE{"/frus/1/leds/0/colors/0", 1, "frus[1].leds[0].colors[0]", "expected a text"},
        BAD_VALUE{"/frus/1/leds/0/local_color", "red", "frus[1].leds[0].local_color", "not one of the colors"},
        BAD_VALUE{"/frus/1/leds/0/override_color", "Blue", "frus[1].leds[0].override_color", "found \"Blue\""},
        BAD_VALUE{"/frus/1/leds/0/local_control", "yes", "frus[1].leds[0].local_control", "true or false"},
        BAD_VALUE{"/frus/1/leds/0/local", true, "frus[1].leds[0].local", "nothing is known"}));
