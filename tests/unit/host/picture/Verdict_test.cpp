// Whether all is right, and what is shown of each place.
#include "host/picture/Verdict.h"

#include "host/HostParams.h"

#include <gtest/gtest.h>

namespace {

using namespace bmhost;

constexpr int RedColor = 2;
constexpr int GreenColor = 3;

LedReading Lit(int bay, int led, int color) {
    const unsigned group = bay == 0 ? 0x100U : 0x200U;
    return {bay, led, 1, Row(Int(group + 2, 1), Int(group + 3, 0), Int(group + 0xc, color)), {}};
}

Picture GoodPicture() {
    Picture picture;
    picture.m_inventory.m_result = 1;
    picture.m_inventory.m_board = {Row(Text(0x30001, "Board"))};
    picture.m_inventory.m_modules = {Row(Int(0x30201, 3, true), Text(0x30202, "QS"), Int(0x30208, 4))};
    picture.m_leds = {Lit(3, 3, GreenColor)};
    return picture;
}

TEST(Verdict, IsGoodWhereNothingIsAtFault) {
    EXPECT_TRUE(IsGood(GoodPicture()));
}

TEST(Verdict, OfABoardThatCannotBeReadIsBad) {
    Picture picture = GoodPicture();
    picture.m_inventory.m_result = 12;
    EXPECT_FALSE(IsGood(picture));
    EXPECT_FALSE(IsGood(Picture()));
}

TEST(Verdict, CountsAModuleThatHasFailed) {
    Picture picture = GoodPicture();
    picture.m_inventory.m_modules = {Row(Int(0x30201, 3, true), Int(0x30208, 5))};
    EXPECT_FALSE(IsGood(picture));
    EXPECT_TRUE(PlacesOf(picture)[1].m_atFault);
    EXPECT_FALSE(PlacesOf(picture)[0].m_atFault);
}

TEST(Verdict, CountsAnOutOfServiceLedOfAnyColorAndARedHealthLed) {
    for (const LedReading& led :
         {Lit(3, 2, RedColor), Lit(3, 2, GreenColor), Lit(3, 3, RedColor), Lit(0, 3, RedColor)}) {
        Picture picture = GoodPicture();
        picture.m_leds = {led};
        EXPECT_FALSE(IsGood(picture)) << led.m_bay << " " << led.m_led;
    }
    for (const LedReading& led : {Lit(3, 1, RedColor), Lit(3, 4, RedColor)}) {
        Picture picture = GoodPicture();
        picture.m_leds = {led};
        EXPECT_TRUE(IsGood(picture)) << led.m_led;
    }
}

TEST(Verdict, CountsAnLedThatCannotBeRead) {
    Picture picture = GoodPicture();
    picture.m_leds = {{3, 2, 0, std::nullopt, {}}};
    EXPECT_FALSE(IsGood(picture));
    EXPECT_EQ("not read", PlacesOf(picture)[1].m_outOfService);
}

TEST(Verdict, CountsHealthControllerCallsUpgradeAndFaults) {
    Picture picture = GoodPicture();
    picture.m_health.m_state = HealthState::Fault;
    EXPECT_FALSE(IsGood(picture));
    picture = GoodPicture();
    picture.m_controller.m_state = Controller::State::Lost;
    EXPECT_FALSE(IsGood(picture));
    picture = GoodPicture();
    picture.m_host.m_init = CallOutcome{"init", 0, {}, {}};
    EXPECT_FALSE(IsGood(picture));
    picture = GoodPicture();
    picture.m_host.m_start = CallOutcome{"start", 0x30012, {}, {}};
    EXPECT_FALSE(IsGood(picture));
    picture = GoodPicture();
    picture.m_upgrades.resize(2);
    picture.m_upgrades[0].m_state = 3;
    picture.m_upgrades[1].m_state = 2;
    EXPECT_TRUE(IsGood(picture)) << "the last one counts";
    picture.m_upgrades[1].m_state = 3;
    EXPECT_FALSE(IsGood(picture));
    picture = GoodPicture();
    picture.m_faults.resize(1);
    EXPECT_FALSE(IsGood(picture));
}

TEST(Verdict, ShowsTheBaseboardFirstAndWhatTheLedsShow) {
    const auto places = PlacesOf(GoodPicture());
    ASSERT_EQ(2U, places.size());
    EXPECT_EQ("Board", places[0].m_name);
    EXPECT_EQ(std::nullopt, places[0].m_runStatus);
    EXPECT_EQ("-", places[0].m_health);
    EXPECT_EQ(3, places[1].m_bay);
    EXPECT_EQ(4, places[1].m_runStatus);
    EXPECT_EQ("-", places[1].m_outOfService);
    EXPECT_EQ("on green", places[1].m_health);
}

} // namespace
