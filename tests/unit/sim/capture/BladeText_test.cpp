// The text of a blade file: reading it gives the same blade.
#include "sim/capture/BladeText.h"

#include "../blade/BladeFileTest.h"

#include "sim/blade/FruImage.h"

using namespace bladesim;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

namespace {

class BladeTextTest : public BladeFileTest {
protected:
    Blade ReadBack(const Blade& blade) { return Read(BladeText(blade, "A sample.")); }
};

} // namespace

TEST_F(BladeTextTest, IsTheSameOnceMore) {
    Blade blade = ReadSample();
    blade.m_sdrs = {{1, 0, 0x51, 0xC0, 1, 9}};
    blade.m_replies[{0x2C, 0x01, 0, 9}] = {0xCC};
    blade.m_frus[1].m_leds[1].m_local = LedAction{10, 20, LedColor::White};
    blade.m_frus[1].m_leds[1].m_override = LedAction{0xFF, 0, LedColor::Red};
    blade.m_board.m_driverFile.emplace();
    blade.m_board.m_interfaces.push_back({"eth6", {2, 0, 0x5E, 0, 0, 1}, InternetAddress{{0x0100000A}, {0x00FFFFFF}}});
    const std::string text = BladeText(blade, "A sample.");
    EXPECT_EQ(BladeText(Read(text), "A sample."), text);
}

TEST_F(BladeTextTest, HasControllerSitesAndLEDs) {
    Blade blade = ReadSample();
    blade.m_frus[1].m_leds[1].m_override = LedAction{0xFF, 3, LedColor::Red};
    const Blade back = ReadBack(blade);
    EXPECT_EQ(back.m_controller.m_productId, blade.m_controller.m_productId);
    EXPECT_EQ(back.m_controller.m_firmwareMinor, blade.m_controller.m_firmwareMinor);
    ASSERT_EQ(back.m_frus.size(), 2U);
    EXPECT_EQ(back.m_frus[1].m_site.m_number, 1);
    const Led& led = back.m_frus[1].m_leds.at(1);
    EXPECT_EQ(led.m_colors, blade.m_frus[1].m_leds[1].m_colors);
    EXPECT_EQ(led.m_defaultOverrideColor, LedColor::White);
    EXPECT_FALSE(led.m_localControl);
    EXPECT_EQ(led.m_override->m_onDuration, 3);
    EXPECT_FALSE(led.m_local);
}

TEST_F(BladeTextTest, HasTheBytesOfEveryInventory) {
    const Blade blade = ReadSample();
    const Blade back = ReadBack(blade);
    EXPECT_EQ(BuildFruImage(*back.m_frus[0].m_inventory), BuildFruImage(*blade.m_frus[0].m_inventory));
    EXPECT_FALSE(back.m_frus[1].m_inventory);
}

TEST_F(BladeTextTest, HasAnAreaWithoutBytes) {
    Blade blade = ReadSample();
    blade.m_frus[0].m_inventory.emplace().m_raw.emplace();
    EXPECT_TRUE(ReadBack(blade).m_frus[0].m_inventory->m_raw->empty());
}

TEST_F(BladeTextTest, HasFaultsOfEveryKind) {
    Blade blade = ReadSample();
    blade.m_faults[0].m_first = 3;
    blade.m_faults.push_back({{0x0A, std::nullopt}, 1, 2, FaultKind::Reply, 0, {0, 7}});
    blade.m_faults.push_back({{0x0A, 0x11}, 1, 0, FaultKind::Lost, 0, {}});
    const auto back = ReadBack(blade).m_faults;
    ASSERT_EQ(back.size(), 3U);
    EXPECT_EQ(back[0].m_first, 3U);
    EXPECT_EQ(back[0].m_argument, 0xC1U);
    EXPECT_EQ(back[1].m_request, blade.m_faults[1].m_request);
    EXPECT_THAT(back[1].m_reply, ElementsAre(0, 7));
    EXPECT_EQ(back[2].m_kind, FaultKind::Lost);
}
