// Bytes as people write them.
#include "sim/blade/HexText.h"

#include <gmock/gmock.h>

using namespace bladesim;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

TEST(HexText, IsPairsOfDigitsWithBlanksBetween) {
    EXPECT_THAT(HexBytes("2c 02 00 fF"), Optional(ElementsAre(0x2C, 0x02, 0x00, 0xFF)));
    EXPECT_THAT(HexBytes("  2c\t02\n"), Optional(ElementsAre(0x2C, 0x02)));
}

TEST(HexText, MayHaveNoBytes) {
    EXPECT_THAT(HexBytes(""), Optional(IsEmpty()));
    EXPECT_THAT(HexPattern(" "), Optional(IsEmpty()));
}

TEST(HexText, IsNothingElse) {
    for (const char* text : {"2", "2c0", "2c02", "0x2c", "2g", "g2", "-1", "+1", "2c,02", "2c 02 ?", "2c 02 ???"}) {
        EXPECT_EQ(HexBytes(text), std::nullopt) << text;
        EXPECT_EQ(HexPattern(text), std::nullopt) << text;
    }
}

TEST(HexText, HasAnyByteInAPatternOnly) {
    EXPECT_THAT(HexPattern("0a ?? 02"), Optional(ElementsAre(Optional(0x0A), std::nullopt, Optional(0x02))));
    EXPECT_EQ(HexBytes("0a ?? 02"), std::nullopt);
}

TEST(HexText, IsWrittenAsItIsRead) {
    EXPECT_EQ(HexText(std::vector<uint8_t>{0x2C, 0x02, 0x00, 0xFF}), "2c 02 00 ff");
    EXPECT_EQ(HexText(std::vector<uint8_t>{}), "");
}
