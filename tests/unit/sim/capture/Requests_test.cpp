// The requests of a capture, byte by byte, and the LEDs that a FRU has.
#include "sim/capture/Requests.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(CaptureRequests, AreThoseOfThePlugIn) {
    EXPECT_THAT(AddressInfoOf(3), ElementsAre(0x2C, 0x01, 0, 3));
    EXPECT_THAT(LedPropertiesOf(3), ElementsAre(0x2C, 0x05, 0, 3));
    EXPECT_THAT(LedColorsOf(3, 1), ElementsAre(0x2C, 0x06, 0, 3, 1));
    EXPECT_THAT(LedStateOf(3, 1), ElementsAre(0x2C, 0x08, 0, 3, 1));
    EXPECT_THAT(AreaInfoOf(3), ElementsAre(0x0A, 0x10, 3));
    EXPECT_THAT(AreaReadOf(3, 0x1230), ElementsAre(0x0A, 0x11, 3, 0x30, 0x12, 16));
}

TEST(CaptureRequests, KnowAFRUsLEDs) {
    EXPECT_THAT(LedIds({0, 0, 0x0B, 2}), ElementsAre(0, 1, 3, 4, 5));
    EXPECT_THAT(LedIds({0, 0, 0xF1}), ElementsAre(0)) << "the high half is reserved";
    EXPECT_THAT(LedIds({0, 0}), IsEmpty());
    EXPECT_THAT(LedIds({0xC1, 0, 0x0F, 9}), IsEmpty());
    EXPECT_THAT(LedIds({0, 0, 0x0F, 255}), SizeIs(0xFC)) << "no LED has a greater id than 0xFB";
}
