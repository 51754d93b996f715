// The locator records of a carrier.
#include "sim/controller/SdrRecords.h"

#include "sim/module/SampleCarrier.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::ElementsAre;
using testing::SizeIs;

TEST(SdrRecords, AreOneOfTheControllerAndOneOfEachFRU) {
    EXPECT_THAT(LocatorRecords(SampleCarrier()), SizeIs(4));
}

TEST(SdrRecords, LocateTheControllerByItsAddress) {
    // Header; address, channel, notification, support, three reserved; front board 0x60, OEM; name of 16 characters.
    EXPECT_THAT(LocatorRecords(SampleCarrier()).at(0),
                ElementsAre(0, 0, 0x51, 0x12, 27, 0x82, 0, 0, 0x9F, 0, 0, 0, 0xA0, 0x60, 0, 0xD0, 'S', 'e', 'v', 'e',
                            'n', 't', 'e', 'e', 'n', ' ', 'l', 'e', 't', 't', 'e', 'r'));
}

TEST(SdrRecords, LocateAnAMCWithoutInventoryUnderItsFRUId) {
    // Header; controller, FRU id, logical device, channel, reserved, device type and modifier; AMC in bay 3, OEM; name.
    EXPECT_THAT(LocatorRecords(SampleCarrier()).at(2), ElementsAre(0, 0, 0x51, 0x11, 16, 0x82, 2, 0x80, 0, 0, 0x10, 0,
                                                                   0xC1, 0x63, 0, 0xC5, 'F', 'R', 'U', ' ', '2'));
}

TEST(SdrRecords, NameAFRUByItsBoardWhenTheProductHasNoName) {
    Blade blade = SampleCarrier();
    blade.m_frus[2].m_inventory->m_product.emplace();
    blade.m_frus[2].m_inventory->m_board.emplace().m_productName = "RTM";
    EXPECT_THAT(LocatorRecords(blade).at(3),
                ElementsAre(0, 0, 0x51, 0x11, 14, 0x82, 7, 0x80, 0, 0, 0x10, 0, 0xC0, 0x61, 0, 0xC3, 'R', 'T', 'M'));
}

TEST(SdrRecords, HaveNoEntityForSitesOfOtherKinds) {
    Blade blade = SampleCarrier();
    blade.m_frus[1].m_site.m_type = 3;
    EXPECT_EQ(LocatorRecords(blade).at(2).at(12), 0);
}
