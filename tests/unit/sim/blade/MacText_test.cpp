// MAC addresses as people write them.
#include "sim/blade/MacText.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::ElementsAre;
using testing::Optional;

TEST(MacText, IsSixBytesInHexadecimalWithColonsBetween) {
    EXPECT_THAT(MacBytes("02:4d:71:00:fF:Aa"), Optional(ElementsAre(0x02, 0x4D, 0x71, 0x00, 0xFF, 0xAA)));
}

TEST(MacText, IsNothingElse) {
    for (const char* text : {"", "02:4d:71:00:00", "02:4d:71:00:00:06:07", "02-4d-71-00-00-06", "02 4d 71 00 00 06",
                             "0g:4d:71:00:00:06", "2:4d:71:00:00:006", "02:4d:71:00:00:06 "}) {
        EXPECT_EQ(MacBytes(text), std::nullopt) << text;
    }
}
