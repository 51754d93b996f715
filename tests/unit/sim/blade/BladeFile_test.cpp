// Blade files: the controller, its FRUs and their LEDs, and the errors of bad ones.
#include "BladeFileTest.h"

using namespace bladesim;
using testing::ElementsAre;

namespace {

class BladeFile : public BladeFileTest {};
class BladeFileValue : public BladeFileValueTest {};

constexpr uint8_t Bit(LedColor color) {
    return static_cast<uint8_t>(1U << static_cast<unsigned>(color));
}

} // namespace

TEST_F(BladeFile, GivesTheControllerRecord) {
    const Controller controller = ReadSample().m_controller;
    EXPECT_EQ(controller.m_address, 0x20);
    EXPECT_EQ(controller.m_deviceId, 0x35);
    EXPECT_EQ(controller.m_deviceRevision, 1);
    EXPECT_EQ(controller.m_firmwareMajor, 3);
    EXPECT_EQ(controller.m_firmwareMinor, 0x12);
    EXPECT_EQ(controller.m_manufacturerId, 32473U);
    EXPECT_EQ(controller.m_productId, 0x0B1A);
    EXPECT_FALSE(controller.m_auxiliaryFirmware);
    EXPECT_TRUE(controller.m_picmg);
}

TEST_F(BladeFile, GivesTheAuxiliaryFirmwareRevisionWhenThereIsOne) {
    const auto auxiliary = ReadWith("/controller/auxiliary_firmware", "01 0A ff 00").m_controller.m_auxiliaryFirmware;
    ASSERT_TRUE(auxiliary);
    EXPECT_THAT(*auxiliary, ElementsAre(0x01, 0x0A, 0xFF, 0x00));
}

TEST_F(BladeFile, SaysThatTheControllerKnowsNoPICMG) {
    EXPECT_FALSE(ReadWith("/controller/picmg", false).m_controller.m_picmg);
}

TEST_F(BladeFile, GivesItsOwnNameAndPlace) {
    const Blade blade = ReadSample();
    EXPECT_EQ(blade.m_name, std::filesystem::path(m_file).stem());
    EXPECT_EQ(blade.m_file, std::filesystem::absolute(m_file));
}

TEST_F(BladeFile, MayNameItsSchemaAndDescribeItself) {
    nlohmann::json json = SampleJson();
    json["$schema"] = "blade.schema.json";
    json["description"] = "A sample.";
    json["frus"][1]["description"] = "An AMC.";
    EXPECT_EQ(Read(json.dump()).m_frus.size(), 2U);
}

TEST_F(BladeFile, GivesEachFRUWithItsSite) {
    const Blade blade = ReadSample();
    ASSERT_EQ(blade.m_frus.size(), 2U);
    EXPECT_EQ(blade.m_frus[0].m_id, 0);
    EXPECT_EQ(blade.m_frus[0].m_site.m_hardwareAddress, 0x10);
    EXPECT_EQ(blade.m_frus[0].m_site.m_type, 0);
    EXPECT_EQ(blade.m_frus[0].m_site.m_number, 5);
    EXPECT_EQ(blade.m_frus[1].m_id, 3);
    EXPECT_EQ(blade.m_frus[1].m_site.m_hardwareAddress, 0x10) << "the controller's, when the file does not say";
    EXPECT_EQ(blade.m_frus[1].m_site.m_type, 7);
    EXPECT_EQ(blade.m_frus[1].m_site.m_number, 1);
}

TEST_F(BladeFile, TakesAFRUWithoutInventoryForOneThatHasNone) {
    const Blade blade = ReadSample();
    EXPECT_TRUE(blade.m_frus.at(0).m_inventory);
    EXPECT_FALSE(blade.m_frus.at(1).m_inventory);
}

TEST_F(BladeFile, TakesANumberOfLEDsForTheUsualOnes) {
    const auto leds = ReadWith("/frus/0/leds", 4).m_frus.at(0).m_leds;
    ASSERT_EQ(leds.size(), 4U);
    constexpr LedColor usual[] = {LedColor::Blue, LedColor::Red, LedColor::Green, LedColor::Amber};
    for (size_t id = 0; id < leds.size(); ++id) {
        EXPECT_EQ(leds[id].m_id, id);
        EXPECT_EQ(leds[id].m_colors, Bit(usual[id]));
        EXPECT_EQ(leds[id].m_defaultLocalColor, usual[id]);
        EXPECT_EQ(leds[id].m_defaultOverrideColor, usual[id]);
        EXPECT_TRUE(leds[id].m_localControl);
    }
}

TEST_F(BladeFile, GivesNoLEDsWhereThereAreNone) {
    EXPECT_TRUE(ReadWith("/frus/0/leds", 0).m_frus.at(0).m_leds.empty());
    EXPECT_TRUE(ReadWith("/frus/0/leds", nlohmann::json::array()).m_frus.at(0).m_leds.empty());
}

TEST_F(BladeFile, GivesListedLEDsWithTheirColorsAndControl) {
    const auto leds = ReadSample().m_frus.at(1).m_leds;
    ASSERT_EQ(leds.size(), 2U);
    EXPECT_EQ(leds[1].m_id, 2);
    EXPECT_EQ(leds[1].m_colors, Bit(LedColor::Red) | Bit(LedColor::White));
    EXPECT_EQ(leds[1].m_defaultLocalColor, LedColor::Red);
    EXPECT_EQ(leds[1].m_defaultOverrideColor, LedColor::White);
    EXPECT_FALSE(leds[1].m_localControl);
}

TEST_F(BladeFile, MakesTheFirstColorTheDefaultAndTheFRUTheDriver) {
    const auto leds =
        ReadWith("/frus/0/leds", nlohmann::json::parse(R"([{"id":1,"colors":["amber","red"]}])")).m_frus.at(0).m_leds;
    ASSERT_EQ(leds.size(), 1U);
    EXPECT_EQ(leds[0].m_defaultLocalColor, LedColor::Amber);
    EXPECT_EQ(leds[0].m_defaultOverrideColor, LedColor::Amber);
    EXPECT_TRUE(leds[0].m_localControl);
}

TEST_F(BladeFile, NamesAMissingKeyAndWhereTheObjectWithoutItBegins) {
    EXPECT_EQ(ErrorOf("{\n  \"controller\":\n  {\n    \"address\": 32 }\n}"),
              m_file + ":2: controller.device_id: is missing");
}

TEST_F(BladeFile, NamesTheLineOfEveryKeyInAFileWrittenForPeople) {
    nlohmann::json json = SampleJson();
    json["frus"][1]["leds"][1]["colors"][1] = "pink";
    const std::string text = json.dump(4);
    const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<ptrdiff_t>(text.find("pink")), '\n');
    // The list stands two lines above its second item.
    EXPECT_THAT(ErrorOf(text), testing::StartsWith(m_file + ":" + std::to_string(line - 2) +
                                                   ": frus[1].leds[1].colors: expected blue"));
}

TEST_P(BladeFileValue, IsRefusedWithItsKeyAndWhatWasExpected) {
    ExpectRefusal();
}

INSTANTIATE_TEST_SUITE_P(
    Controller, BladeFileValue,
    testing::Values(BadValue{"/controller", 5, "controller", "expected an object"},
                    BadValue{"/controller/address", "0x21", "controller.address", "even"},
                    BadValue{"/controller/address", "20h", "controller.address", "from 0 to 255"},
                    BadValue{"/controller/address", "0x-2", "controller.address", "from 0 to 255"},
                    BadValue{"/controller/address", 256, "controller.address", "found 256"},
                    BadValue{"/controller/address", "", "controller.address", "from 0 to 255"},
                    BadValue{"/controller/address", true, "controller.address", "found true"},
                    BadValue{"/controller/address", nullptr, "controller.address", "found null"},
                    BadValue{"/controller/device_id", -1, "controller.device_id", "found -1"},
                    BadValue{"/controller/device_id", 1.5, "controller.device_id", "found 1.5"},
                    BadValue{"/controller/device_id", 18446744073709551615U, "controller.device_id", "from 0 to 255"},
                    BadValue{"/controller/device_id", std::string(1000, 'x'), "controller.device_id", "xxx…"},
                    BadValue{"/controller/firmware/major", 128, "controller.firmware.major", "from 0 to 127"},
                    BadValue{"/controller/auxiliary_firmware", "01 02 03", "controller.auxiliary_firmware",
                             "four bytes"},
                    BadValue{"/controller/picmg", 1, "controller.picmg", "expected true or false"},
                    BadValue{"/controller/colour", 1, "controller.colour", "nothing is known by this name"},
                    BadValue{"/description", 1, "description", "expected a text"},
                    BadValue{"/frames", 1, "frames", "nothing is known by this name"}));

INSTANTIATE_TEST_SUITE_P(FRUs, BladeFileValue,
                         testing::Values(BadValue{"/frus", "none", "frus", "expected a list"},
                                         BadValue{"/frus", nlohmann::json::array(), "frus", "expected FRU 0"},
                                         BadValue{"/frus/1", nullptr, "frus[1]", "expected an object"},
                                         BadValue{"/frus/0/id", 1, "frus[0].id", "expected 0"},
                                         BadValue{"/frus/1/id", 0, "frus[1].id", "expected more than 0"},
                                         BadValue{"/frus/1/id", 255, "frus[1].id", "from 0 to 254"},
                                         BadValue{"/frus/0/site/hardware_address", "0x41",
                                                  "frus[0].site.hardware_address", "half of controller.address"},
                                         BadValue{"/frus/1/site/number", 256, "frus[1].site.number", "from 0 to 255"},
                                         BadValue{"/frus/1/description", 5, "frus[1].description", "expected a text"},
                                         BadValue{"/frus/1/inventory", nullptr, "frus[1].inventory",
                                                  "expected an object"}));

INSTANTIATE_TEST_SUITE_P(
    LEDs, BladeFileValue,
    testing::Values(
        BadValue{"/frus/0/leds", 5, "frus[0].leds", "from 0 to 4"},
        BadValue{"/frus/0/leds", "blue", "frus[0].leds", "from 0 to 4"},
        BadValue{"/frus/1/leds/1/id", 0, "frus[1].leds[1].id", "expected more than 0"},
        BadValue{"/frus/1/leds/1/id", 255, "frus[1].leds[1].id", "from 0 to 254"},
        BadValue{"/frus/1/leds/0/colors", "blue", "frus[1].leds[0].colors", "expected a list"},
        BadValue{"/frus/1/leds/0/colors", nlohmann::json::array(), "frus[1].leds[0].colors", "one color"},
        BadValue{"/frus/1/leds/0/colors/0", 1, "frus[1].leds[0].colors[0]", "expected a text"},
        BadValue{"/frus/1/leds/0/local_color", "red", "frus[1].leds[0].local_color", "not one of the colors"},
        BadValue{"/frus/1/leds/0/override_color", "Blue", "frus[1].leds[0].override_color", "found \"Blue\""},
        BadValue{"/frus/1/leds/0/local_control", "yes", "frus[1].leds[0].local_control", "true or false"},
        BadValue{"/frus/1/leds/0/local", true, "frus[1].leds[0].local", "nothing is known"}));
